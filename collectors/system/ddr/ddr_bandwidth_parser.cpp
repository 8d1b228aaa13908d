#include "collectors/system/ddr/ddr_bandwidth_parser.h"

#include <array>
#include <cstdint>

#include "foundation/files.h"
#include "foundation/text.h"

namespace zarn {
namespace {

constexpr char kColumnEnd = '|';
constexpr std::size_t kColumns = 5;
constexpr std::string_view kHeadId = "mpamid";
constexpr const char* kTotalId = "total";

// The columns of a line; false unless there are exactly kColumns.
bool CutColumns(std::string_view line, std::array<std::string_view, kColumns>& columns) {
    PieceCursor cursor(line, kColumnEnd);
    for (std::string_view& column : columns) {
        if (!cursor.Next(column)) {
            return false;
        }
    }
    std::string_view surplus;
    return !cursor.Next(surplus);
}

}  // namespace

std::vector<BandwidthRow> ParseBandwidthLog(std::string_view text, std::size_t mastersPerSample) {
    std::vector<BandwidthRow> rows;
    std::array<std::string_view, kColumns> columns;
    std::int64_t sum = 0;
    std::size_t count = 0;
    LineCursor cursor(text);
    std::string_view line;
    while (cursor.Next(line)) {
        if (!CutColumns(line, columns)) {
            continue;
        }
        BandwidthRow row{std::string(TrimSpacesView(columns[0])),
                         std::string(TrimSpacesView(columns[1]))};
        if (row.id == kHeadId) {
            continue;
        }
        sum += std::stoi(row.value);
        rows.push_back(std::move(row));
        if (++count == mastersPerSample) {
            rows.push_back({kTotalId, std::to_string(sum)});
            sum = 0;
            count = 0;
        }
    }
    return rows;
}

}  // namespace zarn
