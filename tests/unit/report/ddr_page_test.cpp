#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "formats/ddr.h"
#include "tests/unit/report/shown.h"

namespace zarn::report {
namespace {

using test::DocumentLine;
using test::kFrom;
using test::RunTree;
using test::Shown;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kPage = "ddr";

// A sample in which each master but the CPU has a share of 1 %.
std::string Sample(const std::string& time, const std::string& cpu, const std::string& total) {
    std::string content = R"([{"cpu":")" + cpu + R"(")";
    for (const std::string& name : ddrNameList) {
        if (name != "cpu" && name != kDdrTotal) {
            content += ",\"" + name + R"(":"1.000000")";
        }
    }
    return DocumentLine("soc_ddr_bandwidth_usage_info", time,
                        content + R"(,"total":")" + total + R"("}])");
}

std::string Setting(const std::string& name, const std::string& high) {
    return DocumentLine("soc_qos_mata_config_info", "20260101000000000",
                        R"([{"mpam_name":")" + name + R"(","bw_low":"0","bw_high":")" + high +
                            R"(","hardlimit":"1","priority":"5"}])");
}

class DdrPageTest : public testing::Test {
protected:
    void SetUp() override {
        tree.Write(RunTree::NameOf(ddr_files::kBandwidth),
                   Sample("20260101000000000", "19.000000", "28.000000") +
                       Sample("20260101000001000", "21.000000", "30.000000"));
    }
    RunTree tree;
};

TEST_F(DdrPageTest, StacksTheMastersAgainstThePeak) {
    const Shown shown(tree);
    const std::string title = "Masters stacked against the DDR's peak";
    const JsonValue& stack = shown.Block(kPage, title);
    EXPECT_TRUE(stack["stacked"].GetBool());
    EXPECT_EQ(stack["limits"][0]["v"].GetDouble(), 100.0);
    const auto lines = shown.Lines(kPage, title, kFrom);
    EXPECT_EQ(lines.size(), 10U);
    EXPECT_EQ(lines[0], "cpu: 0=19 1000=21");
    EXPECT_THAT(shown.Lines(kPage, "Total and each master", kFrom),
                Contains("total: 0=28 1000=30"));
}

TEST_F(DdrPageTest, MarksSamplesAboveTheBounds) {
    // 10.2 of 51 GB/s are a fifth.
    tree.Write(RunTree::NameOf(ddr_files::kQosSettings),
               Setting("cpu", "10.2") + Setting("sdma", "51"));
    const Shown shown(tree);
    EXPECT_THAT(shown.Marks(kPage, "Total and each master", kFrom),
                ElementsAre("over cpu above its bound of 10.2 GB/s @1000: 1"));
    const JsonValue& limits = shown.Block(kPage, "Total and each master")["limits"];
    ASSERT_EQ(limits.Size(), 1U);
    EXPECT_EQ(limits[0]["v"].GetDouble(), 20.0);
    EXPECT_STREQ(limits[0]["label"].GetString(), "upper bound of cpu, 10.2 GB/s");
    EXPECT_THAT(shown.Rows(kPage, "Bounds of the masters"),
                ElementsAre("cpu|0|10.2|1|5|1", "sdma|0|51|1|5|0"));
    EXPECT_THAT(shown.Rows("summary", "What was found"),
                ElementsAre("run1|DDR cpu: samples above its upper bound, the first "
                            "one|1|samples|2026-01-01 00:00:01.000"));
}

