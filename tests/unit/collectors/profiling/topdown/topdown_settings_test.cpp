#include "collectors/profiling/topdown/topdown_settings.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/captured_streams.h"
#include "tests/support/fake_runner.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::Pair;

struct Verdict {
    bool good = false;
    std::string err;
};

template <typename Check>
Verdict Judge(const std::string& text, Check check) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(text, config)) << text;
    Verdict verdict;
    const Captured said = Capture([&] { verdict.good = check(config); });
    EXPECT_EQ(said.out, "");
    verdict.err = said.err;
    return verdict;
}

TEST(TopdownSettingsTest, ASectionHasAllKeysWhateverTheyHold) {
    const auto open = [](const JsonDocument& config) {
        return OpenTopdownSection(config) != nullptr;
    };
    const std::string missing =
        "[TopdownCollector]: Error occurs: [TopdownCollector] TopdownCollector param is missing!\n";
    for (const char* text : {
             "{}",
             R"({"TopdownCollector":{}})",
             R"({"TopdownCollector":{"process":0,"core":0,"duration":0}})",
             R"({"TopdownCollector":{"job":0,"core":0,"duration":0}})",
             R"({"TopdownCollector":{"job":0,"process":0,"duration":0}})",
             R"({"TopdownCollector":{"job":0,"process":0,"core":0}})",
         }) {
        const Verdict verdict = Judge(text, open);
        EXPECT_FALSE(verdict.good) << text;
        EXPECT_EQ(verdict.err, missing) << text;
    }
    EXPECT_TRUE(
        Judge(R"({"TopdownCollector":{"job":0,"process":0,"core":0,"duration":0}})", open).good);
}

// Each text is what a check says of a section; an empty one, that it takes it.
template <typename Check>
void ExpectLines(const std::vector<std::pair<const char*, std::string>>& rows, Check check) {
    for (const auto& [text, line] : rows) {
        const Verdict verdict = Judge(text, check);
        EXPECT_EQ(verdict.good, line.empty()) << text;
        EXPECT_EQ(verdict.err, line.empty() ? "" : line + "\n") << text;
    }
}

TEST(TopdownSettingsTest, ProcessesAreTexts) {
    const std::string type =
        "[TopdownCollector] Invalid TopdownCollector process type (process)! Should be string "
        "type!";
    ExpectLines(
        {
            {"{}", "[TopdownCollector] TopdownCollector process param missing!"},
            {R"({"process":"a"})",
             "[TopdownCollector] Invalid TopdownCollector param type (process)! Should be array "
             "type!"},
            {R"({"process":["a",1]})", type},
            {R"({"process":[null]})", type},
            {R"({"process":["a",""]})", ""},
            {R"({"process":[]})", ""},
        },
        CheckTopdownProcess);
}

TEST(TopdownSettingsTest, CoresAreNumbersThatTheMachineHas) {
    FakeRunner runner;
    runner.On("/proc/cpuinfo", "4\n");
    const std::string type =
        "[TopdownCollector] Invalid TopdownCollector param type (core)! Should be uint type!";
    ExpectLines(
        {
            {"{}", "[TopdownCollector] TopdownCollector core param missing!"},
            {R"({"core":0})",
             "[TopdownCollector] Invalid TopdownCollector param type (core)! Should be array "
             "type!"},
            {R"({"core":[0,"1"]})", type},
            {R"({"core":[-1]})", type},
            {R"({"core":[1.0]})", type},
            {R"({"core":[4294967296]})", type},
            {R"({"core":[3,4]})",
             "[zarn_utils] Invalid coreID value: 4, it should less than 4 !\n"
             "[TopdownCollector] Invalid TopdownCollector core 4 !"},
            {R"({"core":[0,3,3]})", ""},
            {R"({"core":[]})", ""},
        },
        [&runner](const JsonValue& section) { return CheckTopdownCore(section, runner); });
}

TEST(TopdownSettingsTest, TheDurationIsANumberOfSeconds) {
    const std::string type =
        "[TopdownCollector] Invalid TopdownCollector param type (duration)! Should be uint type!";
    ExpectLines(
        {
            {"{}", "[TopdownCollector] TopdownCollector duration param not exist!"},
            {R"({"duration":"1"})", type},
            {R"({"duration":-1})", type},
            {R"({"duration":1.0})", type},
            {R"({"duration":4294967296})", type},
            {R"({"duration":0})", ""},
            {R"({"duration":4294967295})", ""},
        },
        CheckTopdownDuration);
}

TopdownJobs NoJobs() {
    return {{"core", false}, {"process", false}, {"global", false}};
}

TEST(TopdownSettingsTest, AJobListThatCannotBeHasItsLine) {
    const std::string absent = "[TopdownCollector] TopdownCollector job param not exist!";
    const std::string unknown =
        "[TopdownCollector] Illegal job! Should be chosen from [global, core, process]!";
    ExpectLines(
        {
            {"{}", absent},
            {R"({"TopdownCollector":{}})", absent},
            {R"({"TopdownCollector":{"job":"global"}})",
             "[TopdownCollector] Invalid TopdownCollector param type! Should be array type!"},
            {R"({"TopdownCollector":{"job":[]}})", "[TopdownCollector] The job cannot be empty!"},
            {R"({"TopdownCollector":{"job":["global",1]}})",
             "[TopdownCollector] Illegal job type!"},
            {R"({"TopdownCollector":{"job":["global","cores"]}})", unknown},
            {R"({"TopdownCollector":{"job":["Global"]}})", unknown},
            {R"({"TopdownCollector":{"job":["core\u0000"]}})", unknown},
            {R"({"TopdownCollector":{"job":["global"]}})", ""},
        },
        [](const JsonDocument& config) {
            TopdownJobs jobs = NoJobs();
            return ReadTopdownJobs(config, jobs);
        });
}

TEST(TopdownSettingsTest, JobsAreSetUpToTheOneThatCannotBe) {
    TopdownJobs jobs = NoJobs();
    const auto read = [&jobs](const JsonDocument& config) { return ReadTopdownJobs(config, jobs); };
    EXPECT_FALSE(Judge(R"({"TopdownCollector":{"job":["core",0,"global"]}})", read).good);
    EXPECT_THAT(jobs,
                ElementsAre(Pair("core", true), Pair("global", false), Pair("process", false)));
    EXPECT_TRUE(Judge(R"({"TopdownCollector":{"job":["global","core","global"]}})", read).good);
    EXPECT_THAT(jobs,
                ElementsAre(Pair("core", true), Pair("global", true), Pair("process", false)));
}

}  // namespace
}  // namespace zarn::test
