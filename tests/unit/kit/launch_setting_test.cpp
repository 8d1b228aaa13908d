#include "kit/launch_setting.h"

#include <gmock/gmock.h>

#include <functional>

#include "tests/support/captured_streams.h"
#include "tests/support/section_config.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

const SectionKeys kWhole = {{"bin_path", "\"/opt/app/planner -v\""},
                            {"env_variables", R"({"B":"two words","A":""})"},
                            {"rungate", "true"},
                            {"rungate_alloc_group", "\"fast\""}};

// A configuration that tells of the program "planner" alone.
JsonDocument ConfigWith(const std::string& program) {
    return ParsedConfigOf("ProcessRunSetting", ConfigOf("planner", program));
}

std::string Entry(const std::string& changedKey = "", const std::string& value = "") {
    return SectionText(kWhole, changedKey, value);
}

// What a check says of the program; "" if nothing.
using Check = std::function<bool(const JsonDocument&, const std::string&, const std::string&)>;
std::string Said(const Check& check, const JsonDocument& config,
                 const std::string& name = "planner") {
    bool good = false;
    const Captured said = Capture([&] { good = check(config, name, "Tag"); });
    EXPECT_EQ(said.out, "");
    EXPECT_EQ(good, said.err.empty());
    return said.err;
}

TEST(LaunchSettingTest, AWholeEntryIsAcceptedAndRead) {
    const JsonDocument config = ConfigWith(Entry());
    EXPECT_EQ(Said(CheckProcessRunSetting, config), "");
    const LaunchSetting setting = ReadLaunchSetting(config, "planner");
    EXPECT_EQ(setting.binPath, "/opt/app/planner -v");
    EXPECT_THAT(setting.exports, ElementsAre("export B=two words", "export A="));
    EXPECT_THAT(setting.allocationGroup, Optional(std::string("fast")));
}

TEST(LaunchSettingTest, NeitherVariablesNorLauncherAreNeeded) {
    const JsonDocument config = ConfigWith(R"({"bin_path":"planner","env_variables":{}})");
    EXPECT_EQ(Said(CheckProcessRunSetting, config), "");
    const LaunchSetting setting = ReadLaunchSetting(config, "planner");
    EXPECT_THAT(setting.exports, IsEmpty());
    EXPECT_EQ(setting.allocationGroup, std::nullopt);
    EXPECT_EQ(LaunchCommand(setting, "valgrind --log "), "valgrind --log planner");
}

TEST(LaunchSettingTest, WhatIsMissingIsToldInItsOrder) {
    const std::string notPaired =
        "[Tag] Rungate setting of process:planner is not paired, please set \"rungate\" and "
        "\"rungate_alloc_group\" at the same time or delete both of them!\n";
    const std::pair<std::string, std::string> rows[] = {
        {"{}", "[Tag] Bin path missing for process:planner!\n"},
        {Entry("bin_path"), "[Tag] Bin path missing for process:planner!\n"},
        {R"({"bin_path":1,"rungate":true})", notPaired},
        {Entry("rungate"), notPaired},
        {Entry("rungate_alloc_group"), notPaired},
        {Entry("env_variables"), "[Tag] Env_variables missing for process:planner!\n"},
    };
    for (const auto& [entry, line] : rows) {
        EXPECT_EQ(Said(CheckRunSettingPresence, ConfigWith(entry)), line) << entry;
        EXPECT_EQ(Said(CheckProcessRunSetting, ConfigWith(entry)), line) << entry;
    }
}

TEST(LaunchSettingTest, AProgramThatTheSectionDoesNotNameIsTold) {
    const JsonDocument config = ConfigWith(Entry());
    for (const std::string name : {"camera", "plan", "planner2", ""}) {
        EXPECT_EQ(Said(CheckProcessRunSetting, config, name),
                  "[Tag] Process run setting missing for process:" + name + "!\n");
    }
    const std::string longer("planner\0x", 9);
    EXPECT_EQ(Said(CheckProcessRunSetting, config, longer),
              "[Tag] Process run setting missing for process:" + longer + "!\n");
}

