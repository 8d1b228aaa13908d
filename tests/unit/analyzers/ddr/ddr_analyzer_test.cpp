#include "analyzers/ddr/ddr_analyzer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "analyzers/ddr/ddr_master_info.h"
#include "formats/ddr.h"
#include "tests/support/key_check.h"
#include "tests/unit/analyzers/ddr/ddr_analyzer_fixture.h"

namespace zarn::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;

constexpr const char* kParseFailed = "[DdrAnalyzer] Failed to parse ddr config!\n";

// The analysis of a name whose shares are all `share`.
std::string Flat(const std::string& name, const std::string& share) {
    return R"({"mpam_name":")" + name + R"(","meanBw":")" + share + R"(","maxBw":")" + share +
           R"(","minBw":")" + share + R"(","over":"0.000000","peak_interval":[],"peak":[],)" +
           R"("trough":[]})";
}

TEST_F(DdrAnalyzerTest, WritesTheAnalysisAndTheTable) {
    tree.Write(kBandwidthName, BandwidthLines("cpu", {40, 80, 10, 90.123456, 20}));
    tree.Write(kQosName, QosLines("0", "20"));
    const Captured captured = Run();
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    EXPECT_EQ(captured.out, LoadLines() +
                                "[DdrAnalyzer] Successfully analyzer ddr info!\n"
                                "[DdrAnalyzer] Successfully save ddr ana info to " +
                                tree.PathOf(kAnalysisName) +
                                "\n[DdrAnalyzer] Successfully save ddr using info to " +
                                tree.PathOf(kTableName) +
                                "\n[DdrAnalyzer] DdrAnalyzer Finished!\n");
    std::string expected = R"({"objectId":"soc_ddr_ana","eventId":"222210070",)"
                           R"("happenTime":"20230101120000000","content":[)" +
                           Flat("total", "0.000000");
    expected += R"(,{"mpam_name":"cpu","meanBw":"48.024691","maxBw":"90.123456",)"
                R"("minBw":"10.000000","over":"22.462960","peak_interval":[2],"peak":[)"
                R"({"Value":"80.000000","timeStamp":"20230101120001000"},)"
                R"({"Value":"90.123456","timeStamp":"20230101120003000"}],"trough":[)"
                R"({"Value":"10.000000","timeStamp":"20230101120002000"}]})";
    for (const std::string& name : ddrNameList) {
        expected += name == "total" || name == "cpu" ? "" : "," + Flat(name, "0.000000");
    }
    EXPECT_EQ(tree.Read(kAnalysisName), expected + "]}\n");
    EXPECT_EQ(tree.Read(kTableName),
              "happen_time,total,cpu,imgp_venc,imgp_vdec,imgp_vpc,aic_dat,aic_ins,sdma,isp_vicap,"
              "isp_viproc,isp_vipe,\n"
              "'20230101120000000,0,40,0,0,0,0,0,0,0,0,0,\n"
              "'20230101120001000,0,80,0,0,0,0,0,0,0,0,0,\n"
              "'20230101120002000,0,10,0,0,0,0,0,0,0,0,0,\n"
              "'20230101120003000,0,90.1235,0,0,0,0,0,0,0,0,0,\n"
              "'20230101120004000,0,20,0,0,0,0,0,0,0,0,0,\n");
    EXPECT_THAT(tree.Read("env_info/time_cost.log"),
                MatchesRegex("\\[DdrAnalyzer\\] cost time: [0-9.]+s\n"));
}

TEST_F(DdrAnalyzerTest, AnEmptyCollectionGivesTheDefaults) {
    tree.Write(kBandwidthName, "");
    tree.Write(kQosName, "");
    Run();
    EXPECT_TRUE(result);
    EXPECT_THAT(tree.Read(kAnalysisName),
                HasSubstr(R"({"mpam_name":"isp_vipe","meanBw":"0.000000","maxBw":"0.000000",)"
                          R"("minBw":"100.000000","over":"0.000000","peak_interval":[],)"
                          R"("peak":[],"trough":[]}]})"));
    EXPECT_EQ(tree.Read(kTableName),
              "happen_time,total,cpu,imgp_venc,imgp_vdec,imgp_vpc,aic_dat,aic_ins,sdma,isp_vicap,"
              "isp_viproc,isp_vipe,\n");
}

TEST_F(DdrAnalyzerTest, ARepeatedAnalysisAddsALineAndReplacesTheTable) {
    Run();
    const std::string line = tree.Read(kAnalysisName);
    const std::string table = tree.Read(kTableName);
    ddrInfoMap.clear();
    Run();
    EXPECT_EQ(tree.Read(kAnalysisName), line + line);
    EXPECT_EQ(tree.Read(kTableName), table);
}

TEST_F(DdrAnalyzerTest, ASecondAnalyzerOfTheProcessAddsToTheFirst) {
    Run();
    Run();
    EXPECT_EQ(ddrInfoMap["cpu"].values.size(), 2U);
    const std::string row = "'20230101120000001,1.5,1.5,1.5,1.5,1.5,1.5,1.5,1.5,1.5,1.5,1.5,\n";
    EXPECT_THAT(tree.Read(kTableName), EndsWith("isp_vipe,\n" + row + row));
}

struct BadSection {
    const char* section;
    const char* words;
};

