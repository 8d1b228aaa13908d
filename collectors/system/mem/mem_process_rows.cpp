#include "collectors/system/mem/mem_process_rows.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string_view>
#include <system_error>
#include <utility>

#include "formats/mem.h"

namespace zarn {
namespace {

constexpr std::size_t kPssCell = 3;

bool ReadSize(std::string_view cell, std::uint64_t& size) {
    cell = WithoutMemUnit(cell);
    return IsMemNumber(cell) &&
           std::from_chars(cell.data(), cell.data() + cell.size(), size).ec == std::errc();
}

}  // namespace

MemRow MakeProcessRow(const std::string& pid, const SmapsSums& sums,
                      const std::string& sharePoolAlloc, const StatusWords& words) {
    MemRow row = {pid};
    for (const std::string& sum : sums) {
        row.push_back(sum + kMemUnit);
    }
    row.push_back(sharePoolAlloc + kMemUnit);
    for (const std::string* size :
         {&words.vmSize, &words.vmData, &words.vmStk, &words.vmExe, &words.vmLib, &words.vmPte}) {
        row.push_back(*size + kMemUnit);
    }
    row.insert(row.end(), {words.threads, words.fdSize, words.name});
    return row;
}

PssResult KeepGreatestPss(std::vector<MemRow>& rows) {
    std::vector<std::pair<std::uint64_t, std::size_t>> order;
    for (const MemRow& row : rows) {
        if (row.size() <= kPssCell) {
            return PssResult::ShortRow;
        }
        std::uint64_t pss = 0;
        if (!ReadSize(row[kPssCell], pss)) {
            return PssResult::NoNumber;
        }
        order.emplace_back(pss, order.size());
    }
    std::stable_sort(order.begin(), order.end(),
                     [](const auto& a, const auto& b) { return a.first > b.first; });
    order.resize(std::min(order.size(), kGreatestProcesses));
    std::vector<MemRow> kept;
    kept.reserve(order.size());
    for (const auto& [pss, index] : order) {
        kept.push_back(std::move(rows[index]));
    }
    rows = std::move(kept);
    return PssResult::Ok;
}

}  // namespace zarn
