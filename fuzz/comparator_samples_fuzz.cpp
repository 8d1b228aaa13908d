#include <algorithm>

#include "comparators/cpu/cpu_figures_parser.h"
#include "comparators/cpu/cpu_sample_reader.h"
#include "fuzz/fuzz_input.h"

// The comparator's reading of a version's raw logs.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = zarn::fuzz::AsText(data, size);
    zarn::SampleCursor cursor(text);
    std::vector<std::string_view> lines;
    zarn::SystemValues values;
    while (cursor.Next(lines)) {
        zarn::fuzz::Require(!lines.empty(), "a sample has a line");
        for (const zarn::SummaryLine kind : zarn::kSummaryLines) {
            const auto index = static_cast<std::size_t>(kind);
            if (index < lines.size()) {
                (void)zarn::ParseSummaryLine(kind, lines[index], values);
            }
        }
    }
    const std::vector<std::string> names{"zarn", "a"};
    const std::vector<std::string> texts{std::string(text)};
    const auto rows = zarn::FindProcessRows(texts, names);
    zarn::fuzz::Require(rows.size() == names.size(), "an entry per name");
    zarn::ProcessValues processValues;
    for (const zarn::ProcessRows& process : rows) {
        for (const std::string_view row : process.lines) {
            (void)zarn::ParseProcessRow(row, processValues);
        }
    }
    return 0;
}
