#include "analyzers/cpu/cpu_analysis_documents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <limits>

#include "foundation/json.h"

namespace zarn {
namespace {

JsonDocument Parsed(const EventWriter& events) {
    JsonDocument document;
    EXPECT_TRUE(ParseJson(events.Lines(), document));
    return document;
}

TEST(CpuAnalysisDocumentsTest, NumbersAreTextsOfSixDecimals) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double value :
         {0.0, 12.5, 1.0 / 3, 100.0, 1234567.0000005, 1e-7, DBL_MAX, infinity}) {
        CpuProcessStatistics process{"1", "a", value, value, value, 0};
        EventWriter events;
        WriteTop10Document({process}, "time", events);
        const JsonDocument document = Parsed(events);
        EXPECT_EQ(document["content"]["top10ProcInfo"]["Top_1"]["meanUsage"].GetString(),
                  std::to_string(value));
    }
}

TEST(CpuAnalysisDocumentsTest, TheTopHasTenProcessesOrAsManyAsThereAre) {
    for (const std::size_t count : {0U, 1U, 9U, 10U, 11U}) {
        const std::vector<CpuProcessStatistics> ranked(count, {"1", "a", 1.0, 1.0, 1.0, 0});
        EventWriter events;
        WriteTop10Document(ranked, "time", events);
        const JsonDocument document = Parsed(events);
        const JsonValue& top = document["content"]["top10ProcInfo"];
        EXPECT_EQ(top.MemberCount(), std::min<std::size_t>(count, 10));
        EXPECT_EQ(top.HasMember("Top_10"), count >= 10);
    }
}

TEST(CpuAnalysisDocumentsTest, ADocumentHasNoWordForInfinity) {
    CpuGlobalFindings findings;
    findings.head.loads = {{"avgLoad15min", std::numeric_limits<double>::infinity()},
                           {"avgLoad1min", 1.5}};
    EventWriter events;
    WriteGlobalDocument(findings, "time", events);
    EXPECT_THAT(std::string(events.Lines()),
                testing::HasSubstr("\"loadAverage\":[1.7976931348623157e308,1.5],"));
}

}  // namespace
}  // namespace zarn
