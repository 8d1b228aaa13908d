#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "collectors/system/ddr/ddr_bandwidth_parser.h"
#include "collectors/system/ddr/ddr_documents.h"
#include "tests/support/amounts.h"

namespace zarn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The rows as "id=value".
std::vector<std::string> Rows(std::string_view text, std::size_t masters = 2) {
    std::vector<std::string> rows;
    for (const BandwidthRow& row : ParseBandwidthLog(text, masters)) {
        rows.push_back(row.id + "=" + row.value);
    }
    return rows;
}

TEST(BandwidthParser, ATotalFollowsTheRowsOfASample) {
    EXPECT_THAT(Rows("20230101120000123\n"
                     "| mpamid | bw | a | b | c |\n"
                     "| 0 | 100 | 1 | 2 | 3 |\n"
                     "| 10 | 23 | 1 | 2 | 3 |\n"
                     "20230101120001123\n"
                     "| mpamid | bw | a | b | c |\n"
                     "| 0 | 7 | 1 | 2 | 3 |\n"
                     "| 10 | 8 | 1 | 2 | 3 |\n"),
                ElementsAre("0=100", "10=23", "total=123", "0=7", "10=8", "total=15"));
}

TEST(BandwidthParser, ATornSampleHasNoTotal) {
    EXPECT_THAT(Rows("0|1|a|b|c\n1|2|a|b|c\n0|3|a|b|c"),
                ElementsAre("0=1", "1=2", "total=3", "0=3"));
}

struct Line {
    const char* name;
    std::string text;
    std::vector<std::string> rows;
};

TEST(BandwidthParser, EveryKindOfLineIsReadOrSkipped) {
    const Line lines[] = {
        {"nothing", "", {}},
        {"empty lines", "\n\n\n", {}},
        {"four columns", "0|1|2|3\n", {}},
        {"six columns", "0|1|2|3|4|5\n", {}},
        {"empty columns do not count", "||0||1||2||3||4||\n", {"0=1"}},
        {"a blank column counts", "| |0|1|2|3|4\n", {}},
        {"a carriage return is a sixth column", "|0|1|2|3|4|\r\n", {}},
        {"a carriage return in the fifth", "0|1|2|3|4\r\n", {"0=1"}},
        {"blanks around the first two", "  7  |  12  |2|3|4\n", {"7=12"}},
        {"a tab stays with the id", "\t7|\t12|2|3|4\n", {"\t7=\t12"}},
        {"a head", "mpamid|bw|x|y|z\n", {}},
        {"the head's word in capitals needs a number", "MPAMID|5|x|y|z\n", {"MPAMID=5"}},
        {"what follows the digits stays", "0|12.5|x|y|z\n", {"0=12.5"}},
        {"a negative bandwidth", "0|-3|x|y|z\n", {"0=-3"}},
        {"no newline at the end", "0|1|x|y|z", {"0=1"}},
        {"an unknown id", "4|1|x|y|z", {"4=1"}},
        {"a NUL in an unused column", std::string("0|1|\0|y|z", 9), {"0=1"}},
        {"the largest integer", "0|2147483647|x|y|z", {"0=2147483647"}},
    };
    for (const Line& line : lines) {
        EXPECT_EQ(Rows(line.text), line.rows) << line.name;
    }
}

TEST(BandwidthParser, TheSumIsWiderThanARow) {
    EXPECT_THAT(Rows("0|2147483647|x|y|z\n1|2147483647|x|y|z\n").back(), "total=4294967294");
}

TEST(BandwidthParser, ABandwidthThatIsNoIntegerThrows) {
    EXPECT_THROW((void)Rows("0|idle|x|y|z\n"), std::invalid_argument);
    EXPECT_THROW((void)Rows("0| |x|y|z\n"), std::invalid_argument);
    EXPECT_THROW((void)Rows("0|2147483648|x|y|z\n"), std::out_of_range);
}

TEST(BandwidthParser, HugeLinesAreSkippedOrRead) {
    const std::string longText(test::Amount(16U << 20U), 'a');
    std::string columns;
    for (int i = 0; i < 1 << 22; ++i) {
        columns += "a|";
    }
    EXPECT_THAT(Rows(longText), IsEmpty());
    EXPECT_THAT(Rows(columns), IsEmpty());
    EXPECT_THAT(Rows("0|5|x|y|" + longText + "\n" + longText + "\n"), ElementsAre("0=5"));
    EXPECT_THAT(Rows(std::string(1U << 20U, '\0')), IsEmpty());
}

TEST(DdrShareTest, SharesArePercentOfThePeakAndEndAt100) {
    EXPECT_EQ(DdrShare("0"), 0.0);
    EXPECT_EQ(DdrShare("26112"), 50.0);
    EXPECT_EQ(DdrShare("52224"), 100.0);
    EXPECT_EQ(DdrShare("60000"), 100.0);
    EXPECT_GT(DdrShare("52224.0003"), 100.0);  // within the tolerance
    EXPECT_EQ(DdrShare("52224.0006"), 100.0);
    EXPECT_LT(DdrShare("-5"), 0.0);
    EXPECT_THROW((void)DdrShare("1e999"), std::out_of_range);
    EXPECT_THROW((void)DdrShare(""), std::invalid_argument);
}

TEST(DdrDocuments, ASampleHasItsRowsInTheOrderOfTheLog) {
    EventWriter events;
    WriteBandwidthDocument({{"skipped", "x"}, {"10", "26112"}, {"0", "60000"}, {"total", "522"}}, 1,
                           3, "20230101120000123", events);
    EXPECT_EQ(events.Lines(),
              R"({"objectId":"soc_ddr_bandwidth_usage_info","eventId":"962200001",)"
              R"("happenTime":"20230101120000123","content":[{"isp_vipe":"50.000000",)"
              R"("cpu":"100.000000","total":"0.999540"}]})"
              "\n");
}

TEST(DdrDocuments, AnIdOutsideTheMapThrows) {
    EventWriter events;
    EXPECT_THROW(WriteBandwidthDocument({{"4", "1"}}, 0, 1, "t", events), std::out_of_range);
}

TEST(DdrDocuments, QosSettingsAreDecimalTexts) {
    EventWriter events;
    WriteQosDocument({"cpu", 0, 1, 51, 1, kNoMaster, 5}, "20230101120000123", events);
    EXPECT_EQ(events.Lines(),
              R"({"objectId":"soc_qos_mata_config_info","eventId":"962200001",)"
              R"("happenTime":"20230101120000123","content":[{"mpam_name":"cpu","mpamid":"0",)"
              R"("bw_low":"1","bw_high":"51","hardlimit":"1","master":"4294967295",)"
              R"("priority":"5"}]})"
              "\n");
}

}  // namespace
}  // namespace zarn
