#include <gmock/gmock.h>

#include "tests/unit/mission/manager_fixture.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class HistoryPathTest : public ManagerTest {
protected:
    HistoryPathTest() {
        config.analyze = R"(["A"])";
        config.optimize = R"(["B"])";
        config.compare = R"(["C"])";
        config.more = R"(, "historyDataPath": "/old/run/")";
    }

    // The run ends before the analyzers, with these lines.
    void ExpectNoHistory(const std::string& lines) {
        EXPECT_EQ(Run(config.Text()).err,
                  CreationLines(DataPath()) + NoToolVersionLine(DataPath()) + lines +
                      "[ZarnManager] get history data path failed!\n"
                      "[ZarnManager] Some Analyzer missions failed to start!\n");
        EXPECT_EQ(result, 0);
        EXPECT_THAT(Starts(), IsEmpty());
    }

    ConfigText config;
};

TEST_F(HistoryPathTest, StandsForTheRunDirectoryFromTheAnalyzersOn) {
    const Captured run = Run(config.Text());
    EXPECT_EQ(result, 1);
    EXPECT_THAT(Starts(), ElementsAre("A /old/run/", "B /old/run/", "C /old/run/"));
    EXPECT_EQ(run.err, CreationLines(DataPath()) + NoToolVersionLine(DataPath()));
    EXPECT_THAT(run.out, EndsWith("[ZarnManager] The historyDataPath is /old/run/\n"
                                  "[ZarnManager] analyzers mode A start ...\n"
                                  "[ZarnManager] The historyDataPath is /old/run/\n"
                                  "[ZarnManager] optimizers mode B start ...\n"
                                  "[ZarnManager] comparator mode C start ...\n"));
}

TEST_F(HistoryPathTest, IsUsedAsWritten) {
    config.more = R"(, "historyDataPath": "/old/run")";
    (void)Run(config.Text());
    EXPECT_EQ(Starts().front(), "A /old/run");
}

TEST_F(HistoryPathTest, IsNotAskedForWhereThisRunCollects) {
    config.more = R"(, "historyDataPath": 1)";
    config.parallel = R"(["A"])";
    EXPECT_THAT(Run(config.Text()).out, Not(HasSubstr("historyDataPath")));
    EXPECT_EQ(result, 1);
    config.parallel = "[]";
    config.serial = R"(["A"])";
    EXPECT_THAT(Run(config.Text()).out, Not(HasSubstr("historyDataPath")));
    EXPECT_EQ(result, 1);
    for (const std::string& start : Starts()) {
        EXPECT_THAT(start, EndsWith(" " + DataPath()));
    }
}

TEST_F(HistoryPathTest, IsNotAskedForWithoutAnalyzers) {
    config.analyze = "[]";
    EXPECT_THAT(Run(config.Text()).out, Not(HasSubstr("The historyDataPath is")));
    EXPECT_EQ(result, 1);
    EXPECT_THAT(Starts(), ElementsAre("B " + DataPath(), "C " + DataPath()));
}

TEST_F(HistoryPathTest, MissingEndsTheRun) {
    config.more = "";
    ExpectNoHistory("[ZarnManager] historyDataPath param not exist!\n");
}

TEST_F(HistoryPathTest, NoStringEndsTheRun) {
    config.more = R"(, "historyDataPath": ["/old/run/"])";
    ExpectNoHistory("[ZarnManager] Error occurs: Invalid mission type\n");
}

TEST_F(HistoryPathTest, MustBeReadableAndThenWritable) {
    std::vector<std::string> asked;
    for (const bool readable : {false, true}) {
        ManagerSeams seams = Seams();
        seams.readable = [&asked, readable](const std::string& path) {
            asked.push_back("read " + path);
            return path != "/old/run/" || readable;
        };
        seams.writable = [&asked](const std::string& path) {
            asked.push_back("write " + path);
            return false;
        };
        EXPECT_THAT(Run(config.Text(), seams).err,
                    EndsWith("[ZarnManager] The input historyDataPath [/old/run/] is invalid!\n"
                             "[ZarnManager] get history data path failed!\n"
                             "[ZarnManager] Some Analyzer missions failed to start!\n"));
        EXPECT_EQ(result, 0);
    }
    EXPECT_THAT(asked, ElementsAre("read " + ConfigPath(), "read /old/run/", "read " + ConfigPath(),
                                   "read /old/run/", "write /old/run/"));
}

TEST_F(HistoryPathTest, LostBeforeTheOptimizersIsToldOnStandardOutput) {
    int asked = 0;
    ManagerSeams seams = Seams();
    seams.writable = [&asked](const std::string&) { return ++asked == 1; };
    const Captured run = Run(config.Text(), seams);
    EXPECT_EQ(result, 0);
    EXPECT_THAT(run.out, EndsWith("[ZarnManager] The historyDataPath is /old/run/\n"
                                  "[ZarnManager] analyzers mode A start ...\n"
                                  "[ZarnManager] get history data path failed!\n"));
    EXPECT_THAT(run.err,
                EndsWith("[ZarnManager] The input historyDataPath [/old/run/] is invalid!\n"
                         "[ZarnManager] Some Optimizer missions failed to start!\n"));
    EXPECT_THAT(Starts(), ElementsAre("A /old/run/"));
}

}  // namespace
}  // namespace zarn::test
