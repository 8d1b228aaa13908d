#include <utility>

#include "formats/sys_call.h"
#include "report/families/families.h"
#include "report/page_room.h"
#include "report/samples.h"

namespace zarn::report {
namespace {

constexpr std::size_t kMeanTime = 3;
constexpr std::size_t kCalls = 6;

[[nodiscard]] std::string NameOf(const JsonValue& name) {
    return ShortText(TextOf(&name).value_or("?"));
}

// The column of a member such as "time-total(s)": its name and its unit.
[[nodiscard]] Column ColumnOf(std::string_view member) {
    const std::size_t bracket = member.find('(');
    if (bracket == std::string_view::npos) {
        return {std::string(member), "", member != sys_call_files::kColumns[0]};
    }
    return {std::string(member.substr(0, bracket)),
            std::string(member.substr(bracket + 1, member.size() - bracket - 2)), true};
}

void AddCalls(const std::string& process, const JsonValue& rows, const Source& source,
              FamilyContext& context, std::vector<Block>& blocks) {
    if (!HasRoom(context, blocks)) {
        return;
    }
    TableBlock table;
    table.head = {"System calls of " + process,
                  "Time of the processor, spent in the kernel; the call that took most first.",
                  source};
    for (const char* member : sys_call_files::kColumns) {
        table.columns.push_back(ColumnOf(member));
    }
    FewSamples few;
    for (const JsonValue* row : ElementsOf(&rows)) {
        std::vector<Cell> cells;
        for (std::size_t i = 0; i < sys_call_files::kColumnCount; ++i) {
            const JsonValue* value = MemberOf(row, sys_call_files::kColumns[i]);
            cells.push_back(i == 0 ? TextCell(value, source) : NumberCell(value, source));
        }
        few.Mark(SamplesIn(cells[kCalls]), cells[kMeanTime]);
        AddRow(table, std::move(cells));
    }
    few.TellIn(table.head);
    if (!table.rows.empty()) {
        const auto* call = std::get_if<std::string>(&table.rows.front()[0].value);
        context.findings.push_back({TextCellOf("System calls of " + process + ": most time in " +
                                                   (call == nullptr ? "?" : *call),
                                               source),
                                    table.rows.front()[1], "%", EmptyCell(Reason::NotInFile)});
    }
    blocks.emplace_back(std::move(table));
}

}  // namespace

std::vector<Block> SystemCallBlocks(FamilyContext& context) {
    std::vector<Block> blocks;
    for (const RunFile& file : context.run.Find(sys_call_files::kDocument)) {
        ReadDocuments(context.files, file, [&](const JsonValue& document, std::uint64_t line) {
            const JsonValue* content = MemberOf(&document, "content");
            if (content == nullptr || !content->IsObject()) {
                context.files.Trouble(file.index,
                                      "line " + std::to_string(line) + " holds no processes");
                return;
            }
            for (const auto& process : content->GetObject()) {
                AddCalls(NameOf(process.name), process.value, context.At(file, line), context,
                         blocks);
            }
        });
    }
    return blocks;
}

}  // namespace zarn::report
