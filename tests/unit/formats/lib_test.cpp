#include "formats/lib.h"

#include <gtest/gtest.h>

namespace zarn {
namespace {

TEST(LibFiles, ARecordingIsNamedAfterItsProcessAndItsTime) {
    EXPECT_EQ(lib_files::RawName("planner", "417", "20230101120000123"),
              "lib_process_planner_417_20230101120000123");
}

}  // namespace
}  // namespace zarn
