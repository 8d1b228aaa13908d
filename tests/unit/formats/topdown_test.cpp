#include "formats/topdown.h"

#include <gtest/gtest.h>

namespace zarn {
namespace {

TEST(TopdownFiles, TheSystemHasOneOfEach) {
    EXPECT_EQ(topdown_files::RawName(topdown_files::kGlobal, "", "20230101120000000"),
              "topdown_global_20230101120000000.log");
    EXPECT_EQ(topdown_files::DocumentName(topdown_files::kGlobal, "", "20230101120000000"),
              "soc_topdown_global_info_1_20230101120000000.data");
}

TEST(TopdownFiles, ACoreAndAProcessHaveTheirOwn) {
    EXPECT_EQ(topdown_files::RawName(topdown_files::kCore, "11", "1"), "topdown_core_11_1.log");
    EXPECT_EQ(topdown_files::DocumentName(topdown_files::kCore, "11", "1"),
              "soc_topdown_core_info_core11_1_1.data");
    EXPECT_EQ(topdown_files::RawName(topdown_files::kProcess, "planner", "1"),
              "topdown_process_planner_1.log");
    EXPECT_EQ(topdown_files::DocumentName(topdown_files::kProcess, "planner", "1"),
              "soc_topdown_process_info_processplanner_1_1.data");
}

TEST(TopdownFiles, TellWhatTheyAreAbout) {
    using namespace topdown_files;
    for (const char* element : {"", "3", "frame_1_worker", "_1_"}) {
        EXPECT_EQ(ElementOf(kProcess, DocumentName(kProcess, element, "7")), element);
    }
    EXPECT_EQ(ElementOf(kProcess, kProcess.documentPrefix), "");
}

}  // namespace
}  // namespace zarn
