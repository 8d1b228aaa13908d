#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>

#include "analyzers/cpu/cpu_analyzer.h"
#include "tests/support/amounts.h"
#include "tests/support/fake_host.h"
#include "tests/support/ordinary_rights.h"
#include "tests/support/unresolvable_folder.h"
#include "tests/unit/analyzers/cpu/cpu_analysis_fixture.h"

// The analyzer on trees that lack something or hold what no collector writes.
namespace zarn {
namespace {

using test::CpuRunTree;

constexpr const char* kAllJobs = R"("global","process_set","core")";
constexpr const char* kFailed = "[CpuAnalyzer] Failed to process cpu info!\n";
constexpr const char* kAllProcesses =
    "json/soc_cpu_ana_all_procs_usage_info_20230101120000111.data";
constexpr const char* kParseFault =
    "[CpuAnalyzer] Exception occurs while parsing cpuUsageFile json file.\n";

TEST(CpuAnalyzerHostileTest, SaysWhichInputIsMissing) {
    const CpuRunTree tree;
    const std::string raw = tree.Files().Path() + "raw_data/cpu/";
    CpuRunTree::Result result = tree.Analyze(kAllJobs);
    EXPECT_FALSE(result.succeeded);
    EXPECT_EQ(result.captured.err,
              "[CpuAnalyzer] The CpuCollector does not output the soc_gea_cpu_usage_info_1 "
              "rawfile.\n[CpuAnalyzer] The file path: " +
                  raw + "cpu_cores_1_ does not exist!\n" + kFailed);
    result = tree.Analyze(R"("core")");
    EXPECT_TRUE(result.succeeded);
    EXPECT_EQ(result.captured.err,
              "[CpuAnalyzer] The file path: " + raw + "cpu_cores_1_ does not exist!\n");
    std::filesystem::remove_all(raw);
    result = tree.Analyze(R"("process_set")");
    EXPECT_EQ(result.captured.err,
              "Can not open " + raw +
                  "\n[CpuAnalyzer] The CpuCollector does not output the soc_gea_cpu_usage_info_1 "
                  "rawfile.\nCan not open " +
                  raw + "\n[CpuAnalyzer] The file path: " + raw +
                  "soc_gea_cpu_usage_info_1_ does not exist!\n" + kFailed);
}

TEST(CpuAnalyzerHostileTest, EmptyLogsAreNoInput) {
    const CpuRunTree tree;
    const std::string usage = tree.Files().Write(test::kUsageLogName, "");
    const std::string cores = tree.Files().Write(test::kCoresLogName, "");
    const CpuRunTree::Result result = tree.Analyze(kAllJobs);
    EXPECT_FALSE(result.succeeded);
    EXPECT_EQ(result.captured.err,
              "[CpuAnalyzer] The file is not found or empty, check your file: " + usage +
                  "\n[CpuAnalyzer] The file is not found or empty, check your file: " + cores +
                  "\n[CpuAnalyzer] Failed to analyze Cores.\n" + kFailed);
}

TEST(CpuAnalyzerHostileTest, TheCoresAreAnalysedThoughTheUsageLogIsMissing) {
    const CpuRunTree tree;
    tree.Files().Write(test::kCoresLogName, test::kCoresLogText);
    EXPECT_FALSE(tree.Analyze(kAllJobs).succeeded);
    EXPECT_THAT(tree.Files().Read("json/soc_cpu_ana_core_20230101120000222.data"),
                testing::HasSubstr("Cpu1"));
}

TEST(CpuAnalyzerHostileTest, DocumentsAreWantedButNotNeeded) {
    const CpuRunTree tree;
    tree.Files().Write(test::kUsageLogName, test::kUsageLogText);
    const CpuRunTree::Result result = tree.Analyze(R"("global")");
    EXPECT_TRUE(result.succeeded);
    EXPECT_EQ(result.captured.err,
              "[CpuAnalyzer] The CpuCollector does not output the soc_gea_cpu_usage_info "
              "jsonfile.\n");
    EXPECT_THAT(tree.Files().Read("raw_data/cpu/cpu_ana_global_rawdata_20230101120000111.csv"),
                testing::StartsWith("Times,oneCollecTotal,worker,"));
}

TEST(CpuAnalyzerHostileTest, FaultyDocumentsArePassedOverAndKeepTheirPlace) {
    const CpuRunTree tree;
    tree.WriteCollection();
    tree.Files().Write(test::kDocumentsName,
                       "{\"content\":[]}\n\n{\"content\":{\"third\":1}}\n{\"content\":{}}\n{torn");
    const CpuRunTree::Result result = tree.Analyze(R"("global")");
    EXPECT_TRUE(result.succeeded);
    EXPECT_EQ(result.captured.err,
              std::string(kParseFault) + kParseFault +
                  "[CpuAnalyzer] The data volume of the analyzer is less than that of the "
                  "collector.\n" +
                  kParseFault);
    EXPECT_EQ(tree.Files().Read(kAllProcesses),
              R"({"content":{"third":1,"allProcsInfo":[)"
              R"({"procInfo":"root 1 20 0 51944 20256 6520 S 10.0 0.1 0:04.20 init"},)"
              R"({"procInfo":"root 3 20 0 0 0 0 I 2.0 0.0 0:00.10 helper"}]}})"
              "\n");
}

TEST(CpuAnalyzerHostileTest, DocumentsOfAnyDepthAndLengthPassThrough) {
    const CpuRunTree tree;
    tree.WriteCollection();
    const std::size_t depth = test::Amount(1000000);
    const std::string deep =
        R"({"content":{"a":)" + std::string(depth, '[') + std::string(depth, ']') + "}}\n";
    const std::string wide =
        R"({"content":{"a":")" + std::string(test::Amount(16U << 20U), 'x') + "\"}}\n";
    tree.Files().Write(test::kDocumentsName, deep + wide + std::string(depth, '{'));
    const CpuRunTree::Result result = tree.Analyze(R"("global")");
    EXPECT_TRUE(result.succeeded);
    EXPECT_EQ(result.captured.err, kParseFault);
    EXPECT_GT(tree.Files().Read(kAllProcesses).size(), deep.size() + wide.size());
}

TEST(CpuAnalyzerHostileTest, ALogOfOneLongLineOfAnyBytesIsPassedOver) {
    const std::size_t size = test::Amount(16U << 20U);
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>((i * 2654435761U) >> 13U);
    }
    std::replace(bytes.begin(), bytes.end(), '\n', 'A');
    for (const std::string& text : {std::string(size, '\0'), std::string(size, '1'), bytes}) {
        const CpuRunTree tree;
        tree.Files().Write(test::kUsageLogName, text);
        tree.Files().Write(test::kCoresLogName, text);
        tree.Files().Write(test::kDocumentsName, text);
        EXPECT_TRUE(tree.Analyze(kAllJobs).succeeded);
    }
}

