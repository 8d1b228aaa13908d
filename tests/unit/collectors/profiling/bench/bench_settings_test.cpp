#include "collectors/profiling/bench/bench_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/support/captured_streams.h"
#include "tests/support/key_check.h"
#include "tests/support/section_config.h"

namespace zarn {
namespace {

using test::ParsedConfigOf;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kSection = "BenchCollector";
constexpr const char* kNoArray =
    "[BenchCollector] Invalid BenchCollector param type! Should be array type!\n";
constexpr const char* kUnknown =
    "[BenchCollector] Illegal job! Should be choosen from [messaging, pipe, memset, memcpy, stat, "
    "vpc, venc, vdec]!\n";

struct ReadJobsResult {
    bool good = false;
    BenchJobs jobs;
    test::Captured printed;
};

ReadJobsResult ReadJobs(const std::string& config) {
    JsonDocument document;
    EXPECT_TRUE(ParseJson(config, document)) << config;
    ReadJobsResult result;
    result.printed = test::Capture([&] { result.good = ReadBenchJobs(document, result.jobs); });
    return result;
}

std::string JobsConfig(const std::string& jobs) {
    return test::ConfigOf(kSection, R"({"job":)" + jobs + "}");
}

TEST(BenchJobsTest, RefusedListsPrintTheirLineAndSetNothing) {
    const std::string missing = "[BenchCollector] BenchCollector job param not exist!\n";
    const std::string noText = "[BenchCollector] Illegal job type! Should be string type!\n";
    const std::pair<std::string, std::string> rows[] = {
        {"{}", missing},
        {R"({"BenchCollector":{}})", missing},
        {JobsConfig(R"("pipe")"), kNoArray},
        {JobsConfig("{}"), kNoArray},
        {JobsConfig("null"), kNoArray},
        {JobsConfig(R"(["pipe",1])"), noText},
        {JobsConfig(R"(["pipe",["pipe"]])"), noText},
        {JobsConfig(R"(["pipe","Pipe"])"), kUnknown},
        {JobsConfig(R"(["pipe",""])"), kUnknown},
        {JobsConfig(R"(["pipe\u0000"])"), kUnknown},
        {JobsConfig(R"(["global"])"), kUnknown},
    };
    for (const auto& [config, words] : rows) {
        const ReadJobsResult result = ReadJobs(config);
        EXPECT_FALSE(result.good) << config;
        EXPECT_EQ(result.printed.err, words) << config;
        EXPECT_EQ(result.printed.out, "") << config;
        EXPECT_THAT(result.jobs, IsEmpty()) << config;
    }
}

TEST(BenchJobsTest, TheJobsGoByTheirNames) {
    const ReadJobsResult result = ReadJobs(JobsConfig(R"(["vpc","stat","memset","stat"])"));
    EXPECT_TRUE(result.good);
    EXPECT_EQ(result.printed.out + result.printed.err, "");
    EXPECT_THAT(result.jobs, ElementsAre("memset", "stat", "vpc"));
}

TEST(BenchJobsTest, TheListMayBeEmpty) {
    const ReadJobsResult result = ReadJobs(JobsConfig("[]"));
    EXPECT_TRUE(result.good);
    EXPECT_THAT(result.jobs, IsEmpty());
}

TEST(BenchJobsDeathTest, ASectionThatIsNoObjectEndsTheProcess) {
    const JsonDocument config = ParsedConfigOf(kSection, "[]");
    BenchJobs jobs;
    EXPECT_DEATH((void)ReadBenchJobs(config, jobs), "JSON assertion");
}

// ---- The object about counters

struct ReadStatResult {
    bool good = false;
    BenchStatSettings settings;
    test::Captured printed;
};

ReadStatResult ReadStat(const std::string& section) {
    const JsonDocument config = ParsedConfigOf(kSection, section);
    ReadStatResult result;
    result.printed = test::Capture([&] { result.good = ReadBenchStat(config, result.settings); });
    return result;
}

TEST(BenchStatTest, WhatIsMissingOrOfAnotherTypeIsTold) {
    const std::string noSleep =
        "[BenchCollector] Failed to find  stat's sleep parameter in benchCollector!\n";
    const std::string badSleep = "[BenchCollector] Illegal sleep type! Should be integer type!\n";
    const std::pair<std::string, std::string> rows[] = {
        {"{}", "[BenchCollector] Failed to find stat parameter in benchCollector!\n"},
        {R"({"stat":{}})",
         "[BenchCollector] Failed to find stat's nodes parameter in benchCollector!\n"},
        {R"({"stat":{"sleep":1}})",
         "[BenchCollector] Failed to find stat's nodes parameter in benchCollector!\n"},
        {R"({"stat":{"nodes":"global"}})", kNoArray},
        {R"({"stat":{"nodes":["global",1]}})", noSleep},
        {R"({"stat":{"nodes":["global",1],"sleep":1.0}})", badSleep},
        {R"({"stat":{"nodes":["global"],"sleep":"1"}})", badSleep},
        {R"({"stat":{"nodes":["global"],"sleep":2147483648}})", badSleep},
        {R"({"stat":{"nodes":["global"],"sleep":null}})", badSleep},
    };
    for (const auto& [section, words] : rows) {
        const ReadStatResult result = ReadStat(section);
        EXPECT_FALSE(result.good) << section;
        EXPECT_EQ(result.printed.err, words) << section;
        EXPECT_EQ(result.printed.out, "") << section;
        EXPECT_THAT(result.settings.nodes, IsEmpty()) << section;
    }
}

TEST(BenchStatTest, NodesUpToTheOneThatIsNoTextAreKept) {
    const ReadStatResult result = ReadStat(R"({"stat":{"nodes":["a","b",3,"c"],"sleep":4}})");
    EXPECT_FALSE(result.good);
    EXPECT_EQ(result.printed.err, "[BenchCollector] Illegal node type! Should be string type!\n");
    EXPECT_THAT(result.settings.nodes, ElementsAre("a", "b"));
    EXPECT_EQ(result.settings.sleep, 4);
}

TEST(BenchStatTest, NodesKeepTheirOrderAndAnyIntegerIsTaken) {
    for (const std::int32_t seconds : {-2147483647 - 1, -1, 0, 2147483647}) {
        const ReadStatResult result =
            ReadStat(R"({"stat":{"nodes":["planner","global","planner",""],"sleep":)" +
                     std::to_string(seconds) + "}}");
        EXPECT_TRUE(result.good);
        EXPECT_EQ(result.printed.out + result.printed.err, "");
        EXPECT_THAT(result.settings.nodes, ElementsAre("planner", "global", "planner", ""));
        EXPECT_EQ(result.settings.sleep, seconds);
    }
}

TEST(BenchStatDeathTest, AStatThatIsNoObjectEndsTheProcess) {
    const JsonDocument config = ParsedConfigOf(kSection, R"({"stat":["global"]})");
    BenchStatSettings settings;
    EXPECT_DEATH((void)ReadBenchStat(config, settings), "JSON assertion");
}

// What the option check leaves to the collector's start is read there.
TEST(BenchSettingsTest, TheCheckHoldsToTheDeclaredKeys) {
    test::ExpectKeysHold(
        kSection, BenchCollectorKeys(),
        test::ConfigOf(kSection, R"({"job":["stat"],"stat":{"nodes":["global"],"sleep":1}})"),
        [](const JsonDocument& config) {
            BenchJobs jobs;
            BenchStatSettings stat;
            return ReadBenchJobs(config, jobs) && ReadBenchStat(config, stat);
        });
}

}  // namespace
}  // namespace zarn
