#include "analyzers/mem/mem_analyzer.h"

#include <gmock/gmock.h>

#include "tests/unit/analyzers/mem/mem_analyzer_fixture.h"

namespace zarn::test {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

// The head of the result called `object`, up to its elements.
std::string Head(const std::string& object) {
    return R"({"objectId":")" + object +
           R"(","happenTime":"20230101120000000","eventId":"962201576","content":[)";
}

std::string Frame(std::size_t index, const std::string& value) {
    return R"({"timeStamp":")" + MemMoment(index) + R"(","memValue":")" + value + R"("})";
}

constexpr const char* kTooHigh =
    "[MemAnalyzer]: the peak trought threshold is too high, select a new one!\n";

TEST_F(MemAnalyzerTest, WritesTheExtremesOfTheSystemAndOfEachProcess) {
    tree.Write(kSystemName, MemSystemLines("used", {"100", "150", "90", "60", "100"}));
    std::string lines;
    const std::string app[] = {"100K", "100K", "200K", "100K"};
    for (std::size_t i = 0; i < 4; ++i) {
        lines += MemProcessLine(MemMoment(i), {{"9", "app", {{"PSS", app[i]}}},
                                               {"10", "flat", {{"PSS", "5K"}}},
                                               {"10", "app", {{"PSS", i == 1 ? "1K" : "7K"}}}});
    }
    tree.Write(kProcessName, lines);
    const Captured captured = Run();
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out + captured.err, "");
    EXPECT_EQ(tree.Read(kSystemResult),
              Head("soc_gea_memory_ana") +
                  R"({"maxMemValue":"150","minMemValue":"60","meanMemValue":"100.000000",)"
                  R"("peak":[)" +
                  Frame(1, "150") + R"(],"trought":[)" + Frame(3, "60") + "]}]}\n");
    EXPECT_EQ(tree.Read(kProcessResult),
              Head("soc_gea_process_ana") +
                  R"({"PID":"10","command":"app","maxMemValue":"7","minMemValue":"1",)"
                  R"("meanMemValue":"5.500000","peak":[)" +
                  Frame(0, "7") + R"(],"trought":[)" + Frame(1, "1") +
                  R"(]},{"PID":"10","command":"flat","maxMemValue":"5","minMemValue":"5",)"
                  R"("meanMemValue":"5.000000","peak":[],"trought":[]},)"
                  R"({"PID":"9","command":"app","maxMemValue":"200","minMemValue":"100",)"
                  R"("meanMemValue":"125.000000","peak":[)" +
                  Frame(2, "200") + R"(],"trought":[)" + Frame(3, "100") + "]}]}\n");
    EXPECT_THAT(tree.Read("env_info/time_cost.log"),
                MatchesRegex("\\[MemAnalyzer\\] cost time: [0-9.]+s\n"));
}

TEST_F(MemAnalyzerTest, ASingleSampleIsPeakAndTrough) {
    const Captured captured = Run();
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    const std::string system = R"({"timeStamp":"20230101120000001","memValue":"500"})";
    EXPECT_EQ(tree.Read(kSystemResult),
              Head("soc_gea_memory_ana") +
                  R"({"maxMemValue":"500","minMemValue":"500","meanMemValue":"500.000000",)"
                  R"("peak":[)" +
                  system + R"(],"trought":[)" + system + "]}]}\n");
    EXPECT_THAT(tree.Read(kProcessResult),
                HasSubstr(R"("peak":[{"timeStamp":"20230101120000002","memValue":"40"}],)"
                          R"("trought":[{"timeStamp":"20230101120000002","memValue":"40"}])"));
}

TEST_F(MemAnalyzerTest, AThresholdThatLetsNothingPassGivesNoProcessFile) {
    tree.Write(kSystemName, MemSystemLines("used", {"100", "150", "60", "100"}));
    tree.Write(kProcessName, MemProcessLines({"9", "app", {}}, "PSS", {"100K", "150K", "60K"}));
    const Captured captured = Run(R"("system_mem","process_mem")", "5");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, kTooHigh);
    EXPECT_THAT(tree.Read(kSystemResult), HasSubstr(R"("peak":[],"trought":[]}]})"));
    EXPECT_FALSE(tree.Has(kProcessResult));
    EXPECT_TRUE(tree.Has("env_info/time_cost.log"));
}

// Peaks of one process and troughs of another do not make a result.
TEST_F(MemAnalyzerTest, OneProcessMustHaveBoth) {
    std::string lines;
    const std::string peak[] = {"100K", "100K", "120K", "100K", "100K"};
    const std::string trough[] = {"100K", "100K", "80K", "100K", "100K"};
    for (std::size_t i = 0; i < 5; ++i) {
        lines += MemProcessLine(MemMoment(i),
                                {{"1", "a", {{"PSS", peak[i]}}}, {"2", "b", {{"PSS", trough[i]}}}});
    }
    tree.Write(kProcessName, lines);
    EXPECT_EQ(Run(kProcessOnly).err, kTooHigh);
    EXPECT_FALSE(tree.Has(kProcessResult));
}