TEST(CpuAnalyzerHostileTest, ASampleBetweenLongLinesIsFound) {
    const CpuRunTree tree;
    const std::string filling(std::size_t{1} << 20U, 'x');
    tree.Files().Write(test::kUsageLogName, filling + "\n" + test::kUsageLogText + filling);
    EXPECT_TRUE(tree.Analyze(R"("process_set")").succeeded);
    EXPECT_EQ(tree.Files().Read(
                  "raw_data/cpu/soc_cpu_ana_selected_process_rawdata_20230101120000111.csv"),
              "Times,all_total,small_total,none_total,\n"
              "'20230101120000123,60,0,,\n'20230101120005123,100,,,\n'20230101120010123,12,2,,\n");
}

// A collector that could not have the time leaves samples without one.
TEST(CpuAnalyzerHostileTest, AnExtremeOfASampleWithoutATimeHasNone) {
    const CpuRunTree tree;
    tree.Files().Write(test::kUsageLogName, std::regex_replace(std::string(test::kUsageLogText),
                                                               std::regex("[0-9]{17}\n"), ""));
    const CpuRunTree::Result result = tree.Analyze(R"("global")");
    EXPECT_TRUE(result.succeeded);
    EXPECT_THAT(tree.Files().Read("json/soc_cpu_ana_global_20230101120000111.data"),
                testing::HasSubstr(R"("peak":[{"cpuValue":"30.000000","timeStamp":""}])"));
}

TEST(CpuAnalyzerHostileTest, ALogTornAtAnyPlaceIsAnalysed) {
    const std::string whole = test::kUsageLogText;
    for (std::size_t size = 1; size < whole.size(); size += 23) {
        const CpuRunTree tree;
        tree.Files().Write(test::kUsageLogName, whole.substr(0, size));
        EXPECT_TRUE(tree.Analyze(kAllJobs).succeeded) << size;
    }
}

TEST(CpuAnalyzerHostileTest, WhatCannotBeWrittenIsSaid) {
    const CpuRunTree tree;
    tree.WriteCollection();
    const std::string raw = tree.Files().Path() + "raw_data/cpu/";
    for (const char* name : {"cpu_ana_global_rawdata_20230101120000111.csv",
                             "soc_cpu_ana_selected_process_rawdata_20230101120000111.csv",
                             "soc_cpu_ana_core_rawdata_20230101120000222.csv",
                             "soc_cpu_ana_loading_rawdata_20230101120000222.csv"}) {
        std::filesystem::create_directories(raw + name);
    }
    tree.Files().MakeFolder(kAllProcesses);
    const CpuRunTree::Result result = tree.Analyze(kAllJobs);
    EXPECT_FALSE(result.succeeded);
    EXPECT_EQ(result.captured.err,
              "[zarn_utils] Cannot open outfile, check your filePath.\n"
              "[CpuAnalyzer] Failed to open file: " +
                  raw + "cpu_ana_global_rawdata_20230101120000111.csv\n" +
                  "[CpuAnalyzer] Failed to open file: " + raw +
                  "soc_cpu_ana_selected_process_rawdata_20230101120000111.csv\n" +
                  "[CpuAnalyzer] Failed to open file: " + raw +
                  "/soc_cpu_ana_core_rawdata_20230101120000222.csv\n"
                  "[CpuAnalyzer] Failed to Write Cores RawData.\n"
                  "[CpuAnalyzer] Failed to analyze Cores.\n"
                  "[CpuAnalyzer] Failed to open file: " +
                  raw + "soc_cpu_ana_loading_rawdata_20230101120000222.csv\n" +
                  "[CpuAnalyzer] Failed to Write cores CpuLoading RawData.\n" + kFailed);
}

