#include <algorithm>
#include <string>
#include <vector>

#include "collectors/system/sched/latency_report.h"
#include "foundation/files.h"
#include "fuzz/fuzz_input.h"

namespace {

// The choice of rows as it is told, over a list of lines: the plain form.
std::vector<std::string> ChooseRows(const std::vector<std::string>& lines, std::size_t topN) {
    std::vector<std::string> rows;
    for (std::size_t i = 4, limit = topN + 4; i < limit && i < lines.size(); ++i) {
        if (lines[i].find("idle") != std::string::npos) {
            ++limit;
        } else if (lines[i].find(std::string(13, '-')) != std::string::npos) {
            break;
        } else {
            rows.push_back(lines[i]);
        }
    }
    return rows;
}

}  // namespace

// Latency reports: the first byte is the number of rows wanted.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using zarn::fuzz::Require;
    if (size == 0) {
        return 0;
    }
    const std::uint32_t topN = data[0] % 16;
    const std::string_view text = zarn::fuzz::AsText(data + 1, size - 1);
    std::vector<std::string> lines;
    std::vector<std::string> chosen;
    zarn::LatencyRows rows(topN);
    zarn::LineCursor cursor(text);
    for (std::string_view line; cursor.Next(line);) {
        lines.emplace_back(line);
        if (rows.WantsMore() && rows.Take(line) == zarn::LatencyLine::Row) {
            chosen.emplace_back(line);
        }
    }
    Require(chosen == ChooseRows(lines, topN), "the rows are those of the plain form");
    for (const std::string& line : lines) {
        if (const auto row = zarn::ParseLatencyRow(line)) {
            Require(std::none_of(row->begin(), row->end(),
                                 [](std::string_view cell) {
                                     return cell.find('|') != std::string_view::npos ||
                                            (!cell.empty() &&
                                             (cell.front() == ' ' || cell.back() == ' '));
                                 }),
                    "a cell has no bar, and no blanks at its ends");
        }
    }
    return 0;
}
