#include "collectors/device/imgp/imgp_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/support/captured_streams.h"
#include "tests/support/key_check.h"

namespace zarn {
namespace {

using testing::ElementsAre;

const std::string kNoJob = "[ImgpCollector] Failed to parse job params!\n";
const std::string kNoGlobal = "[ImgpCollector] Failed to parse global params!\n";
const std::string kNoApp = "[ImgpCollector] Failed to parse app params!\n";

constexpr const char* kJobs = R"(["vpc"])";
constexpr const char* kGlobal = R"({"duration": 3})";
constexpr const char* kApp =
    R"({"path": "/opt/app", "library": "/opt/lib", "appName": "player", "params": ["-v"]})";

// A section of these members; an empty one is left out.
std::string Config(const std::string& jobs = kJobs, const std::string& global = kGlobal,
                   const std::string& app = kApp) {
    std::string text;
    for (const auto& [key, value] :
         {std::pair<std::string, std::string>{"job", jobs}, {"global", global}, {"app", app}}) {
        if (!value.empty()) {
            text.append(text.empty() ? "\"" : ",\"").append(key).append("\":").append(value);
        }
    }
    return R"({"ImgpCollector":{)" + text + "}}";
}

std::string AppConfig(const std::string& app) {
    return Config(kJobs, kGlobal, app);
}

test::Captured Read(const std::string& text, ImgpSettings& settings, bool& good) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(text, config)) << text;
    return test::Capture([&] { good = ReadImgpSettings(config, settings); });
}

std::string LacksWord(const std::string& key, const std::string& type) {
    return "[ImgpCollector] Failed to find " + key + " parameter or parameter's type is not " +
           type + "!\n";
}

TEST(ImgpSettingsTest, RefusedSettingsPrintTheirTwoLinesAndStoreNothing) {
    const std::string illegalJob =
        "[ImgpCollector] Illegal job! Should be choosen from [global, app, umap, vpc, venc, "
        "vdec]!\n";
    const std::pair<std::string, std::string> rows[] = {
        {"{}", "[ImgpCollector] Failed to find ImgpCollector!\n" + kNoJob},
        {Config(""), LacksWord("job", "array") + kNoJob},
        {Config("\"vpc\""), LacksWord("job", "array") + kNoJob},
        {Config(R"(["vpc",1])"),
         "[ImgpCollector] Illegal job type! Should be string type!\n" + kNoJob},
        {Config(R"(["vpc","VPC"])"), illegalJob + kNoJob},
        {Config(R"([""])"), illegalJob + kNoJob},
        {Config(kJobs, ""), "[ImgpCollector] Failed to find global parameter\n" + kNoGlobal},
        {Config(kJobs, "{}"), LacksWord("duration", "uint") + kNoGlobal},
        {Config(kJobs, R"({"duration":-1})"), LacksWord("duration", "uint") + kNoGlobal},
        {Config(kJobs, R"({"duration":1.5})"), LacksWord("duration", "uint") + kNoGlobal},
        {Config(kJobs, R"({"duration":4294967296})"), LacksWord("duration", "uint") + kNoGlobal},
        {AppConfig(""), "[ImgpCollector] Failed to find app parameter\n" + kNoApp},
        {AppConfig("{}"), LacksWord("path", "string") + kNoApp},
        {AppConfig(R"({"path":1})"), LacksWord("path", "string") + kNoApp},
        {AppConfig(R"({"path":""})"), LacksWord("library", "string") + kNoApp},
        {AppConfig(R"({"path":"","library":[]})"), LacksWord("library", "string") + kNoApp},
        {AppConfig(R"({"path":"","library":""})"), LacksWord("appName", "string") + kNoApp},
        {AppConfig(R"({"path":"","library":"","appName":null})"),
         LacksWord("appName", "string") + kNoApp},
        {AppConfig(R"({"path":"","library":"","appName":""})"),
         LacksWord("params", "array") + kNoApp},
        {AppConfig(R"({"path":"","library":"","appName":"","params":"-v"})"),
         LacksWord("params", "array") + kNoApp},
        {AppConfig(R"({"path":"","library":"","appName":"","params":["-v",2]})"),
         "[ImgpCollector] Illegal params type! Should be string type!\n" + kNoApp},
        // What is wrong twice is told by the first step.
        {Config(R"(["x"])", "", ""), illegalJob + kNoJob},
        {Config(kJobs, "{}", ""), LacksWord("duration", "uint") + kNoGlobal},
    };
    for (const auto& [text, words] : rows) {
        ImgpSettings settings;
        settings.duration = 7;
        bool good = true;
        const test::Captured captured = Read(text, settings, good);
        EXPECT_FALSE(good) << text;
        EXPECT_EQ(captured.err, words) << text;
        EXPECT_EQ(captured.out, "") << text;
        EXPECT_EQ(settings.duration, 7U) << text;
        EXPECT_TRUE(settings.jobs.empty()) << text;
    }
}

TEST(ImgpSettingsTest, ASectionIsReadWhole) {
    ImgpSettings settings;
    bool good = false;
    const test::Captured captured =
        Read(Config(R"(["global","app","umap","vpc","venc","vdec","vpc"])"), settings, good);
    EXPECT_TRUE(good);
    EXPECT_EQ(captured.out + captured.err, "");
    EXPECT_THAT(settings.jobs, ElementsAre("app", "global", "umap", "vdec", "venc", "vpc"));
    EXPECT_EQ(settings.duration, 3U);
    EXPECT_EQ(settings.path, "/opt/app");
    EXPECT_EQ(settings.library, "/opt/lib");
    EXPECT_EQ(settings.appName, "player");
    EXPECT_THAT(settings.params, ElementsAre("-v"));
}

TEST(ImgpSettingsTest, AnotherReadingReplacesTheFirst) {
    ImgpSettings settings;
    bool good = false;
    (void)Read(Config(), settings, good);
    (void)Read(Config("[]"), settings, good);
    EXPECT_TRUE(good);
    EXPECT_TRUE(settings.jobs.empty());
    EXPECT_THAT(settings.params, ElementsAre("-v"));
}

TEST(ImgpSettingsDeathTest, WhatIsNoObjectEndsTheProcess) {
    for (const std::string& text :
         {std::string(R"({"ImgpCollector":[1]})"), Config(kJobs, "1"), AppConfig("[]")}) {
        JsonDocument config;
        ASSERT_TRUE(ParseJson(text, config));
        ImgpSettings settings;
        EXPECT_DEATH((void)ReadImgpSettings(config, settings), "JSON assertion") << text;
    }
}

TEST(ImgpSettingsTest, TheCheckHoldsToTheDeclaredKeys) {
    test::ExpectKeysHold("ImgpCollector", ImgpCollectorKeys(), Config(),
                         [](const JsonDocument& config) {
                             ImgpSettings settings;
                             return ReadImgpSettings(config, settings);
                         });
}

}  // namespace
}  // namespace zarn