// What was counted is a number, be it none; of what was not measured nothing was counted.
TEST_F(DdrPageTest, TellsNoSampleAboveABoundFromNoSamples) {
    tree.Write(RunTree::NameOf(ddr_files::kQosSettings),
               Setting("cpu", "40") + Setting("sdma", "none"));
    const Shown shown(tree);
    EXPECT_STREQ(shown.Block(kPage, "Bounds of the masters")["rows"][0][5]["computed"].GetString(),
                 "samples whose share of 51 GB/s is above the bound, of 2 samples");
    EXPECT_THAT(shown.Rows(kPage, "Bounds of the masters"),
                ElementsAre("cpu|0|40|1|5|0", "sdma|0|[not-a-number]|1|5|[not-a-number]"));
    tree.Write(RunTree::NameOf(ddr_files::kBandwidth),
               DocumentLine("soc_ddr_bandwidth_usage_info_1", "20260101000000000", "[{}]"));
    EXPECT_THAT(Shown(tree).Rows(kPage, "Bounds of the masters"),
                Contains("cpu|0|40|1|5|[not-in-file]"));
    tree.Remove(RunTree::NameOf(ddr_files::kBandwidth));
    EXPECT_THAT(Shown(tree).Rows(kPage, "Bounds of the masters"),
                Contains("cpu|0|40|1|5|[file-missing]"));
}

// 3 of 51 GB/s are 5.88235294 %, which the file holds rounded up.
TEST_F(DdrPageTest, TakesNoMasterThatIsHeldAtItsBoundForOneAboveIt) {
    tree.Write(RunTree::NameOf(ddr_files::kBandwidth),
               Sample("20260101000000000", "5.882353", "28.000000") +
                   Sample("20260101000001000", "5.882354", "28.000000"));
    tree.Write(RunTree::NameOf(ddr_files::kQosSettings), Setting("cpu", "3"));
    const Shown shown(tree);
    EXPECT_THAT(shown.Marks(kPage, "Total and each master", kFrom),
                ElementsAre("over cpu above its bound of 3 GB/s @1000: 1"));
    EXPECT_THAT(shown.Rows(kPage, "Bounds of the masters"), ElementsAre("cpu|0|3|1|5|1"));
}

TEST_F(DdrPageTest, ShowsWhatTheAnalyzerFound) {
    const std::string document = DocumentLine(
        "soc_ddr_ana", "20260101000000000",
        R"([{"mpam_name":"cpu","meanBw":"20.000000","maxBw":"21.000000","minBw":"19.000000",)"
        R"("over":"2.500000","peak_interval":[],)"
        R"("peak":[{"Value":"21.000000","timeStamp":"20260101000001000"}],"trough":[]},)"
        R"({"mpam_name":"<img src=x>"}])");
    tree.Write(RunTree::NameOf(ddr_files::kAnalysis), document + document);
    const Shown shown(tree);
    EXPECT_THAT(shown.Rows(kPage, "Shares of the DDR's peak"),
                ElementsAre("cpu|20|21|19|1|[not-found]|2.5"));
    EXPECT_THAT(shown.Marks(kPage, "Total and each master", kFrom),
                ElementsAre("peak peak 21.000000 @1000: 1"));
    EXPECT_THAT(shown.Rows("summary", "What was found"),
                ElementsAre("run1|DDR cpu: greatest peak|21|%|2026-01-01 00:00:01.000",
                            "run1|DDR cpu: mean above its upper bound by|2.5|%|[not-in-file]"));
    EXPECT_THAT(shown.Text(), Not(testing::HasSubstr("<img")));
}

TEST_F(DdrPageTest, LeavesOutSamplesWithoutATime) {
    tree.Write(RunTree::NameOf(ddr_files::kBandwidth),
               Sample("", "1", "2") + Sample("20260101000001000", "none", "3") +
                   Sample("20260101000000000", "1", "2") + "{torn\n");
    const Shown shown(tree);
    EXPECT_THAT(shown.Lines(kPage, "Total and each master", kFrom), Contains("cpu: 1000=none"));
    EXPECT_STREQ(shown.Block(kPage, "Total and each master")["note"].GetString(),
                 "Left out: 1 samples whose time lies before that of the one before. Left out: 1 "
                 "rows without a time.");
    EXPECT_THAT(shown.Troubles(),
                ElementsAre("json/soc_ddr_bandwidth_usage_info_1_20230101120000000.data: line 4 is "
                            "no JSON"));
}

}  // namespace
}  // namespace zarn::report