// The two lines about the environment have no blank behind the name, and no sign at their end.
TEST(LaunchSettingTest, WrongTypesAreToldInTheirOrder) {
    const std::string value =
        "[Tag] Env_variables value of process:planneris not string, please set it to string type\n";
    const std::string group =
        "[Tag] Rungate_alloc_group setting of process:planner is not string, please set it to "
        "string type!\n";
    const std::string launcher =
        "[Tag] Rungate setting of process:planner is not bool, please set it to bool type!\n";
    const std::string variables =
        "[Tag] Env_variables setting of process:planner is not object, please set it to be an "
        "object!\n";
    const std::string path =
        "[Tag] Bin path of process:planner is not string, please set a string type path!\n";
    const std::pair<std::string, std::string> rows[] = {
        {R"({"bin_path":1,"rungate":1,"rungate_alloc_group":1,"env_variables":1})", path},
        {Entry("bin_path", "[\"planner\"]"), path},
        {R"({"bin_path":"x","rungate":1,"rungate_alloc_group":1,"env_variables":1})", launcher},
        {Entry("rungate", "\"true\""), launcher},
        {R"({"bin_path":"x","rungate":true,"rungate_alloc_group":1,"env_variables":1})", group},
        {Entry("rungate_alloc_group", "null"), group},
        {Entry("env_variables", "[]"), variables},
        {Entry("env_variables", "\"A=1\""), variables},
        {Entry("env_variables", R"({"A":"1","B":2})"), value},
        {Entry("env_variables", R"({"A":null})"), value},
        {Entry("env_variables", R"({"A":{}})"), value},
    };
    for (const auto& [entry, line] : rows) {
        EXPECT_EQ(Said(CheckRunSettingPresence, ConfigWith(entry)), "") << entry;
        EXPECT_EQ(Said(CheckRunSettingTypes, ConfigWith(entry)), line) << entry;
        EXPECT_EQ(Said(CheckProcessRunSetting, ConfigWith(entry)), line) << entry;
    }
}

// That the key is there decides, not what it says.
TEST(LaunchSettingTest, ALauncherThatIsSwitchedOffIsUsedAllTheSame) {
    const JsonDocument config = ConfigWith(Entry("rungate", "false"));
    EXPECT_EQ(Said(CheckProcessRunSetting, config), "");
    EXPECT_EQ(LaunchCommand(ReadLaunchSetting(config, "planner"), "tool --out=f "),
              "export B=two words && export A= && "
              "rungate tool --out=f /opt/app/planner -v --allocGroup=fast");
}

TEST(LaunchSettingTest, NothingIsQuoted) {
    LaunchSetting setting;
    setting.binPath = "'/opt/my app' \"$(id)\" *\n#";
    setting.exports = {"export A=$HOME `x`", "export B C='\n"};
    EXPECT_EQ(LaunchCommand(setting, ""),
              "export A=$HOME `x` && export B C='\n && '/opt/my app' \"$(id)\" *\n#");
    setting.allocationGroup = "a b";
    setting.exports.clear();
    EXPECT_EQ(LaunchCommand(setting, "t "),
              "rungate t '/opt/my app' \"$(id)\" *\n# --allocGroup=a b");
}

TEST(LaunchSettingTest, AVariableIsExportedAsOftenAsItIsWritten) {
    const JsonDocument config =
        ConfigWith(R"({"bin_path":"a","bin_path":"b","env_variables":{"A":"1","":"2","A":"3"}})");
    EXPECT_EQ(Said(CheckProcessRunSetting, config), "");
    EXPECT_EQ(LaunchCommand(ReadLaunchSetting(config, "planner"), ""),
              "export A=1 && export =2 && export A=3 && a");
}

TEST(LaunchSettingTest, EnormousEntriesAreReadWhole) {
    const std::string most(16U << 20U, 'x');
    std::string variables;
    for (int i = 0; i < 100000; ++i) {
        variables += (i == 0 ? "" : ",") + ("\"V" + std::to_string(i) + "\":\"v\"");
    }
    const JsonDocument config =
        ConfigWith(R"({"bin_path":")" + most + R"(","env_variables":{)" + variables + "}}");
    EXPECT_EQ(Said(CheckProcessRunSetting, config), "");
    const LaunchSetting setting = ReadLaunchSetting(config, "planner");
    EXPECT_EQ(setting.binPath, most);
    EXPECT_EQ(setting.exports.size(), 100000U);
}

// No line is about a section or an entry of another type: the JSON library ends the process.
TEST(LaunchSettingDeathTest, WhatIsNoObjectEndsTheProcess) {
    for (const char* text : {"[]", "1", "null", "\"planner\""}) {
        EXPECT_DEATH((void)CheckProcessRunSetting(ParsedConfigOf("ProcessRunSetting", text),
                                                  "planner", "Tag"),
                     "IsObject");
        EXPECT_DEATH((void)CheckProcessRunSetting(ConfigWith(text), "planner", "Tag"), "IsObject");
    }
}

}  // namespace
}  // namespace zarn::test
