#include <gmock/gmock.h>

#include <string>

#include "tests/support/manager_texts.h"
#include "tests/system/support/sandbox.h"

// The AICPU line by the built program.
namespace zarn::test {
namespace {

using testing::HasSubstr;

constexpr const char* kCollector = R"({"aicpu_job": ["core"], "aicpu_process": ["perception"],
    "aicpu_cid": [1], "interval": 1, "count": 1})";

// As this machine is.
TEST(AicpuRunTest, AMachineWithoutTheComplexHasNothingToCollect) {
    Sandbox sandbox;
    ConfigText config;
    config.serial = R"(["AicpuCollector"])";
    config.analyze = R"(["AicpuAnalyzer"])";
    const RunResult run = sandbox.Run(config.Text(
        {{"AicpuCollector", kCollector}, {"AicpuAnalyzer", R"({"aicpu_job": ["core"]})"}}));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_THAT(run.err, HasSubstr("[AicpuCollector] Number of AICPU is configured as 0.\n"
                                   "[AicpuCollector] No information about AICPU will be "
                                   "collected.\n"
                                   "[AicpuAnalyzer] Only one soc_aicpu_info file should be "
                                   "existed.\n"));
    EXPECT_THAT(run.out, HasSubstr("[AicpuCollector] cost time: "));
    EXPECT_EQ(sandbox.Files("raw_data/aicpu").size(), 1U);
}

}  // namespace
}  // namespace zarn::test
