#include "collectors/profiling/hot_fun/hot_fun_settings.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/captured_streams.h"
#include "tests/support/fake_runner.h"
#include "tests/support/key_check.h"
#include "tests/support/section_config.h"

namespace zarn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr const char* kJobList = "[HotFunCollector] Failed to check hotFun job list!\n";
constexpr const char* kOption = "[HotFunCollector] Failed to check hotFun option!\n";

// A whole section with all jobs, in which one key has another value, or is left out if the value is
// empty.
std::string Config(const std::string& changedKey = "", const std::string& value = "") {
    const test::SectionKeys keys = {{"job", R"(["global","core","function_set","process"])"},
                                    {"json_output", "true"},
                                    {"duration", "3"},
                                    {"top", "20"},
                                    {"core", "[0,1]"},
                                    {"process", R"(["planner","camera"])"},
                                    {"function_set", R"({"b":["x","y.*"],"a":["x"]})"}};
    return test::ConfigOf("HotFunCollector", test::SectionText(keys, changedKey, value));
}

struct Outcome {
    bool good = false;
    std::string err;
    HotFunSettings settings;
    std::vector<std::string> commands;
};

Outcome Read(const std::string& text, const std::string& processors = "2\n") {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(text, config)) << text;
    test::FakeRunner runner;
    runner.On("/proc/cpuinfo", processors);
    Outcome outcome;
    const test::Captured said =
        test::Capture([&] { outcome.good = ReadHotFunSettings(config, runner, outcome.settings); });
    EXPECT_EQ(said.out, "");
    outcome.err = said.err;
    outcome.commands = runner.Commands();
    return outcome;
}

TEST(HotFunSettingsTest, AWholeSectionIsRead) {
    const Outcome read = Read(Config());
    EXPECT_TRUE(read.good);
    EXPECT_EQ(read.err, "");
    EXPECT_THAT(read.commands, ElementsAre("cat /proc/cpuinfo| grep \"processor\"| wc -l"));
    EXPECT_THAT(read.settings.jobs, ElementsAre("core", "function_set", "global", "process"));
    EXPECT_TRUE(read.settings.jsonOutput);
    EXPECT_EQ(read.settings.duration, 3U);
    EXPECT_EQ(read.settings.top, 20U);
    EXPECT_THAT(read.settings.cores, ElementsAre("0", "1"));
    EXPECT_THAT(read.settings.processes, ElementsAre("planner", "camera"));
    EXPECT_THAT(read.settings.functionSets.Sets(),
                ElementsAre(Pair("a", ElementsAre("x")), Pair("b", ElementsAre("x", "y.*"))));
    EXPECT_THAT(read.settings.functionSets.Patterns(), ElementsAre("y.*"));
}

TEST(HotFunSettingsTest, WhatBelongsToOtherJobsIsNotLookedAt) {
    const Outcome read =
        Read(R"({"HotFunCollector":{"job":["global","global"],"json_output":false,"duration":0,)"
             R"("top":4294967295,"core":7,"process":7,"function_set":7}})");
    EXPECT_TRUE(read.good);
    EXPECT_EQ(read.err, "");
    EXPECT_THAT(read.commands, IsEmpty());
    EXPECT_THAT(read.settings.jobs, ElementsAre("global"));
    EXPECT_EQ(read.settings.duration, 0U);
    EXPECT_EQ(read.settings.top, 4294967295U);
}

TEST(HotFunSettingsTest, ListsMayBeEmptyAndRepeat) {
    EXPECT_TRUE(Read(Config("core", "[]")).good);
    EXPECT_TRUE(Read(Config("process", "[]")).good);
    EXPECT_TRUE(Read(Config("function_set", "{}")).good);
    EXPECT_TRUE(Read(Config("function_set", R"({"a":[]})")).good);
    EXPECT_THAT(Read(Config("core", "[1,1]")).settings.cores, ElementsAre("1", "1"));
}

TEST(HotFunSettingsTest, BadJobListsAreRefused) {
    const std::string noJob = "[HotFunCollector] HotFunCollector job param not exist!\n";
    const std::string unknown =
        "[HotFunCollector] Illegal job! Should be choosen from [global, core, function_set, "
        "process]!\n";
    const std::pair<std::string, std::string> rows[] = {
        {"{}", noJob},
        {Config("job"), noJob},
        {Config("job", "\"core\""),
         "[HotFunCollector] Invalid HotFunCollector param type! Should be array type!\n"},
        {Config("job", "[]"), ""},
        {Config("job", "[\"core\",1]"),
         "[HotFunCollector] Illegal job type! Should be string type!\n"},
        {Config("job", "[\"core\",\"Global\"]"), unknown},
        {Config("job", "[\"core\\u0000\"]"), unknown},
    };
    for (const auto& [text, line] : rows) {
        const Outcome read = Read(text);
        EXPECT_FALSE(read.good) << text;
        EXPECT_EQ(read.err, line + kJobList) << text;
        EXPECT_THAT(read.settings.jobs, IsEmpty());
    }
}

