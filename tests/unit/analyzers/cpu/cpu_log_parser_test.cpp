#include "analyzers/cpu/cpu_log_parser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/analyzers/cpu/cpu_analysis_fixture.h"

namespace zarn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kSummary =
    "%Cpu(s): 10.0 us,  5.0 sy,  0.0 ni, 80.0 id,  0.0 wa,  1.0 hi,  2.0 si,  0.0 st\n";
constexpr const char* kFirstTime = "20230101120000123\n";
constexpr const char* kSecondTime = "20230101120005123\n";

CpuUsageLog Usage(const std::string& text) {
    return ParseUsageLog(text, CpuPatterns());
}

std::string Row(const std::string& pid, const std::string& usage, const std::string& command) {
    return "  " + pid + " root      20   0     100     50     25 S   " + usage +
           "   0.0   0:01.00 " + command + "\n";
}

TEST(CpuLogParserTest, ReadsTheUsageLogInFileOrder) {
    const std::string text = test::kUsageLogText;
    const CpuUsageLog log = Usage(text);
    EXPECT_THAT(log.head.timeStamps,
                ElementsAre("20230101120000123", "20230101120005123", "20230101120010123"));
    EXPECT_THAT(log.head.tasks, ElementsAre(10, 12, 11));
    EXPECT_THAT(log.head.loads.at("avgLoad1min"), ElementsAre(1, 2, 3));
    EXPECT_THAT(log.head.loads.at("avgLoad5min"), ElementsAre(2, 2, 2));
    EXPECT_THAT(log.head.loads.at("avgLoad15min"), ElementsAre(3, 3, 3));
    EXPECT_THAT(log.summary[kCpuIdle].values, ElementsAre(80, 60, 80));
    EXPECT_THAT(log.summary[kCpuIdle].samples, ElementsAre(0, 1, 2));
    EXPECT_THAT(log.sampleTotals, ElementsAre(60, 100, 12));
    ASSERT_EQ(log.processes.size(), 3U);
    EXPECT_EQ(log.processes[0].pid, "20");
    EXPECT_EQ(log.processes[0].command, "worker");
    EXPECT_THAT(log.processes[0].values, ElementsAre(50, 80));
    EXPECT_THAT(log.processes[2].values, ElementsAre(0, 2));
    EXPECT_EQ(log.sampleRows.Count(), 3U);
}

TEST(CpuLogParserTest, ReadsTheCoresLog) {
    const std::string text = test::kCoresLogText;
    const CpuCoresLog log = ParseCoresLog(text, CpuPatterns());
    EXPECT_EQ(log.head.timeStamps.size(), 2U);
    ASSERT_EQ(log.cores.size(), 2U);
    EXPECT_EQ(log.cores[0].name, "Cpu0");
    EXPECT_THAT(log.cores[0].fields[kCpuIdle].values, ElementsAre(90, 70));
    EXPECT_THAT(log.cores[1].fields[kCpuIdle].samples, ElementsAre(0, 1));
}

TEST(CpuLogParserTest, ASampleWithoutItsSummaryShiftsNoOther) {
    const std::string text =
        std::string(kFirstTime) + kSecondTime + kSummary + "20230101120010123\n" + kSummary;
    const CpuUsageLog log = Usage(text);
    EXPECT_THAT(log.summary[kCpuIdle].samples, ElementsAre(1, 2));
    EXPECT_THAT(log.sampleTotals, ElementsAre(0, 0, 0));
}

TEST(CpuLogParserTest, WhatStandsBeforeTheFirstTimeBelongsToTheFirstSample) {
    const std::string text = Row("7", "1.5", "a") + kSummary + kFirstTime + Row("7", "2.0", "a") +
                             kSecondTime + Row("8", "4.0", "b");
    const CpuUsageLog log = Usage(text);
    EXPECT_THAT(log.sampleTotals, ElementsAre(3.5, 4));
    EXPECT_THAT(log.summary[kCpuIdle].samples, ElementsAre(0));
}

TEST(CpuLogParserTest, WithoutATimeStampThereIsNoSample) {
    const std::string text = Row("7", "1.5", "a") + kSummary;
    const CpuUsageLog log = Usage(text);
    EXPECT_THAT(log.sampleTotals, IsEmpty());
    EXPECT_EQ(log.sampleProcs.Count(), 0U);
    EXPECT_THAT(log.processes[0].values, ElementsAre(1.5));
}

