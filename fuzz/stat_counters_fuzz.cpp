#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "collectors/profiling/topdown/topdown_events.h"
#include "collectors/profiling/topdown/topdown_stat_parser.h"
#include "foundation/files.h"
#include "foundation/text.h"
#include "fuzz/fuzz_input.h"

// Counter files of any bytes: the counters that a plain reading finds are there, no others, and
// none of their totals is anything but a number.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using zarn::fuzz::Require;
    zarn::LineCursor lines(zarn::fuzz::AsText(data, size));
    zarn::TopdownTotals totals;
    std::unordered_map<std::string, int> expected;
    for (std::string_view line; lines.Next(line);) {
        totals.Add(line);
        std::string text(line);
        zarn::TrimSpaces(text);
        std::vector<std::string> fields;
        zarn::SplitString(text, ";", fields);
        if (text.empty() || text[0] == '#' || fields.size() < 3) {
            continue;
        }
        if (const auto place = zarn::FindTopdownEvent(fields[2])) {
            ++expected[zarn::TopdownEventName(*place)];
        }
    }
    const auto events = totals.Events();
    Require(events.size() == expected.size(), "the counters of a plain reading");
    for (const auto& [name, count] : events) {
        Require(expected.count(name) == 1, "a counter that is there");
        Require(count == count, "a total is a number");
    }
    return 0;
}
