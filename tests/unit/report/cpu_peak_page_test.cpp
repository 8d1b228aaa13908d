#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "formats/cpu_peak.h"
#include "tests/unit/report/shown.h"

namespace zarn::report {
namespace {

using test::RunTree;
using test::Shown;
using testing::ElementsAre;

constexpr const char* kPage = "peaks";

TEST(CpuPeakPageTest, ShowsWhatBusyCoresDid) {
    const RunTree tree;
    const auto nameFor = [](const char* cores, const char* time) {
        return cpu_peak_files::kRawDir + cpu_peak_files::RawName(cores, time) +
               cpu_peak_files::kTextSuffix;
    };
    tree.Write(nameFor("1,3", "20260101000000000"),
               "w 7 [001] 1.0: 10 cpu-clock:ppp: \n\t 1 f+0x1 (/bin/w)\n\t 2 main (/bin/w)\n\n"
               "w 7 [003] 1.1: 10 cpu-clock:ppp: \n\t 1 f+0x2 (/bin/w)\n\n"
               "v 8 [003] 1.2: 10 cpu-clock:ppp: \n\t 1 g (/bin/v)\n\n");
    tree.Write(nameFor("2", "20260101000001000"), "");
    const Shown shown(tree);
    EXPECT_THAT(shown.Rows(kPage, "Peaks of load"),
                ElementsAre("2026-01-01 00:00:00.000|1,3|3|f|2",
                            "2026-01-01 00:00:01.000|2|0|[too-few-samples]|[too-few-samples]"));
    EXPECT_THAT(shown.Titles(kPage),
                ElementsAre("Peaks of load", "Stacks of cores 1,3 at 20260101000000000"));
    EXPECT_THAT(shown.Rows("summary", "What was found"),
                ElementsAre("run1|Peaks of CPU load, recorded from the first one "
                            "on|2|peaks|2026-01-01 00:00:00.000"));
}

// The cores stand before the time in the names of the files.
TEST(CpuPeakPageTest, ShowsThePeaksInOrderOfTime) {
    const RunTree tree;
    for (const auto& [cores, time] :
         {std::pair("1", "20260101000002000"), std::pair("2", "20260101000001000"),
          std::pair("3", "20260101000003000")}) {
        tree.Write(cpu_peak_files::kRawDir + cpu_peak_files::RawName(cores, time) +
                       cpu_peak_files::kTextSuffix,
                   "");
    }
    const Shown shown(tree);
    EXPECT_THAT(shown.Rows(kPage, "Peaks of load"),
                ElementsAre("2026-01-01 00:00:01.000|2|0|[too-few-samples]|[too-few-samples]",
                            "2026-01-01 00:00:02.000|1|0|[too-few-samples]|[too-few-samples]",
                            "2026-01-01 00:00:03.000|3|0|[too-few-samples]|[too-few-samples]"));
    EXPECT_THAT(shown.Rows("summary", "What was found"),
                ElementsAre("run1|Peaks of CPU load, recorded from the first one on|3|peaks|"
                            "2026-01-01 00:00:01.000"));
}

}  // namespace
}  // namespace zarn::report
