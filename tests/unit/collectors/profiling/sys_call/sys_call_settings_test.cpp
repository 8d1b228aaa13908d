#include "collectors/profiling/sys_call/sys_call_settings.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>

#include "tests/support/captured_streams.h"
#include "tests/support/key_check.h"
#include "tests/support/section_config.h"

namespace zarn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A whole section in which one key has another value, or is left out if the value is empty.
std::string Config(const std::string& changedKey = "", const std::string& value = "") {
    const test::SectionKeys keys = {
        {"process", R"(["planner","camera"])"}, {"duration", "3"}, {"saveDetailsToJson", "true"}};
    return test::ConfigOf("SysCallCollector", test::SectionText(keys, changedKey, value));
}

struct Outcome {
    bool good = false;
    std::string err;
    SysCallSettings settings;
};

Outcome Read(const std::string& text) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(text, config)) << text;
    Outcome outcome;
    const test::Captured said =
        test::Capture([&] { outcome.good = ReadSysCallSettings(config, outcome.settings); });
    EXPECT_EQ(said.out, "");
    outcome.err = said.err;
    return outcome;
}

TEST(SysCallSettingsTest, AWholeSectionIsRead) {
    const Outcome read = Read(Config());
    EXPECT_TRUE(read.good);
    EXPECT_EQ(read.err, "");
    EXPECT_THAT(read.settings.processes, ElementsAre("planner", "camera"));
    EXPECT_EQ(read.settings.duration, 3U);
    EXPECT_TRUE(read.settings.savesDetails);
    EXPECT_FALSE(Read(Config("saveDetailsToJson", "false")).settings.savesDetails);
    EXPECT_EQ(Read(Config("duration", "0")).settings.duration, 0U);
    EXPECT_EQ(Read(Config("duration", "4294967295")).settings.duration, 4294967295U);
}

TEST(SysCallSettingsTest, BadSectionsAreRefused) {
    const std::string tag = "[SysCallCollector] ";
    const std::string notArray = tag + "Invalid type of process! It should be array type!\n";
    const std::string notUint = tag + "Invalid type of duration! It should be uint type!\n";
    const std::string notBool =
        tag + "Invalid type of SaveDetailsToJson! It should be bool type!\n";
    const std::string notString =
        tag + "Invalid type of process element! It should be string type!\n";
    const std::pair<std::string, std::string> rows[] = {
        {"{}", tag + "SysCallCollector param does not exist!\n"},
        {Config("process"), tag + "Process list for SysCallCollector does not exist!\n"},
        {Config("process", "\"planner\""), notArray},
        {Config("process", "{}"), notArray},
        {Config("duration"), tag + "Duration setting for SysCallCollector does not exist!\n"},
        {Config("duration", "-1"), notUint},
        {Config("duration", "4294967296"), notUint},
        {Config("duration", "2.0"), notUint},
        {Config("saveDetailsToJson"),
         tag + "SaveDetailsToJson setting for SysCallCollector does not exist!\n"},
        {Config("saveDetailsToJson", "1"), notBool},
        {Config("saveDetailsToJson", "\"true\""), notBool},
        {Config("process", "[]"), tag + "Process array is empty!\n"},
        {Config("process", "[1]"), notString},
        {Config("process", R"(["planner",null])"), notString},
    };
    for (const auto& [text, line] : rows) {
        const Outcome read = Read(text);
        EXPECT_FALSE(read.good) << text;
        EXPECT_EQ(read.err, line) << text;
        EXPECT_THAT(read.settings.processes, IsEmpty());
    }
}

// Key after key, each for its presence and its type, the elements last.
TEST(SysCallSettingsTest, TheFirstFaultIsTold) {
    EXPECT_EQ(Read(R"({"SysCallCollector":{"process":[],"duration":"x"}})").err,
              "[SysCallCollector] Invalid type of duration! It should be uint type!\n");
    EXPECT_EQ(Read(R"({"SysCallCollector":{"process":[1],"duration":1}})").err,
              "[SysCallCollector] SaveDetailsToJson setting for SysCallCollector does not "
              "exist!\n");
}

TEST(SysCallSettingsTest, TheCheckHoldsToTheDeclaredKeys) {
    test::ExpectKeysHold("SysCallCollector", SysCallCollectorKeys(), Config(),
                         [](const JsonDocument& config) {
                             SysCallSettings settings;
                             return ReadSysCallSettings(config, settings);
                         });
}

}  // namespace
}  // namespace zarn
