#include "report/family.h"

#include <utility>

#include "report/page_room.h"

namespace zarn::report {

void AddRow(TableBlock& table, std::vector<Cell> row) {
    if (table.rows.size() < kMostRows) {
        table.rows.push_back(std::move(row));
    } else {
        table.total = (table.total == 0 ? table.rows.size() : table.total) + 1;
    }
}

Cell FigureCell(const JsonValue* value, const Source& source) {
    return NumberOf(value) ? NumberCell(value, source) : TextCell(value, source);
}

TableBlock TableOfObjects(BlockHead head, const JsonValue& objects, const Source& source) {
    TableBlock table;
    table.head = std::move(head);
    const JsonValue* first = FirstOf(&objects);
    if (first == nullptr || !first->IsObject()) {
        return table;
    }
    std::vector<std::string> names;
    for (const auto& member : first->GetObject()) {
        if (names.size() < kMostColumns) {
            names.emplace_back(TextOf(&member.name).value_or(""));
            table.columns.push_back(
                {ShortText(names.back()), "", NumberOf(&member.value).has_value()});
        }
    }
    for (const JsonValue* object : ElementsOf(&objects)) {
        std::vector<Cell> row;
        row.reserve(names.size());
        for (const std::string& name : names) {
            row.push_back(FigureCell(MemberOf(object, name), source));
        }
        AddRow(table, std::move(row));
    }
    return table;
}

void AddLastDocuments(FamilyContext& context, const std::vector<RunFile>& files,
                      std::string_view member, const TakeContent& take,
                      std::vector<Block>& blocks) {
    for (const RunFile& file : files) {
        std::vector<Block> own;
        const std::size_t findings = context.findings.size();
        ReadDocuments(context.files, file, [&](const JsonValue& document, std::uint64_t line) {
            const JsonValue* content = MemberOf(&document, "content");
            if (content == nullptr || (!member.empty() && MemberOf(content, member) == nullptr)) {
                context.files.Trouble(
                    file.index, "line " + std::to_string(line) + " is no document of its kind");
                return;
            }
            own.clear();
            context.findings.resize(findings);
            take(*content, context.At(file, line), own);
        });
        for (Block& block : own) {
            if (!HasRoom(context, blocks)) {
                continue;
            }
            std::visit([&](auto& kind) { kind.head.title = TitleOf(kind.head.title, files, file); },
                       block);
            blocks.push_back(std::move(block));
        }
    }
}

std::string TitleOf(const std::string& title, const std::vector<RunFile>& files,
                    const RunFile& file) {
    return files.size() < 2 ? title : title + ", " + file.name;
}

}  // namespace zarn::report
