#include "formats/cpu_peak.h"

#include <algorithm>
#include <functional>
#include <map>
#include <utility>

#include "foundation/time.h"
#include "report/families/families.h"
#include "report/moments.h"
#include "report/samples.h"
#include "report/stacks.h"

namespace zarn::report {
namespace {

constexpr std::size_t kMostFunctions = 4096;
constexpr std::size_t kMostFlames = 40;  // a busy hour leaves many

// What is recorded of one peak.
struct Capture {
    std::string cores;
    std::string time;  // digits
    StackCounts stacks;
    std::map<std::string, double, std::less<>> innermost;  // samples, by function
};

[[nodiscard]] Capture ReadCapture(FamilyContext& context, const RunFile& file) {
    Capture capture;
    capture.time = GetFileTimestamp(file.name);
    const std::size_t begin = std::string(cpu_peak_files::kRawDir).size() +
                              std::string(cpu_peak_files::kRawPrefix).size();
    capture.cores = file.name.substr(begin, std::max(file.name.rfind('_'), begin) - begin);
    std::vector<std::string_view> stack;
    ReadPerfScript(context, file, [&](const PerfSample& sample) {
        stack.assign(1, sample.command);
        stack.insert(stack.end(), sample.functions.begin(), sample.functions.end());
        capture.stacks.Add(stack);
        if (!sample.functions.empty() && (capture.innermost.size() < kMostFunctions ||
                                          capture.innermost.count(stack.back()) != 0)) {
            capture.innermost[std::string(stack.back())] += 1.0;
        }
    });
    return capture;
}

[[nodiscard]] Cell Counted(double samples, const Source& source) {
    Cell cell;
    cell.value = samples;
    cell.source = source;
    cell.computed = "samples counted";
    return cell;
}

void AddCapture(const Capture& capture, const Source& source, FewSamples& few, TableBlock& table) {
    const auto most =
        std::max_element(capture.innermost.begin(), capture.innermost.end(),
                         [](const auto& a, const auto& b) { return a.second < b.second; });
    const bool hasMost = most != capture.innermost.end();
    const auto moment = MomentIn(capture.time);
    const Reason none = capture.stacks.Samples() == 0 ? Reason::TooFewSamples : Reason::NotInFile;
    Cell ofTheSamples = hasMost ? Counted(most->second, source) : EmptyCell(none);
    few.Mark(capture.stacks.Samples(), ofTheSamples);
    AddRow(table,
           {TextCellOf(moment ? DateOf(*moment) : capture.time, source),
            TextCellOf(capture.cores, source),
            Counted(static_cast<double>(capture.stacks.Samples()), source),
            hasMost ? TextCellOf(most->first, source) : EmptyCell(none), std::move(ofTheSamples)});
}

}  // namespace

std::vector<Block> CpuPeakBlocks(FamilyContext& context) {
    TableBlock table;
    table.head = {"Peaks of load",
                  "What the busy cores did from the moment on at which the recording was begun.",
                  {}};
    table.columns = {{"recorded from", "", false},
                     {"busy cores", "", false},
                     {"samples", "", true},
                     {"most in", "", false},
                     {"of the samples", "", true}};
    std::vector<Block> flames;
    FewSamples few;
    std::vector<RunFile> files = context.run.Find(
        cpu_peak_files::kRawDir, cpu_peak_files::kRawPrefix, cpu_peak_files::kTextSuffix);
    // Their names have the cores before the time.
    std::stable_sort(files.begin(), files.end(), [](const RunFile& a, const RunFile& b) {
        return GetFileTimestamp(a.name) < GetFileTimestamp(b.name);
    });
    for (const RunFile& file : files) {
        const Capture capture = ReadCapture(context, file);
        const Source source{file.index, 0};
        AddCapture(capture, source, few, table);
        if (capture.stacks.Samples() > 0 && flames.size() < kMostFlames) {
            flames.emplace_back(FlameOf(capture.stacks,
                                        "Stacks of cores " + capture.cores + " at " + capture.time,
                                        source));
        }
    }
    few.TellIn(table.head);
    std::vector<Block> blocks;
    if (!table.rows.empty()) {
        Cell count = Counted(
            static_cast<double>(std::max<std::uint64_t>(table.rows.size(), table.total)), {});
        count.source.reset();
        count.computed = "recordings counted";
        context.findings.push_back({PlainCell("Peaks of CPU load, recorded from the first one on"),
                                    std::move(count), "peaks", table.rows.front().front()});
        blocks.emplace_back(std::move(table));
    }
    std::move(flames.begin(), flames.end(), std::back_inserter(blocks));
    return blocks;
}

}  // namespace zarn::report