TEST(HotFunSettingsTest, BadOptionsAreRefused) {
    const std::string missing =
        "[HotFunCollector] HotFunCollector param missing! Please make sure json_output, duration, "
        "top existing!\n";
    const std::string core = "[HotFunCollector] Invalid HotFunCollector param type (core)! Should ";
    const std::string process =
        "[HotFunCollector] Invalid HotFunCollector process type (process)! Should be string "
        "type!\n";
    const std::string function =
        "[HotFunCollector] Illegal function type! Should be string type!\n";
    const std::string uint =
        "[HotFunCollector] Invalid HotFunCollector param type (duration)! Should be uint type!\n";
    const std::string greatest =
        "[HotFunCollector] Invalid HotFunCollector param value (core)! Max legual input on this "
        "device is: 1\n";
    const std::pair<std::string, std::string> rows[] = {
        {Config("json_output"), missing},
        {Config("duration"), missing},
        {Config("top"), missing},
        {Config("process"), "[HotFunCollector] HotFunCollector process param missing!\n"},
        {Config("process", "{}"),
         "[HotFunCollector] Invalid HotFunCollector param type (process)! Should be array "
         "type!\n"},
        {Config("process", "[\"a\",1]"), process},
        {Config("core"), "[HotFunCollector] HotFunCollector core param missing!\n"},
        {Config("core", "1"), core + "be array type!\n"},
        {Config("core", "[0,-1]"), core + "be unsigned int type!\n"},
        {Config("core", "[4294967296]"), core + "be unsigned int type!\n"},
        {Config("core", "[1,2]"), greatest},
        {Config("core", "[4294967295]"), greatest},
        {Config("function_set"), "[HotFunCollector] HotFunCollector function_set param missing!\n"},
        {Config("function_set", "[]"),
         "[HotFunCollector] Invalid HotFunCollector param type (function_set)! Should be an Object "
         "of target function sets!\n"},
        {Config("function_set", R"({"a":[],"b":[],"a":[]})"),
         "[HotFunCollector] Duplicate function set name! Should be unique!\n"},
        {Config("function_set", R"({"a":"x"})"),
         "[HotFunCollector] Illegal function set value! Should be array type!\n"},
        {Config("function_set", R"({"a":["x",null]})"), function},
        {Config("json_output", "1"),
         "[HotFunCollector] Invalid HotFunCollector param type (json_output)! Should be bool "
         "type!\n"},
        {Config("duration", "-1"), uint},
        {Config("duration", "4294967296"), uint},
        {Config("duration", "1.0"), uint},
        {Config("top", "\"20\""),
         "[HotFunCollector] Invalid HotFunCollector param type (top)! Should be uint type!\n"},
    };
    for (const auto& [text, line] : rows) {
        const Outcome read = Read(text);
        EXPECT_FALSE(read.good) << text;
        EXPECT_EQ(read.err, line + kOption) << text;
        EXPECT_THAT(read.settings.jobs, IsEmpty());
    }
}

// The processes are looked at before the cores, these before the sets, and types of single values
// last.
TEST(HotFunSettingsTest, TheFirstFaultIsTold) {
    EXPECT_EQ(Read(R"({"HotFunCollector":{"job":["core","process"],"json_output":1,"duration":1,)"
                   R"("top":1,"core":1,"process":1}})")
                  .err,
              std::string("[HotFunCollector] Invalid HotFunCollector param type (process)! Should "
                          "be array type!\n") +
                  kOption);
    EXPECT_THAT(Read(Config("process", "1")).commands, IsEmpty());
}

TEST(HotFunSettingsTest, TheProcessorsMustBeANumber) {
    const std::string words =
        "[HotFunCollector] core number command result is not number!\n" + std::string(kOption);
    for (const char* answer : {"", "\n", "two\n", "1 2\n", "-1\n", "2x\n"}) {
        EXPECT_EQ(Read(Config(), answer).err, words) << answer;
    }
    EXPECT_EQ(Read(Config(), std::string(30, '9') + "\n").err, "[Utils] Out of range\n" + words);
    EXPECT_EQ(Read(Config(), "0\n").err,
              std::string("[HotFunCollector] Invalid HotFunCollector param value (core)! Max "
                          "legual input on this device is: -1\n") +
                  kOption);
    EXPECT_TRUE(Read(Config("core", "[]"), "0\n").good);
}

TEST(HotFunSettingsTest, ACommandThatCannotBeStartedHasItsOwnLine) {
    JsonDocument config;
    ASSERT_TRUE(ParseJson(Config(), config));
    test::FakeRunner runner;
    runner.Refuse("/proc/cpuinfo");
    HotFunSettings settings;
    EXPECT_EQ(
        test::Capture([&] { EXPECT_FALSE(ReadHotFunSettings(config, runner, settings)); }).err,
        std::string("[zarn_utils] Failed to popen command!\n"
                    "[HotFunCollector] Failed to get core num!\n") +
            kOption);
}

TEST(HotFunSettingsTest, TheCheckHoldsToTheDeclaredKeys) {
    test::ExpectKeysHold("HotFunCollector", HotFunCollectorKeys(), Config(),
                         [](const JsonDocument& config) {
                             test::FakeRunner runner;
                             runner.On("/proc/cpuinfo", "2\n");
                             HotFunSettings settings;
                             return ReadHotFunSettings(config, runner, settings);
                         });
}

}  // namespace
}  // namespace zarn