TEST(CpuAnalyzerHostileTest, ALoadingTableOfTheUsageLogThatCannotBeWrittenIsSaid) {
    const CpuRunTree tree;
    tree.WriteCollection();
    const std::string table =
        tree.Files().Path() + "raw_data/cpu/soc_cpu_ana_loading_rawdata_20230101120000111.csv";
    std::filesystem::create_directories(table);
    const CpuRunTree::Result result = tree.Analyze(R"("global")");
    EXPECT_FALSE(result.succeeded);
    EXPECT_EQ(result.captured.err,
              "[CpuAnalyzer] Failed to open file: " + table +
                  "\n[CpuAnalyzer] Failed to Write global CpuLoading RawData.\n" + kFailed);
}

TEST(CpuAnalyzerHostileTest, AFolderThatCannotBeResolvedGetsNoLoadingTable) {
    const test::UnresolvableFolder folder;
    std::filesystem::create_directories("raw_data/cpu");
    std::filesystem::create_directories("json");
    std::ofstream(test::kUsageLogName) << test::kUsageLogText;
    const std::string noPath = "[CpuAnalyzer] Can't get real path\n";
    CpuRunTree::Result result = CpuRunTree::AnalyzeTree("./", R"("process_set")");
    EXPECT_FALSE(result.succeeded);
    EXPECT_EQ(result.captured.err,
              noPath + "[CpuAnalyzer] Failed to Write global CpuLoading RawData.\n" + kFailed);
    std::ofstream(test::kCoresLogName) << test::kCoresLogText;
    result = CpuRunTree::AnalyzeTree("./", R"("core")");
    EXPECT_FALSE(result.succeeded);
    EXPECT_EQ(result.captured.err,
              noPath + "[CpuAnalyzer] Failed to Write cores CpuLoading RawData.\n" + kFailed);
}

// Files that a search finds, since the folder may be read, but that may not be read themselves.
TEST(CpuAnalyzerHostileTest, FilesThatMayNotBeReadAreSaid) {
    const CpuRunTree tree;
    tree.WriteCollection();
    const test::OrdinaryRights rights;
    const std::string documents = tree.Files().Path() + test::kDocumentsName;
    ASSERT_EQ(::chmod(documents.c_str(), 0), 0);
    CpuRunTree::Result result = tree.Analyze(R"("global")");
    EXPECT_TRUE(result.succeeded);
    EXPECT_EQ(result.captured.err,
              "[CpuAnalyzer] Failed to open the cpuUsageFile file - '" + documents + "'\n");
    const std::string usage = tree.Files().Path() + test::kUsageLogName;
    ASSERT_EQ(::chmod(usage.c_str(), 0), 0);
    result = tree.Analyze(R"("global")");
    EXPECT_FALSE(result.succeeded);
    EXPECT_EQ(result.captured.err,
              "[CpuAnalyzer] Cannot find cpuGlobalData file: " + usage + "\n" + kFailed);
    const std::string cores = tree.Files().Path() + test::kCoresLogName;
    ASSERT_EQ(::chmod(cores.c_str(), 0), 0);
    result = tree.Analyze(R"("core")");
    EXPECT_FALSE(result.succeeded);
    EXPECT_EQ(result.captured.err,
              "[CpuAnalyzer] The file is not found or empty, check your file: " + cores +
                  "\n[CpuAnalyzer] Failed to analyze Cores.\n" + kFailed);
}

TEST(CpuAnalyzerHostileTest, ATableOfExpressionsThatLacksOneIsSaid) {
    const CpuRunTree tree;
    tree.WriteCollection();
    JsonDocument config;
    ASSERT_TRUE(ParseJson(
        R"({"CpuAnalyzer":{"job":["global","core"],"peak_trought_threshold":0.1,"process_set":{}}})",
        config));
    const StopFlag stopFlag(0);
    const CpuPatternTable empty;
    test::FakeHost host;
    CpuAnalyzer analyzer("CpuAnalyzer", host.Get(), empty);
    bool succeeded = true;
    const test::Captured captured =
        test::Capture([&] { succeeded = analyzer.Start(config, tree.Files().Path(), &stopFlag); });
    EXPECT_FALSE(succeeded);
    const std::string line =
        "[CpuAnalyzer] Failed to obtain the regular expression. Error: map::at\n";
    EXPECT_EQ(captured.err, line + line + "[CpuAnalyzer] Failed to analyze Cores.\n" + kFailed);
}

}  // namespace
}  // namespace zarn