TEST_F(MemAnalyzerTest, OnlyTheNamedProcessesAreAnalysed) {
    tree.Write(kProcessName,
               MemProcessLine("20230101120000002", {{"7", "app", {}}, {"8", "sh", {}}}));
    EXPECT_EQ(Run(kProcessOnly, "0.1", R"("sh","gone")").err, "");
    EXPECT_THAT(tree.Read(kProcessResult), HasSubstr(R"("content":[{"PID":"8","command":"sh",)"));
    EXPECT_THAT(tree.Read(kProcessResult), testing::Not(HasSubstr("\"app\"")));
    EXPECT_EQ(Run(kProcessOnly, "0.1", R"("gone")").err, kTooHigh);
    EXPECT_TRUE(result);
}

// The order is that of numbers, not of texts; the first file names the result.
TEST_F(MemAnalyzerTest, SeveralFilesAreReadInTheOrderOfTheirDigits) {
    tree.Remove(kSystemName);
    tree.Write("json/soc_gea_memory_info_1_900.data", MemSystemLine("b", {{"used", "2"}}));
    tree.Write("json/soc_gea_memory_info_1_1000.data",
               MemSystemLine("c", {{"used", "9"}}) + MemSystemLine("d", {{"used", "5"}}));
    tree.Write("json/soc_gea_memory_info_1_0090.data", MemSystemLine("a", {{"used", "4"}}));
    EXPECT_EQ(Run(kSystemOnly).err, "");
    EXPECT_EQ(tree.Read("json/soc_gea_memory_ana_1_0090.data"),
              R"({"objectId":"soc_gea_memory_ana","happenTime":"0090","eventId":"962201576",)"
              R"("content":[{"maxMemValue":"9","minMemValue":"2","meanMemValue":"5.000000",)"
              R"("peak":[{"timeStamp":"c","memValue":"9"}],)"
              R"("trought":[{"timeStamp":"b","memValue":"2"}]}]})"
              "\n");
}

TEST_F(MemAnalyzerTest, ARepeatedAnalysisAddsALine) {
    Run();
    const std::string line = tree.Read(kProcessResult);
    Run();
    EXPECT_EQ(tree.Read(kProcessResult), line + line);
}

TEST_F(MemAnalyzerTest, OtherFieldsAreReadAlike) {
    tree.Write(kSystemName, MemSystemLine("20230101120000001", {{"kermod", "77"}}));
    tree.Write(kProcessName,
               MemProcessLine("20230101120000002", {{"7", "app", {{"FDSize", "64"}}}}));
    RunSection(R"({"job":["process_mem","system_mem"],"peak_trought_threshold":1,)"
               R"("system_field":"kermod","process_field":"FDSize","process":[]})");
    EXPECT_TRUE(result);
    EXPECT_THAT(tree.Read(kSystemResult), HasSubstr(R"("maxMemValue":"77")"));
    EXPECT_THAT(tree.Read(kProcessResult), HasSubstr(R"("maxMemValue":"64")"));
}

TEST_F(MemAnalyzerTest, WithoutFilesBothJobsFail) {
    tree.Remove(kSystemName);
    tree.Remove(kProcessName);
    EXPECT_EQ(Run().err,
              "[MemAnalyzer] Not exist system mem data file!\n"
              "[MemAnalyzer]: Failed to analy system mem!\n"
              "[MemAnalyzer] Not exist process mem data file!\n"
              "[MemAnalyzer]: Failed to analy process mem!\n");
    EXPECT_FALSE(result);
    EXPECT_FALSE(tree.Has("env_info/time_cost.log"));
}

TEST_F(MemAnalyzerTest, ATreeWithoutDocumentsIsTold) {
    tree.Remove("json");
    EXPECT_EQ(Run(kSystemOnly).err, "Can not open " + tree.PathOf("json/") +
                                        "\n[MemAnalyzer] Not exist system mem data file!\n"
                                        "[MemAnalyzer]: Failed to analy system mem!\n");
}

TEST_F(MemAnalyzerTest, TheOtherJobRunsWhenOneFails) {
    tree.Remove(kSystemName);
    Run();
    EXPECT_FALSE(result);
    EXPECT_TRUE(tree.Has(kProcessResult));
    EXPECT_FALSE(tree.Has("env_info/time_cost.log"));
}

TEST_F(MemAnalyzerTest, AStopIsNoFailure) {
    stopFlag = 1;
    const Captured captured = Run();
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out, "[MemAnalyzer] Stop process memory data because of stopFlag!\n");
    EXPECT_EQ(captured.err, "");
    EXPECT_FALSE(tree.Has(kSystemResult));
    EXPECT_THAT(tree.Read("env_info/time_cost.log"), HasSubstr("[MemAnalyzer] cost time: "));
}

TEST_F(MemAnalyzerTest, ABadSectionEndsTheFirstStep) {
    const Captured captured = RunSection("{}");
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err,
              "[MemAnalyzer] Error occurs: [MemAnalyzer] MemAnalyzer param is missing!\n"
              "[MemAnalyzer]: Failed to parse mem config!\n");
}

}  // namespace
}  // namespace zarn::test
