#include "optimizer/benchmark/stress_log_parser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/amounts.h"

namespace zarn {
namespace {

using testing::ElementsAre;
using testing::Pair;

constexpr const char* kHead = "one\ntwo\nthree\nfour\n";

std::string Result(const std::string& aic, const std::string& cpu, const std::string& imgp,
                   const std::string& isp) {
    return "aicStress : " + aic + " fps. cpuStress : " + cpu +
           " fps. imgpVencStress : 60.25 fps. imgpVpcStress : " + imgp +
           " fps. ispStress : " + isp + " fps.";
}

TEST(StressLogParserTest, ReadsTheFourRatesOfEachResult) {
    PerfMap perf;
    const std::string log = kHead + Result("100.5", "20.25", "300.0", "29.97") + "\n" +
                            Result("101.5", "21.25", "301.0", "30.0") + "\n";
    EXPECT_TRUE(ParseStressLog(log, perf));
    EXPECT_THAT(perf, ElementsAre(Pair("aic", ElementsAre(100.5, 101.5)),
                                  Pair("cpu", ElementsAre(20.25, 21.25)),
                                  Pair("imgp", ElementsAre(300.0, 301.0)),
                                  Pair("isp", ElementsAre(29.97, 30.0))));
}

TEST(StressLogParserTest, AppendsToWhatIsThere) {
    PerfMap perf = {{"cpu", {1.0}}};
    EXPECT_TRUE(ParseStressLog(kHead + Result("1.0", "2.0", "3.0", "4.0"), perf));
    EXPECT_THAT(perf["cpu"], ElementsAre(1.0, 2.0));
}

TEST(StressLogParserTest, ALogWithoutResultsSucceeds) {
    for (const char* log : {"", "\n", "one\ntwo\n", kHead, "\n\n\n\n"}) {
        PerfMap perf;
        EXPECT_TRUE(ParseStressLog(log, perf));
        EXPECT_TRUE(perf.empty());
    }
}

TEST(StressLogParserTest, LinesFiveToThirtyCount) {
    std::string log = kHead;
    for (int line = 5; line <= 30; ++line) {
        log += Result("1.0", std::to_string(line) + ".0", "3.0", "4.0") + "\n";
    }
    log += "what stands from line 31 on is not looked at\n";
    PerfMap perf;
    EXPECT_TRUE(ParseStressLog(log, perf));
    ASSERT_EQ(perf["cpu"].size(), 26U);
    EXPECT_EQ(perf["cpu"].front(), 5.0);
    EXPECT_EQ(perf["cpu"].back(), 30.0);
}

TEST(StressLogParserTest, TheHeadMayHoldAnything) {
    PerfMap perf;
    const std::string head = Result("9.0", "9.0", "9.0", "9.0") + "\n" + std::string(20000, 'x') +
                             "\n" + std::string(3, '\0') + "\n\n";
    EXPECT_TRUE(ParseStressLog(head + Result("1.0", "2.0", "3.0", "4.0"), perf));
    EXPECT_THAT(perf["aic"], ElementsAre(1.0));
}

TEST(StressLogParserTest, OnlyTheStartOfALineIsTested) {
    const std::string result = Result("1.0", "2.0", "3.0", "4.0");
    const std::string anyByte =
        "aicStress : 1.0 fps;+cpuStress : 2.0 fps. imgpVencStress : 5.0 "
        "fps. imgpVpcStress : 3.0 fps, ispStress : 4.0 fps!";
    for (const std::string& line :
         {result, result + " gpuStress : 7.0 fps.", result + "\r", result + std::string(1, '\0'),
          result + std::string(test::Amount(16U << 20U), 'x')}) {
        PerfMap perf;
        EXPECT_TRUE(ParseStressLog(kHead + line, perf)) << line.substr(0, 200);
        EXPECT_THAT(perf["isp"], ElementsAre(4.0));
    }
    PerfMap perf;
    EXPECT_FALSE(ParseStressLog(kHead + anyByte, perf)) << "one byte stands between two fields";
}

TEST(StressLogParserTest, RefusesALineThatIsNoResult) {
    const std::string result = Result("1.0", "2.0", "3.0", "4.0");
    const std::string lines[] = {
        "",
        " " + result,
        "xaicStress",
        result.substr(0, result.size() - 1),
        result.substr(0, result.size() - 5),
        Result("1", "2.0", "3.0", "4.0"),
        Result("1.", "2.0", "3.0", "4.0"),
        Result(".5", "2.0", "3.0", "4.0"),
        Result("-1.0", "2.0", "3.0", "4.0"),
        Result("nan", "2.0", "3.0", "4.0"),
        Result("1,0", "2.0", "3.0", "4.0"),
        Result("1.0", "2.0", "3.0", "4.0\n"),
        Result("1.0", "2.0", "3.0", std::string(400, '9') + ".0"),
        Result(std::string(5000, '0') + ".0", "2.0", "3.0", "4.0"),
        std::string(test::Amount(16U << 20U), 'a'),
        std::string("aicStress : 1.0\0 fps.", 21),
    };
    for (const std::string& line : lines) {
        PerfMap perf;
        EXPECT_FALSE(ParseStressLog(kHead + line + "\n", perf)) << line.substr(0, 200);
    }
}

TEST(StressLogParserTest, KeepsWhatStoodBeforeTheBadLine) {
    PerfMap perf;
    EXPECT_FALSE(ParseStressLog(
        kHead + Result("1.0", "2.0", "3.0", "4.0") + "\n\n" + Result("5.0", "6.0", "7.0", "8.0"),
        perf));
    EXPECT_THAT(perf["cpu"], ElementsAre(2.0));
}

TEST(StressLogParserTest, ATornLastLineIsRefusedUnlessWhole) {
    const std::string log = kHead + Result("1.0", "2.0", "3.0", "4.0");
    for (std::size_t cut = std::string(kHead).size() + 1; cut < log.size(); ++cut) {
        PerfMap perf;
        EXPECT_FALSE(ParseStressLog(log.substr(0, cut), perf)) << cut;
    }
}

}  // namespace
}  // namespace zarn
