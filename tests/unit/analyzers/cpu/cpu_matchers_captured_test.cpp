#include <gtest/gtest.h>

#include <filesystem>

#include "benchmarks/support/cpu_log_generator.h"
#include "foundation/files.h"
#include "tests/support/temp_dir.h"
#include "tests/unit/analyzers/cpu/cpu_oracle.h"

// The exact matchers against the compiled expressions on what `top` and `ps` print.
namespace zarn {
namespace {

void CompareLines(const std::string& text) {
    LineCursor cursor(text);
    std::string_view line;
    while (cursor.Next(line)) {
        ASSERT_EQ(test::DifferencesFromOracle(line), "");
    }
}

TEST(CpuMatchersOnTools, AgreeOnCapturedOutput) {
    int files = 0;
    for (const char* folder : {"top-4.0.2", "ps-4.0.2", "top-4.0.2-run/raw_data/cpu"}) {
        for (const auto& entry : std::filesystem::directory_iterator(test::DataPath(folder))) {
            if (entry.is_regular_file() && entry.path().extension() != ".md") {
                CompareLines(test::ReadText(entry.path().string()));
                ++files;
            }
        }
    }
    EXPECT_GE(files, 8);
}

TEST(CpuMatchersOnTools, AgreeOnGeneratedLogs) {
    bench::CpuLoad load;
    load.samples = 8;
    load.processes = 200;
    load.cores = 12;
    const bench::CpuLogGenerator generator(load);
    CompareLines(generator.UsageLog());
    CompareLines(generator.CoresLog());
    CompareLines(generator.ThreadLog());
    EXPECT_GE(test::MatchesSeen("regexpProcInfo"), 1600);
    EXPECT_GE(test::MatchesSeen("regexpCoresCpu"), 96);
}

}  // namespace
}  // namespace zarn
