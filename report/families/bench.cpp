#include "formats/bench.h"

#include <array>
#include <utility>

#include "foundation/files.h"
#include "report/families/families.h"
#include "report/page_room.h"

namespace zarn::report {
namespace {

[[nodiscard]] std::string NameOf(const JsonValue& name) {
    return ShortText(TextOf(&name).value_or("?"));
}

// The values of an object, or of the objects in it, as rows.
void AddValues(const std::string& name, const JsonValue& value, const Source& source,
               TableBlock& table) {
    if (!value.IsObject()) {
        // One line for each function that was tried, the C library's first.
        const std::string text(TextOf(&value).value_or(""));
        LineCursor lines(text);
        std::string_view line;
        while (lines.Next(line)) {
            const Cell number = NumberCellOf(line, source);
            AddRow(table, {TextCellOf(name, source), std::holds_alternative<double>(number.value)
                                                         ? number
                                                         : TextCellOf(line, source)});
        }
        if (text.empty()) {
            AddRow(table, {TextCellOf(name, source), EmptyCell(Reason::NotInFile)});
        }
        return;
    }
    for (const auto& member : value.GetObject()) {
        if (!member.value.IsObject()) {
            AddValues(name + (name.empty() ? "" : ": ") + NameOf(member.name), member.value, source,
                      table);
        }
    }
}

void AddBench(FamilyContext& context, const RunFile& file, const char* title,
              std::vector<Block>& blocks) {
    ReadDocuments(context.files, file, [&](const JsonValue& document, std::uint64_t line) {
        const JsonValue* content = MemberOf(&document, "content");
        if (content == nullptr || !content->IsObject()) {
            context.files.Trouble(file.index, "line " + std::to_string(line) + " holds no values");
            return;
        }
        if (!HasRoom(context, blocks)) {
            return;
        }
        const Source source = context.At(file, line);
        TableBlock table;
        table.head = {title, "A value \"<not\" is a counter that the processor does not have.",
                      source};
        table.columns = {{"what", "", false}, {"value", "", true}};
        AddValues("", *content, source, table);
        for (const auto& group : content->GetObject()) {
            if (group.value.IsObject()) {
                AddValues(NameOf(group.name), group.value, source, table);
            }
        }
        blocks.emplace_back(std::move(table));
    });
}

}  // namespace

std::vector<Block> BenchBlocks(FamilyContext& context) {
    constexpr std::array<std::pair<bench_files::Kind, const char*>, 3> kKinds = {
        {{bench_files::kScheduler, "Benchmarks of the scheduler"},
         {bench_files::kMemory, "Throughput of the memory"},
         {bench_files::kStatistics, "Counters"}}};
    std::vector<Block> blocks;
    for (const auto& [kind, title] : kKinds) {
        const std::string prefix = std::string(kind.objectId) + "_";
        for (const RunFile& file :
             context.run.Find({run_tree::kJsonDir, prefix.c_str(), kDataSuffix})) {
            AddBench(context, file, title, blocks);
        }
    }
    return blocks;
}

}  // namespace zarn::report
