#include "kit/process_id.h"

#include <gmock/gmock.h>

#include "tests/support/captured_streams.h"
#include "tests/support/fake_runner.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::Optional;

constexpr ProcessIdWords kWords = {{"No answer for ", "! Left out!"}, {"No ", " here! Left out!"}};

struct Outcome {
    std::optional<std::string> id;
    std::string err;
};

Outcome Find(FakeRunner& runner, const std::string& name = "planner") {
    Outcome outcome;
    const Captured said = Capture([&] { outcome.id = FindProcessId(name, kWords, runner); });
    EXPECT_EQ(said.out, "");
    outcome.err = said.err;
    return outcome;
}

TEST(ProcessIdTest, TheOneProcessOfANameIsFound) {
    FakeRunner runner;
    runner.On("pidof planner", "1234\n");
    const Outcome found = Find(runner);
    EXPECT_THAT(found.id, Optional(std::string("1234")));
    EXPECT_EQ(found.err, "");
    EXPECT_THAT(runner.Commands(), ElementsAre("pidof planner"));
}

TEST(ProcessIdTest, NoProcessSeveralAndOtherTextsArePassedOver) {
    // An empty answer has no last byte to cut.
    for (const char* answer : {"", "\n", "12 34\n", "pidof: not found\n", "-1\n", "12\t\n", "x"}) {
        FakeRunner runner;
        runner.On("pidof", answer);
        const Outcome found = Find(runner);
        EXPECT_EQ(found.id, std::nullopt) << answer;
        EXPECT_EQ(found.err, "No planner here! Left out!\n") << answer;
    }
}

TEST(ProcessIdTest, APidofThatCannotBeStartedHasItsOwnLine) {
    FakeRunner runner;
    runner.Refuse("pidof");
    const Outcome found = Find(runner, "");
    EXPECT_EQ(found.id, std::nullopt);
    EXPECT_EQ(found.err, "[zarn_utils] Failed to popen command!\nNo answer for ! Left out!\n");
}

TEST(ProcessIdTest, TheLastByteIsNeverPartOfThePid) {
    FakeRunner runner;
    runner.On("pidof", "1234");
    EXPECT_THAT(Find(runner).id, Optional(std::string("123")));
}

TEST(ProcessIdTest, OfSeveralLinesTheFirstCounts) {
    for (const char* answer : {"12\r\n", "12\n34\n", "12\r34\n"}) {
        FakeRunner runner;
        runner.On("pidof", answer);
        EXPECT_THAT(Find(runner).id, Optional(std::string("12"))) << answer;
    }
    FakeRunner runner;
    runner.On("pidof", "\n34\n");
    EXPECT_THAT(Find(runner).id, Optional(std::string()));
}

}  // namespace
}  // namespace zarn::test
