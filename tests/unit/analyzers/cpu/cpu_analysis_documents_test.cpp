#include "analyzers/cpu/cpu_analysis_documents.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <limits>

namespace zarn {
namespace {

TEST(CpuAnalysisDocumentsTest, NumbersAreTextsOfSixDecimals) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double value :
         {0.0, 12.5, 1.0 / 3, 100.0, 1234567.0000005, 1e-7, DBL_MAX, infinity}) {
        CpuProcessStatistics process{"1", "a", value, value, value, 0};
        const JsonDocument document = Top10Document({process}, "time");
        EXPECT_EQ(document["content"]["top10ProcInfo"]["Top_1"]["meanUsage"].GetString(),
                  std::to_string(value));
    }
}

TEST(CpuAnalysisDocumentsTest, TheTopHasTenProcessesOrAsManyAsThereAre) {
    for (const std::size_t count : {0U, 1U, 9U, 10U, 11U}) {
        const std::vector<CpuProcessStatistics> ranked(count, {"1", "a", 1.0, 1.0, 1.0, 0});
        const JsonDocument document = Top10Document(ranked, "time");
        const JsonValue& top = document["content"]["top10ProcInfo"];
        EXPECT_EQ(top.MemberCount(), std::min<std::size_t>(count, 10));
        EXPECT_EQ(top.HasMember("Top_10"), count >= 10);
    }
}

TEST(CpuAnalysisDocumentsTest, ADocumentHasNoWordForInfinity) {
    CpuGlobalFindings findings;
    findings.head.loads = {{"avgLoad15min", std::numeric_limits<double>::infinity()},
                           {"avgLoad1min", 1.5}};
    rapidjson::StringBuffer text;
    WriteJson(GlobalDocument(findings, "time")["content"]["loadAverage"], text);
    EXPECT_STREQ(text.GetString(), "[1.7976931348623157e308,1.5]");
}

}  // namespace
}  // namespace zarn
