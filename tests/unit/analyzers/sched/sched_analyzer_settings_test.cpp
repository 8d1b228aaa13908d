#include "analyzers/sched/sched_analyzer_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/captured_streams.h"
#include "tests/support/fake_runner.h"
#include "tests/support/key_check.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;

constexpr const char* kName = "SchedAnalyzer";
constexpr const char* kOuter = "[SchedAnalyzer] Failed to check and set SchedAnalyzer job param!\n";
constexpr const char* kCollector =
    R"("SchedCollector":{"job":["global","core","process","lite"],"sched":{"is_call_record":true,)"
    R"("duration":2,"topN":7,"sorted":"avg","coreID":[1],"process":["planner"]},)"
    R"("lite":{"lite_duration_second":1,"lite_threshold_ms":2}})";

std::string ConfigWith(const std::string& section) {
    return std::string("{") + kCollector + ",\"SchedAnalyzer\":" + section + "}";
}

struct Reading {
    SchedAnalyzerSettings settings;
    bool good = false;
    std::string err;
    std::vector<std::string> commands;
};

Reading Read(const std::string& config) {
    Reading reading;
    JsonDocument document;
    EXPECT_TRUE(ParseJson(config, document));
    FakeRunner runner;
    runner.On("pidof planner", "42\n").On("processor", "4\n");
    reading.err = Capture([&] {
                      reading.good =
                          ReadSchedAnalyzerSettings(document, kName, runner, reading.settings);
                  }).err;
    reading.commands = runner.Commands();
    return reading;
}

TEST(SchedAnalyzerSettingsTest, TheJobsAreItsOwnTheRestIsTheCollectors) {
    const Reading reading = Read(ConfigWith(R"({"job":["core"],"runTimeThreshold":2.5})"));
    EXPECT_TRUE(reading.good);
    EXPECT_EQ(reading.err, "");
    EXPECT_EQ(reading.settings.runTimeThreshold, 2.5);
    const SchedJobParam& param = reading.settings.collected;
    EXPECT_FALSE(param.Has(kSchedGlobalJob));
    EXPECT_TRUE(param.Has(kSchedCoreJob));
    EXPECT_FALSE(param.Has(kSchedProcessJob));
    EXPECT_EQ(param.topN, 7U);
    EXPECT_EQ(param.sorted, "avg");
    EXPECT_THAT(param.cores, ElementsAre(1U));
    EXPECT_THAT(param.processes.names, ElementsAre("planner"));
    EXPECT_THAT(param.processes.pids, ElementsAre(42));
}

// The processes are looked up anew, once.
TEST(SchedAnalyzerSettingsTest, TheCollectorsSectionIsReadOnce) {
    std::size_t questions = 0;
    for (const std::string& command :
         Read(ConfigWith(R"({"job":["process"],"runTimeThreshold":2.5})")).commands) {
        questions += command == "pidof planner" ? 1U : 0U;
    }
    EXPECT_EQ(questions, 1U);
}

TEST(SchedAnalyzerSettingsTest, WhatBecomesOfTheCollectorsSectionDoesNotCount) {
    const Reading reading = Read(R"({"SchedAnalyzer":{"job":["global"],"runTimeThreshold":2.5}})");
    EXPECT_TRUE(reading.good);
    EXPECT_TRUE(reading.settings.collected.Has(kSchedGlobalJob));
    EXPECT_EQ(reading.settings.collected.topN, 10U);
    EXPECT_EQ(reading.err.rfind("[SchedCollector] SchedCollector job param not exist!\n", 0), 0U)
        << reading.err;
}

TEST(SchedAnalyzerSettingsTest, EachFaultHasItsLine) {
    const std::string noJob = "[SchedAnalyzer] SchedAnalyzer job param not exist!\n";
    const std::string noThreshold =
        "[SchedAnalyzer] SchedAnalyzer runTimeThreshold param should be exist and be float!\n";
    const auto errorOf = [](const std::string& section) {
        const Reading reading = Read(ConfigWith(section));
        EXPECT_FALSE(reading.good) << section;
        return reading.err;
    };
    EXPECT_EQ(Read(std::string("{") + kCollector + "}").err, noJob + kOuter);
    EXPECT_EQ(errorOf("{}"), noJob + kOuter);
    EXPECT_EQ(errorOf(R"({"job":["global"]})"), noThreshold + kOuter);
    EXPECT_EQ(errorOf(R"({"job":["global"],"runTimeThreshold":3})"), noThreshold + kOuter);
    EXPECT_EQ(
        errorOf(R"({"job":"global","runTimeThreshold":3.0})"),
        std::string("[SchedAnalyzer] Invalid SchedAnalyzer job type, it should be an array!\n") +
            kOuter);
    EXPECT_EQ(
        errorOf(R"({"job":["global",1],"runTimeThreshold":3.0})"),
        std::string("[SchedAnalyzer] Invalid SchedAnalyzer job element, it should be a string!\n") +
            kOuter);
    EXPECT_EQ(errorOf(R"({"job":["lite"],"runTimeThreshold":3.0})"),
              std::string("[SchedAnalyzer] Invalid SchedAnalyzer job name:lite, it should be "
                          "global, core or process!\n") +
                  kOuter);
}

TEST(SchedAnalyzerSettingsTest, NoJobIsNone) {
    const Reading reading = Read(ConfigWith(R"({"job":[],"runTimeThreshold":0.0})"));
    EXPECT_TRUE(reading.good);
    EXPECT_FALSE(reading.settings.collected.Has(kSchedGlobalJob));
}

TEST(SchedAnalyzerSettingsDeathTest, TheCheckHoldsTheDeclaredKeys) {
    ExpectKeysHold(kName, SchedAnalyzerKeys(),
                   ConfigWith(R"({"job":["global"],"runTimeThreshold":2.5})"),
                   [](const JsonDocument& config) {
                       FakeRunner runner;
                       runner.On("pidof planner", "42\n").On("processor", "4\n");
                       SchedAnalyzerSettings settings;
                       return ReadSchedAnalyzerSettings(config, kName, runner, settings);
                   });
}

}  // namespace
}  // namespace zarn::test
