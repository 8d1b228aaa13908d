#include "formats/mbuf.h"

#include <map>
#include <utility>

#include "report/families/families.h"

namespace zarn::report {

std::vector<Block> HeldBufferBlocks(FamilyContext& context) {
    constexpr std::size_t kMostHolders = 1000;
    TableBlock table;
    table.head = {"Buffers that were held too long",
                  "Found between the two queries of a cycle. Units of the time are the library's.",
                  {}};
    table.columns = {{"end of the cycle", "", false},
                     {"buffer, taken at", "", false},
                     {"allocated by", "", false},
                     {"held by", "", false},
                     {"held for", "", true},
                     {"groups", "", false},
                     {"pool", "", false},
                     {"block size", "bytes", true},
                     {"blocks of the pool", "", true}};
    std::map<std::string, double> holders;
    bool hasDocument = false;
    for (const RunFile& file : context.run.Find(mbuf_files::kTimeouts)) {
        ReadDocuments(context.files, file, [&](const JsonValue& document, std::uint64_t line) {
            hasDocument = true;
            const Source source = context.At(file, line);
            for (const JsonValue* one : ElementsOf(MemberOf(&document, "content"))) {
                AddRow(table, {MomentCell(MemberOf(&document, "happenTime"), source),
                               TextCell(MemberOf(one, "id"), source),
                               TextCell(MemberOf(one, "allocName"), source),
                               TextCell(MemberOf(one, "useName"), source),
                               NumberCell(MemberOf(one, "useTime"), source),
                               TextCell(MemberOf(one, "group"), source),
                               TextCell(MemberOf(one, "pool"), source),
                               NumberCell(MemberOf(one, "blockSize"), source),
                               NumberCell(MemberOf(one, "blockNum"), source)});
                const std::string holder =
                    ShortText(TextOf(MemberOf(one, "useName")).value_or("?"));
                if (holders.size() < kMostHolders || holders.count(holder) != 0) {
                    holders[holder] += 1.0;
                }
            }
        });
    }
    std::vector<Block> blocks;
    if (!hasDocument) {
        return blocks;
    }
    BarsBlock bars;
    bars.head = {"Buffers held too long, by who held them", "", {}};
    bars.unit = "buffers";
    bars.names = {"buffers"};
    for (const auto& [holder, count] : holders) {
        Cell cell;
        cell.value = count;
        cell.computed = "buffers counted";
        context.findings.push_back({PlainCell("Buffers held too long by " + holder), cell,
                                    "buffers", EmptyCell(Reason::NotInFile)});
        if (bars.rows.size() < kMostRows) {
            bars.rows.push_back({holder, {std::move(cell)}});
        }
    }
    if (bars.rows.empty()) {
        table.head.note = "None was found. " + table.head.note;
    } else {
        blocks.emplace_back(std::move(bars));
    }
    blocks.emplace_back(std::move(table));
    return blocks;
}

}  // namespace zarn::report
