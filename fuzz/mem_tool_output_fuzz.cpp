#include <algorithm>
#include <string>

#include "collectors/system/mem/mem_log.h"
#include "collectors/system/mem/mem_process_rows.h"
#include "collectors/system/mem/mem_values_parser.h"
#include "formats/mem.h"
#include "fuzz/fuzz_input.h"

// What the memory collector's pipelines print: every value is a number or refused, and a row whose
// values were taken can be sorted and has its cells on one line.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using zarn::fuzz::Require;
    const std::string_view output = zarn::fuzz::AsText(data, size);
    std::int32_t counter = 0;
    if (zarn::ParseMemCounter(output, counter) == zarn::CounterResult::Ok) {
        const std::string text = std::to_string(counter) + "\n";
        std::int32_t again = 0;
        Require(zarn::ParseMemCounter(text, again) == zarn::CounterResult::Ok && again == counter,
                "a counter is read back");
    }
    const auto sum = zarn::ParseMemSum(output);
    Require(!sum || zarn::IsMemNumber(*sum), "a sum is digits");
    const auto alloc = zarn::ParseSharePoolAlloc(output);
    Require(!alloc || zarn::IsMemNumber(*alloc), "a sum of lines is digits");
    const auto words = zarn::ParseStatusWords(output);
    if (!words) {
        return 0;
    }
    const zarn::MemRow row = zarn::MakeProcessRow("1", {"1", "2", "3", "4"}, "5", *words);
    Require(row.size() == zarn::kMemProcessColumns.size(), "a row has all cells");
    std::string line;
    zarn::AppendLogRow(row, line);
    Require(std::count(line.begin(), line.end(), '\n') == 1, "a row is one line");
    return 0;
}
