#include <algorithm>
#include <vector>

#include "collectors/system/mem/share_pool_parser.h"
#include "fuzz/fuzz_input.h"

// The share pool's table: rows of nine values without white space, or guard lines.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using zarn::fuzz::Require;
    const std::string_view text = zarn::fuzz::AsText(data, size);
    std::vector<zarn::SharePoolRow> rows;
    const zarn::SharePoolResult result = zarn::ParseSharePoolTable(text, rows);
    const auto lines = std::count(text.begin(), text.end(), '\n');
    Require(static_cast<std::ptrdiff_t>(rows.size()) <= lines, "the head is no row");
    for (const zarn::SharePoolRow& row : rows) {
        if (row.values.empty()) {
            Require(row.guard.find("guard") != std::string::npos, "text is a guard line");
            continue;
        }
        Require(row.values.size() == zarn::kSharePoolValues, "a row has its values");
        for (const std::string& value : row.values) {
            Require(!value.empty() && value.find_first_of(" \t\n\v\f\r") == std::string::npos,
                    "a value is a word");
        }
    }
    Require(result == zarn::SharePoolResult::Ok || lines > 0, "no table is refused");
    return 0;
}
