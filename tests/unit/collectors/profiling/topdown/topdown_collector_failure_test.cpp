#include <gmock/gmock.h>

#include <csignal>

#include "tests/support/section_config.h"
#include "tests/unit/collectors/profiling/topdown/topdown_collector_fixture.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kCounters = "2.0;100;;r11;1;2;;\n";
constexpr const char* kNoFile =
    "[TopdownCollector] Cannot find result file, check your config about topdown.\n"
    "[TopdownCollector] Cannot get cpu event data.\n"
    "[TopdownCollector] Cannot parse raw data file.\n";
constexpr const char* kStarted = "[TopdownCollector] Collecting TopdownCollector raw data!\n";

TEST_F(TopdownCollectorTest, ProcessesThatAreNotOneAreSkipped) {
    PerfLeaves(kCounters);
    runner.On("pidof gone", "").On("pidof twins", "12 34\n").On("pidof one", "56\n");
    runner.Refuse("pidof unstartable");
    const Captured said = Run(R"(["process"])", "[]", R"(["gone","twins","unstartable","one"])");
    EXPECT_TRUE(result);
    const std::string head =
        "[TopdownCollector] Target process gone does not exist! Skipping this process!\n"
        "[TopdownCollector] Target process twins does not exist! Skipping this process!\n"
        "[zarn_utils] Failed to popen command!\n"
        "[TopdownCollector] Failed to get the pid of unstartable! Skipping this process!\n";
    EXPECT_EQ(said.err.substr(0, head.size()), head);
    const std::string raw = std::string("topdown_process_one_") + kFirst + ".log";
    EXPECT_EQ(runner.Commands().back(), PerfCommand("-p 56 ", raw));
    EXPECT_EQ(said.out, OutputFor({raw}));
}

TEST_F(TopdownCollectorTest, WithoutAProcessTheMissionFails) {
    Captured said = Run(R"(["global","process"])", "[]", R"(["gone"])");
    EXPECT_TRUE(checked);
    EXPECT_FALSE(result);
    EXPECT_EQ(said.out, "");
    EXPECT_EQ(said.err,
              "[TopdownCollector] Target process gone does not exist! Skipping this process!\n"
              "[TopdownCollector] job (process) is empty!\n"
              "[TopdownCollector] Failed to set topdown option!\n");
    EXPECT_THAT(runner.Commands(), ElementsAre("pidof gone"));
    said = Run(R"(["process"])", "[]", "[]");
    EXPECT_EQ(said.err,
              "[TopdownCollector] job (process) is empty!\n"
              "[TopdownCollector] Failed to set topdown option!\n");
    EXPECT_FALSE(tree.Has("raw_data/topdown"));
    EXPECT_FALSE(tree.Has("env_info/time_cost.log"));
}

TEST_F(TopdownCollectorTest, WithoutACoreTheMissionFails) {
    const Captured said = Run(R"(["core"])", "[]");
    EXPECT_FALSE(result);
    EXPECT_EQ(said.err,
              "[TopdownCollector] job (core) is empty!\n"
              "[TopdownCollector] Failed to set topdown option!\n");
    EXPECT_THAT(runner.Commands(), IsEmpty());
}

TEST_F(TopdownCollectorTest, CoresAreNotHeldAgainstTheMachine) {
    PerfLeaves(kCounters);
    (void)Run(R"(["core"])", "[4294967295]");
    EXPECT_TRUE(result);
    EXPECT_THAT(runner.Commands(),
                ElementsAre(PerfCommand(
                    "-C 4294967295 ", std::string("topdown_core_4294967295_") + kFirst + ".log")));
}

TEST_F(TopdownCollectorTest, WithoutItsDirectoryTheMissionFails) {
    tree.PutInTheWay("raw_data/topdown");
    const Captured said = Run(R"(["global"])");
    EXPECT_FALSE(result);
    EXPECT_THAT(said.err,
                testing::EndsWith("[TopdownCollector] Cannot create topdown collect directory!\n"));
    EXPECT_THAT(runner.Commands(), IsEmpty());
}

TEST_F(TopdownCollectorTest, APerfThatFailsIsToldAndItsFilesAreMissed) {
    runner.On("perf stat", "", 256).On("pidof", "41\n");
    const Captured said = Run(R"(["global","core","process"])", "[0,1]", R"(["p"])");
    EXPECT_TRUE(result);
    const std::string none = kNoFile;
    const std::string create = none + "[TopdownCollector] Fail to create json: ";
    const std::string second = std::string("_1_") + kSecond + ".data\n";
    EXPECT_EQ(said.err,
              "[TopdownCollector] Fail to collect global info!\n"
              "[TopdownCollector] Fail to collect core 0 info!\n"
              "[TopdownCollector] Fail to collect core 1 info!\n"
              "[TopdownCollector] Fail to collect process p info!\n" +
                  // The system's by its counter file, the others by their documents.
                  create + "topdown_global_" + kFirst + ".log\n" + create +
                  "soc_topdown_core_info_core0" + second + create + "soc_topdown_core_info_core1" +
                  second + create + "soc_topdown_process_info_processp_1_" + kThird + ".data\n");
    EXPECT_THAT(tree.NamesIn("json"), IsEmpty());
    EXPECT_TRUE(tree.Has("env_info/time_cost.log"));
}

TEST_F(TopdownCollectorTest, APerfThatIsKilledBesideItsFileIsToldAndTheFileCounts) {
    PerfLeaves(kCounters);
    runner.On("perf stat", "", SIGKILL);
    const Captured said = Run(R"(["global"])");
    EXPECT_TRUE(result);
    EXPECT_EQ(said.err.find("[TopdownCollector] Fail to collect global info!\n"), 0U);
    EXPECT_NE(Document(std::string("soc_topdown_global_info_1_") + kFirst + ".data"), "");
}