TEST(CpuLogParserTest, APidKeepsItsLastCommandAndARowItsOwn) {
    const std::string text = kFirstTime + Row("7", "1.0", "a") + kSecondTime +
                             Row("7", "2.0", "b") + Row("9", "3.0", "a");
    const CpuUsageLog log = Usage(text);
    EXPECT_EQ(log.processes[0].command, "b");
    EXPECT_THAT(log.commands, ElementsAre("a", "b"));
    EXPECT_EQ(log.sampleProcs.At(0).begin()->command, 0U);
    EXPECT_EQ(log.sampleProcs.At(1).begin()->command, 1U);
}

TEST(CpuLogParserTest, PidsAreTexts) {
    std::string text = kFirstTime;
    for (const char* pid : {"7", "07", "12345678", "123456789", "123456789"}) {
        text += Row(pid, "1.0", "a");
    }
    for (int pid = 1000; pid < 3000; ++pid) {
        text += Row(std::to_string(pid), "1.0", "a");
    }
    const CpuUsageLog log = Usage(text);
    EXPECT_EQ(log.processes.size(), 4U + 2000U);
    EXPECT_EQ(log.processes[3].values.size(), 2U);
    EXPECT_EQ(log.processes.back().pid, "2999");
}

TEST(CpuLogParserTest, BatchesFollowTheHeaderLinesOfTop) {
    const std::string text = Row("1", "1.0", "a") + "  top x\n" + Row("2", "1.0", "a") +
                             "top\ntopaz\ntop - y\n" + Row("3", "1.0", "a") + "4 lone\n5\n";
    const CpuUsageLog log = Usage(text);
    ASSERT_EQ(log.sampleRows.Count(), 3U);
    const auto sizeOf = [&log](std::size_t batch) {
        return log.sampleRows.At(batch).end() - log.sampleRows.At(batch).begin();
    };
    EXPECT_EQ(sizeOf(0), 2);
    EXPECT_EQ(sizeOf(1), 0);
    EXPECT_EQ(sizeOf(2), 2);
}

TEST(CpuLogParserTest, CarriageReturnsAndAMissingFinalNewlineChangeNothing) {
    std::string text = test::kUsageLogText;
    const CpuUsageLog expected = Usage(text);
    std::string withReturns;
    for (const char c : text) {
        withReturns += c == '\n' ? "\r\n" : std::string(1, c);
    }
    withReturns.resize(withReturns.find_last_not_of("\r\n") + 1);
    const CpuUsageLog log = Usage(withReturns);
    EXPECT_EQ(log.head.timeStamps, expected.head.timeStamps);
    EXPECT_EQ(log.summary[kCpuIdle].values, expected.summary[kCpuIdle].values);
    EXPECT_EQ(log.sampleTotals, expected.sampleTotals);
    ASSERT_EQ(log.processes.size(), expected.processes.size());
    EXPECT_EQ(log.processes[0].command, "worker");
    EXPECT_EQ(log.head.loads, expected.head.loads);
}

TEST(CpuLogParserTest, NumbersBeyondADoubleArePassedOver) {
    const std::string huge(400, '9');
    const std::string text = std::string(kFirstTime) + "Tasks: " + huge + " total\n" +
                             Row("7", huge, "a") + Row("7", "1.0", "a") +
                             "top - 1:2:3 up load average: 1.0, " + huge +
                             ", 1.0\n%Cpu(s): " + huge +
                             " us,  5.0 sy,  0.0 ni, 80.0 id,  0.0 wa,  1.0 hi,  2.0 si,  0.0 st\n";
    CpuUsageLog log;
    const test::Captured captured = test::Capture([&] { log = Usage(text); });
    EXPECT_THAT(log.head.tasks, IsEmpty());
    EXPECT_THAT(log.head.loads.at("avgLoad1min"), IsEmpty());
    EXPECT_THAT(log.summary[kCpuIdle].values, IsEmpty());
    EXPECT_THAT(log.sampleTotals, ElementsAre(0, 0, 1, 0, 0));  // so many digits are a time too
    EXPECT_EQ(captured.err,
              "[Utils] Out of range\n[Utils] Out of range\n[Utils] Out of range\n"
              "[Utils] Out of range\n");
}

TEST(CpuLogParserTest, NeedsTheWholeTable) {
    EXPECT_THROW((void)ParseUsageLog("", {}), std::out_of_range);
    EXPECT_THROW((void)ParseCoresLog("", {}), std::out_of_range);
}

}  // namespace
}  // namespace zarn
