#include "formats/sys_call.h"

#include <gtest/gtest.h>

namespace zarn {
namespace {

constexpr const char* kTime = "20230101120000123";

TEST(SysCallFiles, ALogIsNamedAfterItsProcessAndTheTime) {
    EXPECT_EQ(sys_call_files::LogPath("/run/", "planner", kTime),
              "/run/raw_data/sys_call/soc_sys_call_info_planner_1_20230101120000123.log");
}

TEST(SysCallFiles, OneDocumentIsAboutAllProcesses) {
    EXPECT_EQ(sys_call_files::kDocument.Path("/run/", kTime),
              "/run/json/soc_sys_call_info_1_20230101120000123.data");
}

}  // namespace
}  // namespace zarn
