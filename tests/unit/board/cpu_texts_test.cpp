#include "board/server/cpu_texts.h"

#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <string>

#include "board/setup/scenario_parser.h"

namespace zarn::board {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class CpuTexts : public testing::Test {
protected:
    CpuTexts() {
        EXPECT_EQ(ParseScenario(R"({"programs": [
            {"name": "a", "pipeline": {"load": 0.5, "cores": [1], "retiring": 0.6},
             "functions": {"plan_route": 3, "copy_frame": 1}}, {"name": "lazy"}]})",
                                *state_),
                  std::nullopt);
    }
    std::unique_ptr<BoardState> state_ = std::make_unique<BoardState>();
};

TEST_F(CpuTexts, TellTheTruthOfATarget) {
    const std::string text = TruthText(*state_, {0, 1}, {0, 5000});
    EXPECT_THAT(text, StartsWith("cycles: "));
    EXPECT_THAT(text, HasSubstr("\n<==: Retiring\nBackend_Bound: 0.1900\n"));
    EXPECT_THAT(text, EndsWith("\nRetiring: 0.6000\na plan_route 75.00%\na copy_frame 25.00%\n"));
}

TEST_F(CpuTexts, HaveTheSystemOfACore) {
    EXPECT_THAT(TruthText(*state_, {1, 0}, {0, 5000}), EndsWith("\nsystem - 100.00%\n"));
    EXPECT_EQ(TruthText(*state_, {0, 2}, {0, 5000}), "cycles: 0\n<==: \n");
}

TEST_F(CpuTexts, ReadTargets) {
    EXPECT_EQ(ReadTarget(*state_, "-a")->cores, 15U);
    EXPECT_EQ(ReadTarget(*state_, "-C3")->cores, 8U);
    EXPECT_EQ(ReadTarget(*state_, "-C 1")->cores, 2U);
    EXPECT_EQ(ReadTarget(*state_, "-plazy")->programs, 2U);
    for (const char* word : {"", "-", "-C", "-C16", "-Cx", "-p", "-pb", "-x", "a"}) {
        EXPECT_FALSE(ReadTarget(*state_, word)) << word;
    }
}

TEST_F(CpuTexts, ListTheAccountsOfProgramsThatHaveWorked) {
    EXPECT_EQ(AccountText(*state_), "");
    state_->accounts[0][3] = 3000000;
    state_->accounts[0][4] = 1000500;
    EXPECT_EQ(AccountText(*state_), "a plan_route 3.000 ms 74.99%\na copy_frame 1.000 ms 25.01%\n");
}

}  // namespace
}  // namespace zarn::board
