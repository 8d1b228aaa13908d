#include "collectors/system/cpu_peak/stat_counts.h"

#include "foundation/files.h"
#include "foundation/numbers.h"
#include "foundation/text.h"

namespace zarn {
namespace {

constexpr std::string_view kBehindCores = "intr";
constexpr std::size_t kIdleColumn = 4;  // the name is column 0
constexpr std::size_t kLeastColumns = 6;

// What follows the name.
StatResult ReadColumns(const PieceCursor& behindName, CoreCounts& core) {
    PieceCursor ahead = behindName;
    std::string_view text;
    for (std::size_t column = 1; column < kLeastColumns; ++column) {
        if (!ahead.Next(text)) {
            return StatResult::Incomplete;
        }
    }
    PieceCursor columns = behindName;
    for (std::size_t column = 1; columns.Next(text); ++column) {
        std::uint32_t count = 0;
        if (!TextToUint32(text, count)) {
            return StatResult::NotNumber;
        }
        core.total += count;
        if (column == kIdleColumn) {
            core.idle = count;
        }
    }
    return StatResult::Ok;
}

}  // namespace

StatResult ParseStatCounts(std::string_view text, std::size_t coreCount,
                           std::vector<CoreCounts>& counts) {
    counts.clear();
    LineCursor lines(text);
    std::string_view line;
    (void)lines.Next(line);
    while (counts.size() < coreCount) {
        std::string_view name;
        if (!lines.Next(line)) {
            return StatResult::Incomplete;
        }
        PieceCursor columns(line, ' ');
        if (columns.Next(name) && name == kBehindCores) {
            break;
        }
        CoreCounts core;
        const StatResult result = ReadColumns(columns, core);
        if (result != StatResult::Ok) {
            return result;
        }
        counts.push_back(core);
    }
    return StatResult::Ok;
}

}  // namespace zarn
