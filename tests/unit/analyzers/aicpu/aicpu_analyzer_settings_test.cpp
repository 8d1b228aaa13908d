#include "analyzers/aicpu/aicpu_analyzer_settings.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/support/captured_streams.h"
#include "tests/support/key_check.h"

namespace zarn {
namespace {

test::Captured Read(const std::string& jobs, AicpuJobs& read, bool& good) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(jobs.empty() ? "{}" : R"({"AicpuAnalyzer":{)" + jobs + "}}", config));
    return test::Capture([&] { good = ReadAicpuAnalyzerSettings(config, read); });
}

TEST(AicpuAnalyzerSettingsTest, RefusedSettingsPrintTheirLine) {
    const char* missing = "[AicpuAnalyzer] Error occurs: Lack of required fields.\n";
    const char* type = "[AicpuAnalyzer] Error occurs: Invalid AicpuAnalyzer param type\n";
    const std::pair<const char*, const char*> rows[] = {
        {"", missing},
        {R"("job":[])", missing},
        {R"("aicpu_job":"core")", type},
        {R"("aicpu_job":{})", type},
        {R"("aicpu_job":["core",1])", "[AicpuAnalyzer] Illegal aicpu_job type!\n"},
    };
    for (const auto& [jobs, words] : rows) {
        AicpuJobs read;
        bool good = true;
        const test::Captured captured = Read(jobs, read, good);
        EXPECT_FALSE(good) << jobs;
        EXPECT_EQ(captured.err, words);
        EXPECT_EQ(captured.out, "");
        EXPECT_FALSE(read.core);
    }
}

TEST(AicpuAnalyzerSettingsTest, AnUnknownJobIsOnlyWarnedOf) {
    AicpuJobs read;
    bool good = false;
    EXPECT_EQ(Read(R"("aicpu_job":["cores","core"])", read, good).err,
              "[AicpuCommon] Illegal job name: cores\n");
    EXPECT_TRUE(good);
    EXPECT_TRUE(read.core);
    EXPECT_FALSE(read.event || read.abnormal);
}

TEST(AicpuAnalyzerSettingsTest, TheOptionCheckHoldsTheDeclaredKeys) {
    test::ExpectKeysHold("AicpuAnalyzer", AicpuAnalyzerKeys(),
                         R"({"AicpuAnalyzer":{"aicpu_job":["core"]}})",
                         [](const JsonDocument& config) {
                             AicpuJobs jobs;
                             return ReadAicpuAnalyzerSettings(config, jobs);
                         });
}

}  // namespace
}  // namespace zarn
