#include "comparators/ddr/ddr_version_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/files.h"
#include "tests/support/amounts.h"
#include "tests/support/captured_streams.h"
#include "tests/support/ddr_lines.h"

namespace zarn {
namespace {

using test::BandwidthLine;
using test::FaultyText;
using test::NestedArrays;
using test::QosLine;
using testing::ElementsAre;

// One line of an analysis with these figures of cpu, as written.
std::string AnalysisLine(const std::string& mean, const std::string& max, const std::string& min,
                         const std::string& over) {
    return R"({"objectId":"soc_ddr_ana","eventId":"222210070","happenTime":"1","content":[)"
           R"({"mpam_name":"cpu","meanBw":)" +
           mean + R"(,"maxBw":)" + max + R"(,"minBw":)" + min + R"(,"over":)" + over + "}]}\n";
}

// Reads `text` by one of the readers.
template <typename Record>
bool Read(bool (*reader)(const NextLine&, Record&), const std::string& text, Record& record) {
    LineCursor cursor(text);
    return reader(LinesOf(cursor), record);
}

template <typename Reader>
void ExpectWords(Reader reader, const std::vector<FaultyText>& rows) {
    for (const FaultyText& row : rows) {
        bool good = true;
        const test::Captured captured = test::Capture([&] { good = reader(row.text); });
        EXPECT_FALSE(good) << row.text.substr(0, 100);
        EXPECT_EQ(captured.err, row.words) << row.text.substr(0, 100);
    }
}

TEST(DdrVersionReader, ReadsTheBoundsOfEachMaster) {
    DdrVersionInfo info;
    EXPECT_TRUE(Read(
        ReadVersionLimits,
        QosLine("cpu", "1", "40") + QosLine("sdma", "2", "51") + QosLine("cpu", "3", "4294967297"),
        info));
    EXPECT_EQ(info.bwLimits["cpu"].bwLow, 3U);
    EXPECT_EQ(info.bwLimits["cpu"].bwHigh, 1U);
    EXPECT_EQ(info.bwLimits["sdma"].bwHigh, 51U);
    EXPECT_EQ(info.bwLimits.size(), 2U);
}

TEST(DdrVersionReader, TellsTheFaultsOfQosFiles) {
    const std::string bad = "[DdrComparator] Exception occurs while parsing qos json file.\n";
    const std::string lacks =
        "[DdrComparator] Warning! Qos config file lacks of required field [mpam_name], [bw_low] or "
        "[bw_high] .\n";
    const std::string wrong =
        "[DdrComparator] Warning! Wrong type of [mpam_name], [bw_low] or [bw_high].\n";
    DdrVersionInfo info;
    ExpectWords([&info](const std::string& text) { return Read(ReadVersionLimits, text, info); },
                {{"x", bad},
                 {QosLine("cpu", "1", "2") + "\n", bad},
                 {std::string(test::Amount(16U << 20U), '['), bad},
                 {NestedArrays(test::Amount(1000000)),
                  "[DdrComparator] Warning! Qos config file lacks of required field [content].\n"},
                 {R"({"content":1})",
                  "[DdrComparator] Warning! Wrong type of [content] in Qos config file.\n"},
                 {R"({"content":[{"mpam_name":"cpu","bw_low":"1"}]})", lacks},
                 {R"({"content":["cpu"]})", lacks},
                 {R"({"content":[{"mpam_name":"cpu","bw_low":"1","bw_high":2}]})", wrong},
                 {QosLine("cpu", "", "2"),
                  "[Utils] Invalid argument\n"
                  "[DdrComparator] Warning! Failed to read bw_low value!\n"},
                 {QosLine("cpu", "1", "x"),
                  "[Utils] Invalid argument\n"
                  "[DdrComparator] Warning! Failed to read bw_high value!\n"}});
}

TEST(DdrVersionReader, ALaterAnalysisReplacesAnEarlierOne) {
    DdrVersionInfo info;
    EXPECT_TRUE(Read(ReadVersionAnalysis,
                     AnalysisLine("\"1.5\"", "\"2\"", "\"1\"", "\"0\"") +
                         AnalysisLine("\"3.5\"", "\"4\"", "\"3\"", "\"9.5\""),
                     info));
    const DdrBwUsage& usage = info.bwUsage["cpu"];
    EXPECT_EQ(usage.mean, 3.5);
    EXPECT_EQ(usage.max, 4.0);
    EXPECT_EQ(usage.min, 3.0);
    EXPECT_EQ(usage.over, 9.5);
}

TEST(DdrVersionReader, TellsTheFaultsOfAnalysisFiles) {
    const std::string invalid = "[Utils] Invalid argument\n";
    const std::string head = "[DdrComparator] Warning! Failed to read ";
    const std::string wrong =
        "[DdrComparator] Warning! Wrong type of  [mpam_name], [meanBw], [maxBw], [minBw] or [over] "
        " in DDR analyze file. \n";
    DdrVersionInfo info;
    ExpectWords(
        [&info](const std::string& text) { return Read(ReadVersionAnalysis, text, info); },
        {{"{", "[DdrComparator] Exception occurs while parsing ddr_ana_info file.\n"},
         {"[]", "[DdrComparator] Warning! DDR analyze file lacks of required field [content].\n"},
         {R"({"content":null})",
          "[DdrComparator] Warning! Wrong type of [content] in DDR analyze file.\n"},
         {R"({"content":[{"mpam_name":"cpu"}]})",
          "[DdrComparator] Warning! DDR analyze file lacks of required field [mpam_name], "
          "[meanBw], "
          "[maxBw], [minBw] or [over].\n"},
         {AnalysisLine("\"1\"", "2", "\"1\"", "\"1\""), wrong},
         {AnalysisLine("\"x\"", "\"1\"", "\"1\"", "\"1\""), invalid + head + "meanBw value!\n"},
         {AnalysisLine("\"1\"", "\"x\"", "\"1\"", "\"1\""), invalid + head + "maxBw value!\n"},
         {AnalysisLine("\"1\"", "\"1\"", "\"x\"", "\"1\""), invalid + head + "minBw value!\n"},
         {AnalysisLine("\"1\"", "\"1\"", "\"1\"", "\"x\""), invalid + head + "over value!\n"}});
}

TEST(DdrVersionReader, ReadsTheSharesOfEveryName) {
    std::vector<std::vector<double>> values;
    EXPECT_TRUE(Read(
        ReadVersionShares,
        BandwidthLine("1", "1.25", "total", "7.5") + BandwidthLine("2", "2.25", "isp_vipe", "9"),
        values));
    ASSERT_EQ(values.size(), 11U);
    EXPECT_THAT(values.front(), ElementsAre(7.5, 2.25));
    EXPECT_THAT(values[1], ElementsAre(1.25, 2.25));
    EXPECT_THAT(values.back(), ElementsAre(1.25, 9.0));
}

TEST(DdrVersionReader, TellsTheFaultsOfShareFiles) {
    const std::string lacksTotal =
        "[DdrComparator] Warning! DDR collection file lacks of required field [total].\n";
    std::vector<std::vector<double>> values;
    ExpectWords(
        [&values](const std::string& text) { return Read(ReadVersionShares, text, values); },
        {{"\n", "[DdrComparator] Exception occurs while parsing ddr collect file.\n"},
         {"{}",
          "[DdrComparator] Warning! DDR collection file lacks of required field [content].\n"},
         {R"({"content":{}})",
          "[DdrComparator] Warning! Wrong type of [content] in DDR collection file.\n"},
         {R"({"content":[{}]})", lacksTotal},
         {R"({"content":)" + NestedArrays(test::Amount(1000000)) + "}", lacksTotal},
         {R"({"content":[{"total":"1","cpu":2}]})",
          "[DdrComparator] Warning! Wrong type of [cpu] in DDR collection file..\n"},
         {BandwidthLine("1", "1", "sdma", "?"),
          "[Utils] Invalid argument\n[DdrComparator] Failed to read the ddr info of sdma\n"}});
}

TEST(DdrUsage, TheExcessIsComputedInSinglePrecisionThroughout) {
    const DdrBwUsage usage = ComputeUsage({30.3, 44.3}, 7);
    EXPECT_EQ(usage.max, 44.3);
    EXPECT_EQ(usage.min, 30.3);
    EXPECT_EQ(usage.mean, (30.3 + 44.3) / 2);
    const float mean = static_cast<float>(usage.mean * 51.0 / 100.0);
    EXPECT_EQ(usage.over, static_cast<double>((mean - 7.0F) / 7.0F * 100.0F));
    EXPECT_NE(usage.over, static_cast<double>((mean - 7.0F) / 7.0F) * 100.0);
}

TEST(DdrUsage, WithoutABoundOrBelowItThereIsNoExcess) {
    EXPECT_EQ(ComputeUsage({50.0}, 0).over, 0.0);
    EXPECT_EQ(ComputeUsage({50.0}, 26).over, 0.0);
    EXPECT_GT(ComputeUsage({50.0}, 25).over, 0.0);
    EXPECT_EQ(ComputeUsage({}, 5).min, 0.0);
}

}  // namespace
}  // namespace zarn
