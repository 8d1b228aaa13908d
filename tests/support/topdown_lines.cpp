#include "tests/support/topdown_lines.h"

#include <initializer_list>

namespace zarn::test {

std::string CounterFile(const std::map<std::string, int>& totals) {
    std::string text = "# started on Thu Jan  1 00:00:00 1970\n\n";
    for (const char* time : {"2.000000001", "3.000000002"}) {
        for (const char* code :
             {"r2014", "r11",   "r1b",   "r8",    "r201d", "r10",   "r2013", "r7000", "r7001",
              "r7004", "r7005", "r30",   "r2e",   "r27",   "r28",   "r1001", "r1010", "r1014",
              "r1018", "r100c", "r2012", "r2010", "r2004", "r2006", "r2007", "r2008", "r201e",
              "r2005", "r7002", "r7003", "r7006", "r7007", "r200b", "r200c", "r200d"}) {
            const auto found = totals.find(code);
            const int count = found == totals.end() ? 0 : found->second / 2;
            text += std::string("     ") + time + ";" + std::to_string(count) + ";;" + code +
                    ";57103;2.86;;\n";
        }
    }
    return text;
}

std::string MemoryBoundCounterFile() {
    return CounterFile({{"r11", 2000},
                        {"r8", 1600},
                        {"r1b", 1600},
                        {"r7004", 1400},
                        {"r7007", 1000},
                        {"r10", 2},
                        {"r2012", 2}});
}

}  // namespace zarn::test
