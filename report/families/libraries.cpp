#include <algorithm>
#include <map>
#include <utility>

#include "formats/lib.h"
#include "foundation/text.h"
#include "report/families/families.h"
#include "report/page_room.h"
#include "report/samples.h"
#include "report/stacks.h"

namespace zarn::report {
namespace {

// How many samples of the clock fell into each library, by the innermost function.
void AddLibraries(FamilyContext& context, const RunFile& file, std::vector<Block>& blocks) {
    constexpr std::string_view kClock = "cpu-clock";
    constexpr std::size_t kMostLibraries = 4096;
    constexpr std::uint64_t kBlocks = 2;  // the libraries and the stacks
    if (!HasRoom(context, blocks, kBlocks)) {
        return;
    }
    std::map<std::string, double, std::less<>> counts;
    StackCounts stacks;
    std::uint64_t samples = 0;
    ReadPerfScript(context, file, [&](const PerfSample& sample) {
        if (!StartsWith(sample.event, kClock) || sample.files.empty()) {
            return;
        }
        ++samples;
        const auto known = counts.find(sample.files.back());
        if (known != counts.end()) {
            known->second += 1.0;
        } else if (counts.size() < kMostLibraries) {
            counts.emplace(sample.files.back(), 1.0);
        }
        stacks.Add(sample.functions);
    });
    if (samples == 0) {
        return;
    }
    std::vector<std::pair<double, std::string>> order;
    order.reserve(counts.size());
    for (const auto& [name, count] : counts) {
        order.emplace_back(-count, name);
    }
    std::sort(order.begin(), order.end());
    const std::string name = file.name.substr(file.name.rfind('/') + 1);
    const Source source{file.index, 0};
    BarsBlock bars;
    bars.head = {"Libraries, " + name, "Samples of the clock by where the innermost function is.",
                 source};
    FewSamples few;
    bars.unit = "samples";
    bars.names = {"samples"};
    for (const auto& [count, library] : order) {
        if (bars.rows.size() < kMostRows) {
            Cell cell;
            cell.value = -count;
            cell.source = source;
            cell.computed = "samples counted";
            few.Mark(samples, cell);
            bars.rows.push_back({library, {std::move(cell)}});
        }
    }
    few.TellIn(bars.head);
    context.findings.push_back(
        {TextCellOf("Libraries, " + name + ": most in " + order[0].second, source),
         bars.rows[0].cells[0], "samples", EmptyCell(Reason::NotInFile)});
    blocks.emplace_back(std::move(bars));
    blocks.emplace_back(FlameOf(stacks, "Stacks of the clock, " + name, source));
}

}  // namespace

std::vector<Block> LibraryBlocks(FamilyContext& context) {
    std::vector<Block> blocks;
    for (const RunFile& file :
         context.run.Find(lib_files::kRawDir, lib_files::kRawPrefix, lib_files::kTextSuffix)) {
        AddLibraries(context, file, blocks);
    }
    return blocks;
}

}  // namespace zarn::report
