#include <utility>

#include "formats/run_tree.h"
#include "formats/valgrind.h"
#include "foundation/text.h"
#include "report/families/families.h"
#include "report/lines.h"
#include "report/moments.h"
#include "report/page_room.h"

namespace zarn::report {
namespace {

// A snapshot of a heap.
struct Snapshot {
    std::string number;
    std::string time;
    std::optional<double> useful;
    std::optional<double> extra;
    bool isPeak = false;
    std::uint64_t line = 0;
};

[[nodiscard]] std::optional<std::string_view> ValueOf(std::string_view line, std::string_view key) {
    return line.size() > key.size() && StartsWith(line, key) && line[key.size()] == '='
               ? std::optional(line.substr(key.size() + 1))
               : std::nullopt;
}

void AddHeap(FamilyContext& context, const RunFile& file, std::vector<Block>& blocks) {
    if (!HasRoom(context, blocks)) {
        return;
    }
    std::vector<Snapshot> snapshots;
    std::uint64_t total = 0;
    ReadLines(context.files, file, [&](std::string_view text, std::uint64_t line) {
        if (const auto number = ValueOf(text, "snapshot")) {
            ++total;
            if (snapshots.size() < kMostRows) {
                snapshots.push_back({ShortText(*number), "", {}, {}, false, line});
            }
            return;
        }
        if (snapshots.size() != total || snapshots.empty()) {
            return;
        }
        Snapshot& last = snapshots.back();
        if (const auto time = ValueOf(text, "time")) {
            last.time = ShortText(*time);
        } else if (const auto useful = ValueOf(text, "mem_heap_B")) {
            last.useful = WholeNumberIn(*useful);
        } else if (const auto extra = ValueOf(text, "mem_heap_extra_B")) {
            last.extra = WholeNumberIn(*extra);
        } else if (const auto tree = ValueOf(text, "heap_tree")) {
            last.isPeak = *tree == "peak";
        }
    });
    if (snapshots.empty()) {
        context.files.Trouble(file.index, "it holds no snapshot");
        return;
    }
    const std::string name = file.name.substr(file.name.rfind('/') + 1);
    BarsBlock bars;
    bars.head = {"Heap over time, " + name,
                 "Snapshots in their order; the time counts instructions since the program's "
                 "start." +
                     std::string(total > snapshots.size() ? " Later snapshots are left out." : ""),
                 Source{file.index, 0}};
    bars.unit = "bytes";
    bars.names = {"asked for", "added by the allocator"};
    for (const Snapshot& snapshot : snapshots) {
        const Source source = context.At(file, snapshot.line);
        const auto cell = [&source](const std::optional<double>& bytes) {
            Cell made = EmptyCell(Reason::NotInFile);
            made.source = source;
            if (bytes) {
                made.value = *bytes;
            }
            return made;
        };
        bars.rows.push_back({"snapshot " + snapshot.number + " at " + snapshot.time +
                                 (snapshot.isPeak ? " (peak)" : ""),
                             {cell(snapshot.useful), cell(snapshot.extra)}});
        if (snapshot.isPeak) {
            context.findings.push_back({TextCellOf("Heap, " + name + ": peak", source),
                                        bars.rows.back().cells[0], "bytes",
                                        EmptyCell(Reason::NotInFile)});
        }
    }
    blocks.emplace_back(std::move(bars));
}

}  // namespace

std::vector<Block> HeapBlocks(FamilyContext& context) {
    using valgrind_files::kMassif;
    std::vector<Block> blocks;
    for (const RunFile& file :
         context.run.Find(kMassif.rawDir, kMassif.prefix, std::string(".") + kLogSuffix)) {
        AddHeap(context, file, blocks);
    }
    return blocks;
}

}  // namespace zarn::report
