#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "analyzers/ddr/ddr_master_info.h"
#include "tests/support/amounts.h"
#include "tests/unit/analyzers/ddr/ddr_analyzer_fixture.h"

namespace zarn::test {
namespace {

using testing::EndsWith;

constexpr const char* kLoadFailed =
    "[DdrAnalyzer] Failed to load ddr collection info! \n"
    "[DdrAnalyzer] Failed to process ddr info!\n";

constexpr const char* kBadQos = "[DdrAnalyzer] Exception occurs while parsing qos json file.\n";
constexpr const char* kQosLacksContent =
    "[DdrAnalyzer] Warning! Qos config file lacks of required field [content].\n";
constexpr const char* kQosWrongContent =
    "[DdrAnalyzer] Warning! Wrong type of [content] in Qos config file.\n";
constexpr const char* kQosLacks =
    "[DdrAnalyzer] Warning! Qos config file lacks of required field [mpam_name], [bw_low] or "
    "[bw_high] .\n";
constexpr const char* kQosWrongType =
    "[DdrAnalyzer] Warning! Wrong type of [mpam_name], [bw_low] or [bw_high].\n";
constexpr const char* kBadDdr = "[DdrAnalyzer] Exception occurs while parsing ddr json file.\n";
constexpr const char* kDdrLacksContent =
    "[DdrAnalyzer] Warning! Ddr collect file lacks of required field [content].\n";

// `text` with the first `from` replaced.
std::string With(std::string text, const std::string& from, const std::string& to) {
    return text.replace(text.find(from), from.size(), to);
}

class HostileDdrFiles : public DdrAnalyzerTest {
protected:
    // Each text in the file `name` ends the load with its words, and nothing is written.
    void ExpectWords(const std::string& name, const std::vector<FaultyText>& rows) {
        for (const FaultyText& row : rows) {
            ddrInfoMap.clear();
            tree.Write(name, row.text);
            const Captured captured = Run();
            EXPECT_FALSE(result) << row.text.substr(0, 100);
            EXPECT_EQ(captured.err, row.words + kLoadFailed) << row.text.substr(0, 100);
        }
        EXPECT_FALSE(tree.Has(kAnalysisName) || tree.Has(kTableName));
    }
};

TEST_F(HostileDdrFiles, QosFaultsEndTheLoad) {
    const std::string good = QosLine("cpu", "1", "2");
    ExpectWords(kQosName,
                {{"\n", kBadQos},
                 {good + "\n" + good, kBadQos},
                 {good.substr(0, 60), kBadQos},
                 {std::string(100, '\0'), kBadQos},
                 {"\x7f"
                  "ELF\x02\x01\xff\xfe",
                  kBadQos},
                 {std::string(test::Amount(16U << 20U), 'q'), kBadQos},
                 {std::string(test::Amount(1000000), '['), kBadQos},
                 {NestedArrays(test::Amount(1000000)), kQosLacksContent},
                 {"[]", kQosLacksContent},
                 {"{}", kQosLacksContent},
                 {R"({"content":"x"})", kQosWrongContent},
                 {R"({"content":)" + NestedArrays(test::Amount(1000000)) + "}", kQosLacks},
                 {R"({"content":[5]})", kQosLacks},
                 {With(good, "bw_low", "bwlow"), kQosLacks},
                 {With(good, "\"bw_low\":\"1\"", "\"bw_low\":1"), kQosWrongType},
                 {With(good, "\"cpu\"", "null"), kQosWrongType},
                 {QosLine("cpu", "low", "2"),
                  "[Utils] Invalid argument\n[DdrAnalyzer] Failed to read bw_low value!\n"},
                 {QosLine("cpu", "1", "99999999999999999999"),
                  "[Utils] Out of range\n[DdrAnalyzer] Failed to read bw_high value!\n"}});
}

TEST_F(HostileDdrFiles, BandwidthFaultsEndTheLoad) {
    const std::string good = BandwidthLine("20230101120000001", "1.000000");
    ExpectWords(kBandwidthName,
                {{good + "\n", kBadDdr},
                 {good.substr(0, good.size() - 3), kBadDdr},
                 {std::string(test::Amount(16U << 20U), '{'), kBadDdr},
                 {"null", kDdrLacksContent},
                 {With(good, "content", "contents"), kDdrLacksContent},
                 {With(good, "happenTime", "happentime"), kDdrLacksContent},
                 {With(good, "\"20230101120000001\"", "20230101120000001"), kQosWrongContent},
                 {R"({"happenTime":"1","content":{}})", kQosWrongContent},
                 {R"({"happenTime":"1","content":[[]]})",
                  "[DdrAnalyzer] Warning! Ddr collect file lacks of required field [total].\n"},
                 {R"({"happenTime":"1","content":)" + NestedArrays(test::Amount(1000000)) + "}",
                  "[DdrAnalyzer] Warning! Ddr collect file lacks of required field [total].\n"},
                 {With(good, "sdma", "SDMA"),
                  "[DdrAnalyzer] Warning! Ddr collect file lacks of required field [sdma].\n"},
                 {With(good, "\"cpu\":\"1.000000\"", "\"cpu\":1.0"),
                  "[DdrAnalyzer] Warning! Wrong type of [cpu].\n"},
                 {BandwidthLine("1", "1.0", "isp_vipe", "idle"),
                  "[Utils] Invalid argument\n[DdrAnalyzer] Failed to read the ddr info!\n"},
                 {BandwidthLine("1", "1.0", "isp_vipe", "1e999"),
                  "[Utils] Out of range\n[DdrAnalyzer] Failed to read the ddr info!\n"}});
}

TEST_F(HostileDdrFiles, NumbersFollowTheConversionsRules) {
    tree.Write(kQosName, QosLine("cpu", " 12x", "4294967297") + QosLine("sdma", "-1", "0x10") +
                             QosLine("stranger", "1", "1"));
    tree.Write(kBandwidthName, BandwidthLine("20230101120000001", " 0x10", "cpu", "1e2 and more") +
                                   BandwidthLine("20230101120001001", "nan"));
    Run();
    EXPECT_TRUE(result);
    EXPECT_EQ(ddrInfoMap["cpu"].bwLow, 12U);
    EXPECT_EQ(ddrInfoMap["cpu"].bwHigh, 1U);  // 2^32 + 1 in 32 bits
    EXPECT_EQ(ddrInfoMap["sdma"].bwLow, 4294967295U);
    EXPECT_EQ(ddrInfoMap["sdma"].bwHigh, 0U);
    EXPECT_EQ(ddrInfoMap["stranger"].bwLow, 1U);
    EXPECT_EQ(ddrInfoMap["cpu"].values.front(), 100.0);
    EXPECT_EQ(ddrInfoMap["sdma"].values.front(), 16.0);
    EXPECT_THAT(tree.Read(kTableName), EndsWith("nan,nan,nan,nan,nan,nan,nan,nan,nan,nan,nan,\n"));
}

TEST_F(HostileDdrFiles, SamplesBeforeAFaultStayInTheProcess) {
    tree.Write(kBandwidthName, BandwidthLine("20230101120000001", "1.0") + "{");
    Run();
    EXPECT_EQ(ddrInfoMap["total"].values.size(), 1U);
}

TEST_F(HostileDdrFiles, FilesThatCannotBeOpenedEndTheLoad) {
    tree.Remove(kQosName);
    Captured captured = Run();
    EXPECT_EQ(captured.err, "[DdrAnalyzer] Failed to open the Qos config file - '" +
                                tree.PathOf(kQosName) + "'\n" + kLoadFailed);
    tree.MakeFolder(kQosName);
    captured = Run();
    EXPECT_EQ(captured.err, "[DdrAnalyzer] Failed to open the Qos config file - '" +
                                tree.PathOf(kQosName) + "'\n" + kLoadFailed);
    EXPECT_EQ(captured.out, "[DdrAnalyzer] DdrAnalyzer Start.\n");
}

// The distance of two peaks needs the minutes of their moments.
TEST_F(HostileDdrFiles, AMomentThatIsTooShortEndsTheAnalysis) {
    std::string lines;
    for (const char* share : {"1.0", "90.0", "1.0", "90.0", "1.0"}) {
        lines += BandwidthLine("short", "0.0", "sdma", share);
    }
    tree.Write(kBandwidthName, lines);
    const Captured captured = Run();
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.out, LoadLines());
    EXPECT_EQ(captured.err,
              "[DdrAnalyzer] Error occurs when analyzing ddr info: basic_string::substr: __pos "
              "(which is 10) > this->size() (which is 5)\n"
              "[DdrAnalyzer] Failed to analyzer ddr info! \n"
              "[DdrAnalyzer] Failed to process ddr info!\n");
    EXPECT_FALSE(tree.Has(kAnalysisName) || tree.Has(kTableName));
}

TEST_F(HostileDdrFiles, AnAnalysisThatCannotBeWrittenIsTold) {
    tree.MakeFull(kAnalysisName);
    const Captured captured = Run();
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err, "[DdrAnalyzer] Error occurs when saving ddr ana info:cannot write " +
                                tree.PathOf(kAnalysisName) +
                                "\n[DdrAnalyzer] Failed to save the ddr analysis file!\n"
                                "[DdrAnalyzer] Failed to save ddr info!\n");
    EXPECT_FALSE(tree.Has(kTableName));
}

