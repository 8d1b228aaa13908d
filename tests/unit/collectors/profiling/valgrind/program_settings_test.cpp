#include "collectors/profiling/valgrind/program_settings.h"

#include <gmock/gmock.h>

#include "tests/support/captured_streams.h"
#include "tests/support/key_check.h"
#include "tests/support/section_config.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr const char* kEntry = R"({"bin_path":"x","env_variables":{}})";

// A section with one key changed, or left out if the value is empty.
std::string Section(const std::string& changedKey = "", const std::string& value = "") {
    return SectionText({{"process", R"(["planner","camera"])"}, {"duration", "3"}}, changedKey,
                       value);
}

std::string Config(const std::string& name, const std::string& section,
                   const std::string& launch = "") {
    const std::string text =
        launch.empty() ? R"({"planner":)" + std::string(kEntry) + R"(,"camera":)" + kEntry + "}"
                       : launch;
    return "{\"" + name + "\":" + section + R"(,"ProcessRunSetting":)" + text + "}";
}

// What a reader says of a configuration; the settings are in `settings`.
template <class Settings>
std::string Said(bool (*read)(const JsonDocument&, const char*, const ProgramWords&, Settings&),
                 const std::string& text, const char* name, const ProgramWords& words,
                 Settings& settings, bool expected) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(text, config)) << text;
    bool good = false;
    const Captured said = Capture([&] { good = read(config, name, words, settings); });
    EXPECT_EQ(said.out, "");
    EXPECT_EQ(good, expected) << text;
    return said.err;
}

// One of the two classes that start programs.
struct Launcher {
    const char* name;
    const ProgramWords& words;
};

class LaunchedProgramsTest : public testing::TestWithParam<Launcher> {
protected:
    std::string Refused(const std::string& text) {
        LaunchedPrograms settings;
        return Said(ReadLaunchedPrograms, text, Name(), GetParam().words, settings, false);
    }
    std::string Taken(const std::string& text, LaunchedPrograms& settings) {
        return Said(ReadLaunchedPrograms, text, Name(), GetParam().words, settings, true);
    }
    [[nodiscard]] static const char* Name() { return GetParam().name; }
    [[nodiscard]] static std::string Head() { return "[" + std::string(Name()) + "] "; }
};

INSTANTIATE_TEST_SUITE_P(Classes, LaunchedProgramsTest,
                         testing::Values(Launcher{"CacheGrindCollector", kCacheGrindWords},
                                         Launcher{"MassifCollector", kMassifWords}),
                         [](const auto& launcher) { return launcher.param.name; });

TEST_P(LaunchedProgramsTest, AWholeSectionIsRead) {
    LaunchedPrograms settings;
    EXPECT_EQ(Taken(Config(Name(), Section()), settings), "");
    EXPECT_EQ(settings.duration, 3U);
    ASSERT_EQ(settings.programs.size(), 2U);
    EXPECT_EQ(settings.programs["camera"].binPath, "x");
    EXPECT_EQ(settings.programs.begin()->first, "camera");
}

TEST_P(LaunchedProgramsTest, AProgramIsStartedOnce) {
    LaunchedPrograms settings;
    EXPECT_EQ(Taken(Config(Name(), Section("process", R"(["planner","planner"])")), settings), "");
    EXPECT_EQ(settings.programs.size(), 1U);
}

TEST_P(LaunchedProgramsTest, WhatIsMissingOrOfAWrongTypeIsToldInItsOrder) {
    const std::string list =
        Head() + "Invalid " + Name() + " process param type! Should be array type!\n";
    const std::string noList = Head() + "Process list for " + Name() + " does not exist!\n";
    const std::string noSection = Head() + Name() + " or ProcessRunSetting param does not exist!\n";
    const std::string text =
        Head() + "Invalid " + Name() + " process type (process)! Should be string type!\n";
    const std::string number =
        Head() + "Invalid " + Name() + " duration param type! Should be uint type!\n";
    EXPECT_EQ(Refused("{}"), noSection);
    EXPECT_EQ(Refused(ConfigOf(Name(), Section())), noSection);
    EXPECT_EQ(Refused(R"({"ProcessRunSetting":{}})"), noSection);
    const std::pair<std::string, std::string> rows[] = {
        {"{}", noList},
        {Section("process"), noList},
        {R"({"process":{}})", list},
        {Section("process", "\"planner\""), list},
        {R"({"process":[]})", Head() + "Duration setting for " + Name() + " does not exist!\n"},
        {R"({"process":[],"duration":"1"})", Head() + Name() + " process array is empty!\n"},
        {R"({"process":["planner",1],"duration":"1"})", text},
        {Section("process", "[null]"), text},
        {Section("duration", "-1"), number},
        {Section("duration", "1.0"), number},
        {Section("duration", "4294967296"), number},
        {Section("duration", "\"3\""), number},
    };
    for (const auto& [section, line] : rows) {
        EXPECT_EQ(Refused(Config(Name(), section)), line) << section;
    }
}

