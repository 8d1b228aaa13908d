#include "analyzers/cpu/cpu_findings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zarn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

CpuAnalyzerSettings Threshold(double threshold) {
    CpuAnalyzerSettings settings;
    settings.peakRatio = 1.0 + threshold;
    settings.troughRatio = 1.0 - threshold;
    settings.processors = 4;
    return settings;
}

CpuSeries Series(const std::vector<double>& values) {
    CpuSeries series{values, {}};
    for (std::size_t i = 0; i < values.size(); ++i) {
        series.samples.push_back(i);
    }
    return series;
}

const std::vector<std::string_view> kTimes = {"t0", "t1", "t2", "t3", "t4", "t5"};

std::vector<std::string> Times(const std::vector<CpuExtreme>& extremes) {
    std::vector<std::string> times;
    times.reserve(extremes.size());
    for (const CpuExtreme& extreme : extremes) {
        times.emplace_back(extreme.timeStamp);
    }
    return times;
}

TEST(CpuFindingsTest, PeaksLieAboveAndTroughsBelowTheBandAroundTheMean) {
    // Mean 10: the band is 9 to 11, and its bounds are neither peak nor trough.
    const CpuStatistics found = Summarize(Series({10, 12, 8, 11, 9, 10}), kTimes, Threshold(0.1));
    EXPECT_EQ(found.mean, 10.0);
    EXPECT_EQ(found.maximum, 12.0);
    EXPECT_EQ(found.minimum, 8.0);
    EXPECT_THAT(Times(found.peaks), ElementsAre("t1"));
    EXPECT_THAT(Times(found.troughs), ElementsAre("t2"));
    EXPECT_EQ(found.peaks[0].value, 12.0);
}

TEST(CpuFindingsTest, OneSampleAndAFlatLineHaveNoExtremes) {
    for (const auto& values : {std::vector<double>{}, {50}, {50, 50, 50}, {0, 0}}) {
        const CpuStatistics found = Summarize(Series(values), kTimes, Threshold(0.001));
        EXPECT_THAT(found.peaks, IsEmpty());
        EXPECT_THAT(found.troughs, IsEmpty());
        EXPECT_EQ(found.mean, values.empty() ? 0.0 : values.front());
    }
}

TEST(CpuFindingsTest, AnExtremeCarriesTheTimeOfItsSample) {
    const CpuSeries series{{1, 9, 1}, {1, 3, 5}};
    EXPECT_THAT(Times(Summarize(series, kTimes, Threshold(0.1)).peaks), ElementsAre("t3"));
    EXPECT_THAT(Times(Summarize(series, {"t0"}, Threshold(0.1)).peaks), ElementsAre(""));
}

CpuUsageLog LogOf(const std::vector<CpuProcess>& processes) {
    CpuUsageLog log;
    log.processes = processes;
    return log;
}

TEST(CpuFindingsTest, ProcessesOfEqualMeanFollowThePidTexts) {
    const auto ranked = RankProcesses(
        LogOf({{"9", "a", {1, 3}}, {"10", "b", {2}}, {"7", "c", {5, 1, 3}}, {"100", "d", {2, 2}}}));
    std::vector<std::string> pids;
    pids.reserve(ranked.size());
    for (const CpuProcessStatistics& process : ranked) {
        pids.emplace_back(process.pid);
    }
    EXPECT_THAT(pids, ElementsAre("7", "10", "100", "9"));
    EXPECT_EQ(ranked[0].mean, 3.0);
    EXPECT_EQ(ranked[0].maximum, 5.0);
    EXPECT_EQ(ranked[0].minimum, 1.0);
    EXPECT_EQ(ranked[0].process, 2U);
}

TEST(CpuFindingsTest, ASetTakesTheSamplesThatHaveARowOfIt) {
    CpuUsageLog log = LogOf({{"1", "a", {10, 30}}, {"2", "b", {4}}, {"3", "c", {1}}});
    log.commands = {"a", "b", "c"};
    log.head.timeStamps = {"t0", "t1", "t2"};
    log.sampleProcs.Add({0, 0, 10});
    log.sampleProcs.Add({2, 2, 1});
    log.sampleProcs.Close();
    log.sampleProcs.Add({2, 2, 1});
    log.sampleProcs.Close();
    log.sampleProcs.Add({1, 1, 4});
    log.sampleProcs.Add({0, 0, 30});
    log.sampleProcs.Close();
    CpuAnalyzerSettings settings = Threshold(0.1);
    settings.processSets = {{"both", {"a", "b", "absent"}}, {"nobody", {"absent"}}};
    const auto found = FindProcessSets(log, RankProcesses(log), settings);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_THAT(found[0].totals.values, ElementsAre(10, 34));
    EXPECT_THAT(found[0].totals.samples, ElementsAre(0, 2));
    EXPECT_EQ(found[0].statistics.mean, 22.0);
    EXPECT_EQ(found[0].usagePercent, 5.5);
    ASSERT_EQ(found[0].processes.size(), 2U);
    EXPECT_EQ(found[0].processes[0].pid, "1");
    EXPECT_THAT(found[1].totals.values, IsEmpty());
    EXPECT_EQ(found[1].statistics.mean, 0.0);
}

TEST(CpuFindingsTest, CoresAreSortedByTheirLoad) {
    CpuCoresLog log;
    for (const auto& [name, idle] : std::map<std::string_view, double>{
             {"Cpu0", 90.0}, {"Cpu1", 20.0}, {"Cpu10", 90.0}, {"Cpu2", 90.0}}) {
        CpuCore core{name, {}};
        core.fields[kCpuIdle] = Series({idle});
        log.cores.push_back(core);
    }
    const auto found = FindCores(log, Threshold(0.1));
    EXPECT_THAT(found.usageSorted,
                ElementsAre(testing::Pair("Cpu1", 80.0), testing::Pair("Cpu0", 10.0),
                            testing::Pair("Cpu10", 10.0), testing::Pair("Cpu2", 10.0)));
    EXPECT_EQ(found.cores[2].name, "Cpu10");
}

}  // namespace
}  // namespace zarn