TEST_F(HostileDdrFiles, ATableThatCannotBeWrittenIsTold) {
    tree.MakeFull(kTableName);
    Captured captured = Run();
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err, "[DdrAnalyzer] Error occurs when saving ddr using info: cannot write " +
                                tree.PathOf(kTableName) +
                                "\n[DdrAnalyzer] Failed to save the ddr using info!\n"
                                "[DdrAnalyzer] Failed to save ddr info!\n");
    ddrInfoMap.clear();
    tree.Remove("raw_data");
    captured = Run();
    EXPECT_EQ(captured.err,
              "[DdrAnalyzer] Can't get real path\n"
              "[DdrAnalyzer] Failed to save the ddr using info!\n"
              "[DdrAnalyzer] Failed to save ddr info!\n");
    EXPECT_TRUE(tree.Has(kAnalysisName));
}

TEST_F(HostileDdrFiles, EntriesOfUnequalLengthAreToldWhenTheTableIsMade) {
    ddrInfoMap["total"].values = {1.0};
    ddrInfoMap["total"].timeStamps = {"20230101120000000"};
    const Captured captured = Run();
    EXPECT_FALSE(result);
    EXPECT_THAT(captured.err,
                testing::StartsWith("[DdrAnalyzer] Error occurs when saving ddr using info: "));
}

}  // namespace
}  // namespace zarn::test