TEST_F(TopdownCollectorTest, APerfWithoutAFailureOrAFileIsMissedTheSame) {
    const Captured said = Run(R"(["global"])");
    EXPECT_TRUE(result);
    EXPECT_EQ(said.err, std::string(kNoFile) +
                            "[TopdownCollector] Fail to create json: topdown_global_" + kFirst +
                            ".log\n");
}

TEST_F(TopdownCollectorTest, AFileThatIsNoneIsMissedTheSame) {
    runner.Before("perf stat", [this](const std::string& /*command*/) {
        tree.MakeFolder(std::string("raw_data/topdown/topdown_global_") + kFirst + ".log");
    });
    EXPECT_EQ(Run(R"(["global"])").err.find(kNoFile), 0U);
    EXPECT_TRUE(result);
}

TEST_F(TopdownCollectorTest, AJobWithoutATimeDoesNothing) {
    PerfLeaves(kCounters);
    runner.On("pidof", "41\n");
    for (const auto& [failing, raw] :
         std::initializer_list<std::pair<int, std::vector<std::string>>>{
             {0, {"topdown_core_0_", "topdown_process_p_"}},
             {1, {"topdown_global_", "topdown_process_p_"}},
             {2, {"topdown_global_", "topdown_core_0_"}}}) {
        host.ticks = 0;
        host.failingTick = failing;
        const Captured said = Run(R"(["global","core","process"])", "[0]", R"(["p"])");
        EXPECT_TRUE(result);
        EXPECT_EQ(said.err.find("[TopdownCollector] Failed to get time stamp!\n"), 0U);
        std::size_t analyzed = 0;
        for (std::size_t at = said.out.find("Analyzing"); at != std::string::npos;
             at = said.out.find("Analyzing", at + 1)) {
            EXPECT_NE(said.out.find("raw_data/topdown/" + raw.at(analyzed++), at),
                      std::string::npos);
        }
        EXPECT_EQ(analyzed, 2U);
    }
}

struct Stop {
    const char* before;  // what runs when the interrupt comes
    const char* words;
    std::size_t measured;  // commands of perf that ran
};

TEST_F(TopdownCollectorTest, AnInterruptIsSeenBeforeEachJob) {
    const std::initializer_list<Stop> stops = {
        {"pidof",
         "[TopdownCollector] Recieved stop signal, (global, core, process) job not "
         "collected!\n",
         0},
        // The job in hand is brought to its end.
        {"perf stat -x",
         "[TopdownCollector] Recieved stop signal, (core, process) job not "
         "collected!\n",
         1},
        {"-C 0", "[TopdownCollector] Recieved stop signal, (process) job not collected!\n", 3},
    };
    for (const Stop& stop : stops) {
        FakeHost fresh;
        fresh.runner.On("pidof", "41\n").Before(stop.before, [this](const std::string&) {
            stopFlag = 1;
        });
        stopFlag = 0;
        const JsonDocument config =
            ParsedConfigOf("TopdownCollector",
                           R"({"job":["global","core","process"],"core":[0,1],"process":["p"],)"
                           R"("duration":1})");
        TopdownCollector collector(TopdownCollector::kName, fresh.Get());
        const Captured said =
            Capture([&] { EXPECT_FALSE(collector.Start(config, tree.Path(), &stopFlag)); });
        EXPECT_EQ(said.out, std::string(kStarted) + stop.words);
        EXPECT_EQ(said.err, "[TopdownCollector] Failed to collect topdown!\n");
        EXPECT_EQ(fresh.runner.Commands().size(), 1 + stop.measured);
        EXPECT_THAT(tree.NamesIn("json"), IsEmpty());
    }
}

TEST_F(TopdownCollectorTest, AnInterruptDuringTheLastJobStopsNothing) {
    PerfLeaves(kCounters);
    runner.Before("perf stat", [this](const std::string& /*command*/) { stopFlag = 1; });
    (void)Run(R"(["core"])", "[0,1]");
    EXPECT_TRUE(result);
    EXPECT_NE(Document(std::string("soc_topdown_core_info_core1_1_") + kFirst + ".data"), "");
}

TEST_F(TopdownCollectorTest, ADocumentThatCannotBeWrittenIsTold) {
    PerfLeaves("2.0;1;;r99\n");
    tree.Remove("json");
    const Captured said = Run(R"(["global"])");
    EXPECT_TRUE(result);
    EXPECT_THAT(said.err,
                testing::EndsWith("[zarn_utils] Cannot open outfile, check your filePath.\n"));
    EXPECT_THAT(said.out, testing::EndsWith("JSON data storage!\n"));
}

using TopdownCollectorDeathTest = TopdownCollectorTest;

TEST_F(TopdownCollectorDeathTest, ElementsOfAWrongTypeEndTheProcess) {
    runner.On("pidof", "41\n");
    for (const auto& [job, cores, processes] :
         std::initializer_list<std::tuple<const char*, const char*, const char*>>{
             {R"(["core"])", R"(["0"])", "[]"},
             {R"(["core"])", "[-1]", "[]"},
             {R"(["core"])", "0", "[]"},
             {R"(["process"])", "[]", "[1]"},
             {R"(["process"])", "[]", R"("p")"}}) {
        EXPECT_EXIT((void)Run(job, cores, processes), testing::KilledBySignal(SIGABRT), "");
    }
}

}  // namespace
}  // namespace zarn::test
