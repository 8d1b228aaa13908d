#include "formats/hot_fun.h"

#include <gtest/gtest.h>

#include <regex>

namespace zarn {
namespace {

using namespace hot_fun_files;  // NOLINT: the names under test

constexpr const char* kTime = "20230101120000123";

TEST(HotFunFiles, ARecordingIsNamedAfterWhatItIsAboutAndItsTime) {
    EXPECT_EQ(RawName(CoreTag("3"), kTime), "hotfun_core_core3_20230101120000123");
    EXPECT_EQ(RawName(ProcessTag("app", "417"), kTime), "hotfun_process_app_417_20230101120000123");
    EXPECT_EQ(RawName(kGlobal, kTime), "hotfun_global_20230101120000123");
    EXPECT_EQ(RawName(kFunctionSet, kTime), "hotfun_function_set_20230101120000123");
}

TEST(HotFunFiles, TheShellFindsRecordings) {
    EXPECT_EQ(RecordingGlob(CoreTag("3"), "_"), "hotfun_core_core3_*.data");
    EXPECT_EQ(RecordingGlob(ProcessTag("app", "417")), "hotfun_process_app_417*.data");
    EXPECT_EQ(RecordingGlob(kGlobal), "hotfun_global*.data");
}

TEST(HotFunFiles, PatternsKnowTheRecordingsOfOneThing) {
    const std::regex core(RecordingPattern(CoreTag("1")));
    EXPECT_TRUE(std::regex_search(RawName(CoreTag("1"), kTime) + ".data", core));
    EXPECT_FALSE(std::regex_search(RawName(CoreTag("11"), kTime) + ".data", core));
    EXPECT_FALSE(std::regex_search(RawName(CoreTag("1"), kTime) + ".script", core));
    const std::regex process(ProcessRecordingPattern("a"));
    EXPECT_TRUE(std::regex_search(RawName(ProcessTag("a", "4"), kTime) + ".data", process));
    EXPECT_FALSE(std::regex_search(RawName(ProcessTag("ab", "4"), kTime) + ".data", process));
    EXPECT_EQ(RecordingPattern(kGlobal), R"(hotfun_global_[0-9]+\.data)");
}

TEST(HotFunFiles, ResultsAreNamedAfterTheJob) {
    EXPECT_EQ(DocumentPath("/run/", kCore, "_core3", kTime),
              "/run/json/soc_hot_function_core_info_core3_1_20230101120000123.data");
    EXPECT_EQ(DocumentPath("/run/", kFunctionSet, "", kTime),
              "/run/json/soc_hot_function_function_set_info_1_20230101120000123.data");
    EXPECT_EQ(ComparisonName(ProcessTag("app")), "hotfun_process_app_info.csv");
}

TEST(HotFunFiles, TheWorkingDirectoryHoldsOneTextForEachJobOrTag) {
    EXPECT_EQ(ReportLog(kProcess), "processReport.log");
    EXPECT_EQ(DiffText(CoreTag("3")), "core_core3.temp");
}

}  // namespace
}  // namespace zarn