TEST_F(DdrAnalyzerTest, ABadSectionEndsTheFirstStep) {
    const std::string head = "[DdrAnalyzer] Error occurs when parsing the ddr config: ";
    const BadSection rows[] = {
        {R"({})", "[DdrAnalyzer] Ddr analyzer param is missing! Correct: [job]\n"},
        {R"({"job":"global"})", "[DdrAnalyzer] Invalid JOB type, which should be list!\n"},
        {R"({"job":[]})", "[DdrAnalyzer] The JOB cannot be empty!\n"},
        {R"({"job":["global",null]})",
         "[DdrAnalyzer] Illegal item type of JOB! Items in JOB should be string!\n"},
    };
    for (const BadSection& row : rows) {
        const Captured captured = Run(row.section);
        EXPECT_FALSE(result);
        EXPECT_EQ(captured.out, "[DdrAnalyzer] DdrAnalyzer Start.\n");
        EXPECT_EQ(captured.err, head + row.words + kParseFailed);
    }
    EXPECT_EQ(Run(R"({"job":["global","GLOBAL"]})").err,
              std::string("[DdrAnalyzer] Illegal job name: GLOBAL, which should be 'global'.\n"
                          "[DdrAnalyzer] Failed to SetJob!\n") +
                  kParseFailed);
    EXPECT_FALSE(result);
}

TEST_F(DdrAnalyzerTest, AConfigurationWithoutTheSectionIsRefused) {
    JsonDocument config;
    ASSERT_TRUE(ParseJson("{}", config));
    const Captured captured = Capture([&] {
        EXPECT_FALSE(DdrAnalyzer(DdrAnalyzer::kName).Start(config, tree.Path(), &stopFlag));
    });
    EXPECT_THAT(captured.err, HasSubstr("Ddr analyzer param is missing! Correct: [job]\n"));
}

TEST_F(DdrAnalyzerTest, ASectionThatIsNoObjectEndsTheProcess) {
    JsonDocument config;
    ASSERT_TRUE(ParseJson(R"({"DdrAnalyzer":7})", config));
    DdrAnalyzer analyzer(DdrAnalyzer::kName);
    EXPECT_DEATH((void)analyzer.Start(config, tree.Path(), &stopFlag), "JSON assertion");
}

TEST_F(DdrAnalyzerTest, ADirectoryMustHoldOneCollection) {
    const std::string words =
        "[DdrAnalyzer] only one ddr_info file should be existed.\n"
        "[DdrAnalyzer] Failed to initialize file path!\n";
    tree.Write("json/soc_ddr_bandwidth_usage_info_1_2.data", "");
    EXPECT_EQ(Run().err, words);
    EXPECT_FALSE(result);
    tree.Remove("json/soc_ddr_bandwidth_usage_info_1_2.data");
    tree.Remove(kBandwidthName);
    EXPECT_EQ(Run().err, words);
    EXPECT_FALSE(result);
    tree.Remove("json");
    EXPECT_EQ(Run().err, "Can not open " + tree.PathOf("json/") + "\n" + words);
    EXPECT_FALSE(result);
}

TEST_F(DdrAnalyzerTest, NamesThatDoNotMatchDoNotCount) {
    for (const char* name :
         {"json/soc_ddr_bandwidth_usage_info_1_.data", "json/soc_ddr_bandwidth_usage_info_1_1.log",
          "json/xsoc_ddr_bandwidth_usage_info_1_1.data",
          "json/soc_ddr_bandwidth_usage_info_1_1x.data"}) {
        tree.Write(name, "");
    }
    Run();
    EXPECT_TRUE(result);
}

// Case does not count in the search, but the paths are built with lower-case names.
TEST_F(DdrAnalyzerTest, ACollectionInCapitalsIsFoundAndNotOpened) {
    tree.Remove(kBandwidthName);
    tree.Write("json/SOC_DDR_BANDWIDTH_USAGE_INFO_1_20230101120000000.DATA", "");
    const Captured captured = Run();
    EXPECT_FALSE(result);
    EXPECT_THAT(captured.err, HasSubstr("[DdrAnalyzer] Failed to open the DDR info file - '" +
                                        tree.PathOf(kBandwidthName) + "'\n"));
}

TEST_F(DdrAnalyzerTest, AStopEndsTheProcessing) {
    stopFlag = 1;
    const Captured captured = Run();
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err,
              "[DdrAnalyzer] Failed to process ddr analyzer because of stopFlag!\n"
              "[DdrAnalyzer] Failed to process ddr info!\n");
    EXPECT_FALSE(tree.Has(kAnalysisName));
}

// Its check is part of Start, which ends there or goes on to an empty tree.
TEST(DdrAnalyzerOptions, TheCheckHoldsToTheDeclaredKeys) {
    test::ExpectKeysHold(
        "DdrAnalyzer", DdrAnalyzer::Keys(), R"({"DdrAnalyzer":{"job":["global"]}})",
        [](const JsonDocument& config) {
            const test::TempDir tree;
            const StopFlag stopFlag(0);
            const test::Captured captured = test::Capture([&] {
                (void)DdrAnalyzer(DdrAnalyzer::kName).Start(config, tree.Path(), &stopFlag);
            });
            return captured.err.find("[DdrAnalyzer] Failed to parse ddr config!") ==
                   std::string::npos;
        });
}

}  // namespace
}  // namespace zarn::test