TEST_P(LaunchedProgramsTest, AProgramWithABrokenEntryIsLeftOutAndTheOthersStay) {
    LaunchedPrograms settings;
    EXPECT_EQ(Taken(Config(Name(), Section("process", R"(["gone","planner","broken"])"),
                           R"({"broken":{"bin_path":"x"},"planner":)" + std::string(kEntry) + "}"),
                    settings),
              Head() + "Process run setting missing for process:gone!\n" + Head() +
                  "Skipping this process!\n" + Head() +
                  "Env_variables missing for process:broken!\n" + Head() +
                  "Skipping this process!\n");
    EXPECT_THAT(settings.programs, ElementsAre(Pair("planner", testing::_)));
}

TEST_P(LaunchedProgramsTest, NoProgramNeedRemain) {
    LaunchedPrograms settings;
    EXPECT_EQ(Taken(Config(Name(), Section("process", R"(["gone"])"), "{}"), settings),
              Head() + "Process run setting missing for process:gone!\n" + Head() +
                  "Skipping this process!\n");
    EXPECT_THAT(settings.programs, IsEmpty());
}

TEST_P(LaunchedProgramsTest, TheCheckHoldsToTheDeclaredKeys) {
    ExpectKeysHold(Name(), LaunchedProgramsKeys(), Config(Name(), Section()),
                   [](const JsonDocument& config) {
                       LaunchedPrograms settings;
                       return ReadLaunchedPrograms(config, Name(), GetParam().words, settings);
                   });
}

constexpr const char* kRecorder = "CallGrindCollector";

std::string SaidOfProcesses(const std::string& text, RunningProcesses& settings, bool expected) {
    return Said(ReadRunningProcesses, text, kRecorder, kCallGrindWords, settings, expected);
}

TEST(RunningProcessesTest, NeedsNoLaunchSetting) {
    RunningProcesses settings;
    EXPECT_EQ(SaidOfProcesses(ConfigOf(kRecorder, Section()), settings, true), "");
    EXPECT_EQ(settings.duration, 3U);
    EXPECT_THAT(settings.names, ElementsAre("planner", "camera"));
}

TEST(RunningProcessesTest, WhatIsMissingOrOfAWrongTypeIsToldInItsOrder) {
    const std::string noList =
        "[CallGrindCollector] Process list for CallGrindCollector does not exist!\n";
    const std::string number =
        "[CallGrindCollector] Invalid CallGrindCollector duration param type! Should be uint "
        "type!\n";
    const std::pair<std::string, std::string> rows[] = {
        {"{}", noList},
        {Section("process"), noList},
        {R"({"process":1})",
         "[CallGrindCollector] Invalid CallGrindCollector process param type! Should be array "
         "type!\n"},
        {R"({"process":[]})",
         "[CallGrindCollector] Duration setting for CallGrindCollector does not exist!\n"},
        {R"({"process":[],"duration":-1})",
         "[CallGrindCollector] CallGrindCollector process array is empty!\n"},
        {R"({"process":["planner",{}],"duration":-1})",
         "[CallGrindCollector] Invalid CallGrindCollector process type (process)! Should be string "
         "type!\n"},
        {Section("duration", "-1"), number},
        {Section("duration", "null"), number},
    };
    for (const auto& [section, line] : rows) {
        RunningProcesses settings;
        EXPECT_EQ(SaidOfProcesses(ConfigOf(kRecorder, section), settings, false), line) << section;
    }
    RunningProcesses settings;
    EXPECT_EQ(SaidOfProcesses("{}", settings, false),
              "[CallGrindCollector] CallGrindCollector param does not exist!\n");
}

TEST(RunningProcessesTest, TheCheckHoldsToTheDeclaredKeys) {
    ExpectKeysHold(kRecorder, RunningProcessesKeys(), ConfigOf(kRecorder, Section()),
                   [](const JsonDocument& config) {
                       RunningProcesses settings;
                       return ReadRunningProcesses(config, kRecorder, kCallGrindWords, settings);
                   });
}

}  // namespace
}  // namespace zarn::test
