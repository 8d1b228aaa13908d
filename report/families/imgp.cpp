#include "formats/imgp.h"

#include <array>
#include <utility>

#include "foundation/numbers.h"
#include "report/families/families.h"
#include "report/tables.h"

namespace zarn::report {
namespace {

constexpr std::array<std::pair<const char*, const char*>, 3> kEngines = {
    {{"vpcRate", "pre-processing core"}, {"vencRate", "encoder"}, {"vdecRate", "decoder"}}};

// The collector writes -1 where the device tells no rate.
[[nodiscard]] Cell RateCell(const JsonValue* value, const Source& source) {
    Cell cell = NumberCell(value, source);
    if (const auto* rate = std::get_if<double>(&cell.value); rate != nullptr && *rate < 0.0) {
        cell.value = Reason::NotANumber;
    }
    return cell;
}

void AddRates(FamilyContext& context, std::vector<Block>& blocks) {
    for (const RunFile& file : context.run.Find(imgp_files::kUtilization)) {
        BarsBlock bars;
        bars.head = {"How busy the engines are", "", Source{file.index, 0}};
        bars.unit = "%";
        for (const auto& [member, name] : kEngines) {
            bars.names.emplace_back(name);
        }
        ReadDocuments(context.files, file, [&](const JsonValue& document, std::uint64_t line) {
            const JsonValue* content = MemberOf(&document, "content");
            const auto device = NumberOf(MemberOf(content, "deviceId"));
            if (!device || bars.rows.size() >= kMostRows) {
                context.files.Trouble(file.index,
                                      "line " + std::to_string(line) + " tells of no device");
                return;
            }
            BarsBlock::Row row;
            row.label = "device ";
            AppendNumber(row.label, *device);
            for (const auto& [member, name] : kEngines) {
                row.cells.push_back(RateCell(MemberOf(content, member), context.At(file, line)));
            }
            bars.rows.push_back(std::move(row));
        });
        if (!bars.rows.empty()) {
            blocks.emplace_back(std::move(bars));
        }
    }
}

// A head line is one whose first cell begins with a letter: rows begin with numbers.
[[nodiscard]] bool IsHead(const std::vector<std::string_view>& cells) {
    return !cells.empty() && !cells[0].empty() &&
           ((cells[0][0] >= 'A' && cells[0][0] <= 'Z') ||
            (cells[0][0] >= 'a' && cells[0][0] <= 'z'));
}

// The cell of a row at a column: a number, or a text that is none.
[[nodiscard]] Cell SliceCell(const std::vector<std::string_view>& cells, std::size_t column,
                             const Source& source) {
    const std::string_view text = column < cells.size() ? cells[column] : std::string_view();
    Cell cell = NumberCellOf(text, source);
    const bool isNumber = std::holds_alternative<double>(cell.value);
    return isNumber || text.empty() ? cell : TextCellOf(text, source);
}

// A line of the slices of a profile, each of which begins with a head line of its own.
void TakeSliceLine(const std::vector<std::string_view>& cells, const std::string& title,
                   const Source& source, std::vector<TableBlock>& tables) {
    constexpr std::size_t kMostSlices = 50;
    if (IsHead(cells) && tables.size() < kMostSlices) {
        TableBlock& table = tables.emplace_back();
        table.head = {title + ", slice " + std::to_string(tables.size()), "", source};
        for (const std::string_view cell : cells) {
            table.columns.push_back({ShortText(cell), "", false});
        }
    } else if (!tables.empty()) {
        std::vector<Cell> row;
        for (std::size_t i = 0; i < tables.back().columns.size(); ++i) {
            row.push_back(SliceCell(cells, i, source));
        }
        AddRow(tables.back(), std::move(row));
    }
}

void AddSlices(FamilyContext& context, const NumberedFile& kind, const char* title,
               std::vector<Block>& blocks) {
    for (const RunFile& file : context.run.Find(kind)) {
        std::vector<TableBlock> tables;
        ReadTable(context.files, file, [&](const auto& cells, std::uint64_t line) {
            TakeSliceLine(cells, title, context.At(file, line), tables);
        });
        for (TableBlock& table : tables) {
            blocks.emplace_back(std::move(table));
        }
    }
}

}  // namespace

std::vector<Block> ImageBlocks(FamilyContext& context) {
    std::vector<Block> blocks;
    AddRates(context, blocks);
    AddSlices(context, imgp_files::kGlobalTable, "Profile of the device", blocks);
    AddSlices(context, imgp_files::kAppTable, "Profile of the application", blocks);
    return blocks;
}

}  // namespace zarn::report
