#include "board/server/function_files.h"

#include <gmock/gmock.h>

#include <map>
#include <memory>
#include <string>

#include "board/perf/program_image.h"
#include "board/setup/scenario_parser.h"
#include "tests/support/temp_dir.h"

namespace zarn::board {
namespace {

class FunctionFiles : public testing::Test {
protected:
    FunctionFiles() {
        EXPECT_EQ(ParseScenario(R"({"sched": {"processes": [
            {"name": "first", "stacks": [{"share": 1, "calls": ["outer", "inner"]}]},
            {"name": "second"}]}})",
                                *state_),
                  std::nullopt);
    }

    [[nodiscard]] const SchedPlan& Plan() const { return state_->scenario.sched; }

    std::unique_ptr<BoardState> state_ = std::make_unique<BoardState>();
};

TEST_F(FunctionFiles, HaveTheFunctionsAtTheirPlaces) {
    const std::map<std::string, CodePlace> functions = FunctionsOf(FunctionFileBytes(Plan()));
    ASSERT_EQ(functions.size(), 3U);
    std::uint64_t place = kFirstFunction;
    for (const char* name : {"main", "outer", "inner"}) {
        ASSERT_EQ(functions.count(name), 1U) << name;
        EXPECT_EQ(functions.at(name).offset, place) << name;
        EXPECT_EQ(functions.at(name).size, kFunctionSize) << name;
        place += kFunctionSize;
    }
}

TEST_F(FunctionFiles, AreLaidForEachProcess) {
    const test::TempDir folder;
    EXPECT_TRUE(LayFunctionFiles(folder.Path(), Plan()));
    for (std::uint32_t i = 0; i < 2; ++i) {
        EXPECT_EQ(test::ReadText(FunctionFilePath(folder.Path(), Plan().processes[i])),
                  FunctionFileBytes(Plan()));
    }
    EXPECT_EQ(FunctionFilePath("/b", Plan().processes[1]), "/b/tasks/second");
    (void)folder.Write("file", "");
    EXPECT_FALSE(LayFunctionFiles(folder.Path() + "file", Plan()));
}

}  // namespace
}  // namespace zarn::board
