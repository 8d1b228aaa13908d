#include "report/together.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "formats/cpu.h"
#include "formats/hot_fun.h"
#include "tests/unit/report/shown.h"

namespace zarn::report {
namespace {

using test::kFrom;
using test::RunTree;
using test::Shown;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(TogetherPageTest, LaysTheLinesOfRunsOverOneAnother) {
    const RunTree first;
    const RunTree second;
    const std::string name = RunTree::NameOf(cpu_files::kLoadingTable);
    first.Write(name, "happen_time,total,Cpu0,total,\n'20260101000000000,1,2,9,\n");
    second.Write(name, "happen_time,Cpu9,total,\n'20260101000001000,4,3,\n");
    const Shown shown(std::vector{first.Path(), second.Path()});
    const std::string title = "Load of the system and of each core";
    EXPECT_THAT(shown.Titles("together"), ElementsAre(title));
    EXPECT_THAT(shown.Lines("together", title, kFrom), ElementsAre("total: 0=1", "total: 1000=3"));
    const JsonValue& lines = shown.Block("together", title)["series"];
    EXPECT_EQ(lines[0]["run"].GetInt(), 0);
    EXPECT_EQ(lines[1]["run"].GetInt(), 1);
}

TEST(TogetherPageTest, ShowsNoMoreLinesThanCanBeToldApart) {
    const std::string name = RunTree::NameOf(cpu_files::kLoadingTable);
    const std::vector<RunTree> trees(3);
    std::vector<std::string> paths;
    for (const RunTree& tree : trees) {
        const bool isFirst = paths.empty();
        tree.Write(name, isFirst ? "happen_time,total,\n'20260101000000000,1,\n"
                                 : "happen_time,total,a,b,c,d,e,f,g,\n"
                                   "'20260101000000000,1,1,1,1,1,1,1,1,\n");
        paths.push_back(tree.Path());
    }
    const Shown shown(paths);
    const JsonValue& block = shown.Block("together", "Load of the system and of each core");
    std::string names;
    for (const JsonValue& line : block["series"].GetArray()) {
        names += line["name"].GetString() + std::string(" ");
    }
    EXPECT_EQ(names, "total total total a a b b c c d d ");
    EXPECT_STREQ(
        block["note"].GetString(),
        "These are the first 5 of 8 lines that runs have in common; their own pages have all.");
}

TEST(TogetherPageTest, IsNotThereWhereRunsHaveNothingInCommon) {
    const RunTree first;
    const RunTree second;
    first.Write(RunTree::NameOf(cpu_files::kLoadingTable),
                "happen_time,total,\n'20260101000000000,1,\n");
    EXPECT_THAT(Shown(first).Titles("together"), IsEmpty());
    EXPECT_THAT(Shown(std::vector{first.Path(), second.Path()}).Titles("together"), IsEmpty());
}

// "name value delta (child, ...)".
std::string TextOf(const FlameNode& node) {
    std::string children;
    for (const FlameNode& child : node.children) {
        children += (children.empty() ? "" : ", ") + TextOf(child);
    }
    return node.name + " " + std::to_string(static_cast<int>(node.value)) + " " +
           std::to_string(static_cast<int>(node.delta.value_or(-1000))) +
           (children.empty() ? "" : " (" + children + ")");
}

TEST(TogetherPageTest, TellsWhatSharesOfStacksDifferBy) {
    const FlameNode first{"all", 4, {}, {{"a", 3, {}, {{"b", 1, {}, {}}}}, {"c", 1, {}, {}}}};
    const FlameNode second{"all", 2, {}, {{"a", 1, {}, {}}, {"d", 1, {}, {}}}};
    EXPECT_EQ(TextOf(DifferenceOfStacks(first, second)),
              "all 6 0 (a 4 -25 (b 1 -25), c 1 -25, d 1 50)");
    EXPECT_EQ(TextOf(DifferenceOfStacks({"all", 0, {}, {}}, second)), "all 2 100 (a 1 50, d 1 50)");
}

TEST(TogetherPageTest, PairsRecordingsOfAProcessWhateverItsPid) {
    const RunTree first;
    const RunTree second;
    const auto nameFor = [](const char* pid) {
        return hot_fun_files::kRawDir +
               hot_fun_files::RawName(hot_fun_files::ProcessTag("worker", pid), "1") +
               hot_fun_files::kScriptSuffix;
    };
    first.Write(nameFor("7"), "w 7 1.0: 5 cycles: \n\t 1 f (/bin/w)\n\n");
    second.Write(nameFor("8"), "w 8 1.0: 5 cycles: \n\t 1 g (/bin/w)\n\n");
    EXPECT_THAT(Shown(std::vector{first.Path(), second.Path()}).Titles("together"),
                ElementsAre("Stacks of process_worker: difference"));
}

}  // namespace
}  // namespace zarn::report
