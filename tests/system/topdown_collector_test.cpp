#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

#include "foundation/json.h"
#include "tests/support/manager_texts.h"
#include "tests/support/topdown_lines.h"
#include "tests/system/support/recorded_tools.h"
#include "tests/system/support/sandbox.h"

// Topdown collections by the built program, with a perf that leaves recorded counters, or worse.
namespace zarn::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* kSystem = R"(["global"])";
constexpr const char* kAll = R"(["global","core","process"])";
constexpr const char* kNoFile =
    "[TopdownCollector] Cannot find result file, check your config about topdown.\n"
    "[TopdownCollector] Cannot get cpu event data.\n"
    "[TopdownCollector] Cannot parse raw data file.\n"
    "[TopdownCollector] Fail to create json: ";

std::string Config(const std::string& jobs, const std::string& duration = "1") {
    ConfigText config;
    config.serial = R"(["TopdownCollector"])";
    return config.Text({{"TopdownCollector", R"({"job":)" + jobs +
                                                 R"(,"core":[0,1],"process":["frame_worker"],)"
                                                 R"("duration":)" +
                                                 duration + "}"}});
}

class TopdownCollectorRunTest : public testing::Test {
protected:
    TopdownCollectorRunTest() { AddRecordedPerf(sandbox_); }

    // A perf that runs this script, "$2" being the counter file.
    void PerfIs(const std::string& body) {
        sandbox_.Tool("perf", "all=\"$*\"\nwhile [ \"$1\" != -o ]; do shift; done\n" + body);
    }

    RunResult Run(const std::string& config) {
        RunResult run = sandbox_.Run(config);
        EXPECT_TRUE(run.Succeeded()) << run.err;
        EXPECT_EQ(run.LastLine(), "[Main] Collection jobs finished.");
        return run;
    }

    // The documents of the last run begin with these names.
    void ExpectDocuments(const std::vector<std::string>& prefixes) {
        for (const std::string& prefix : prefixes) {
            const std::string text = sandbox_.Read(sandbox_.OnlyFile("json", prefix));
            JsonDocument document;
            ASSERT_TRUE(ParseJson(text.substr(0, text.size() - 1), document)) << text;
            EXPECT_EQ(document["content"].Size(), 1U);
        }
        const std::vector<std::string> names = sandbox_.Files("json");
        const auto count = std::count_if(names.begin(), names.end(), [](const std::string& name) {
            return name.rfind("soc_topdown", 0) == 0;
        });
        EXPECT_EQ(static_cast<std::size_t>(count), prefixes.size());
    }

    Sandbox sandbox_;
};

TEST_F(TopdownCollectorRunTest, EachMeasurementLeavesACounterFileAndADocument) {
    const RunResult run = Run(Config(kAll));
    EXPECT_EQ(ErrorsOfMissions(run), "");
    ExpectDocuments({"soc_topdown_global_info_1_", "soc_topdown_core_info_core0_1_",
                     "soc_topdown_core_info_core1_1_",
                     "soc_topdown_process_info_processframe_worker_1_"});
    for (const char* prefix : {"topdown_global_", "topdown_core_0_", "topdown_core_1_",
                               "topdown_process_frame_worker_"}) {
        EXPECT_EQ(sandbox_.Read(sandbox_.OnlyFile("raw_data/topdown", prefix)),
                  MemoryBoundCounterFile());
    }
    EXPECT_THAT(sandbox_.Read(sandbox_.OnlyFile("json", "soc_topdown_core_info_core1_1_")),
                HasSubstr(R"("content":[{"<==":"Backend_Bound.Memory_Bound.L1_Bound",)"));
    EXPECT_THAT(sandbox_.Read("env_info/time_cost.log"),
                HasSubstr("[TopdownCollector] cost time: "));
}

TEST_F(TopdownCollectorRunTest, ADurationOfNothingIsTakenAsItIs) {
    PerfIs("echo \"$all\" > $ZARN_SANDBOX_DIR/call\n");
    (void)Run(Config(kSystem, "0"));
    EXPECT_THAT(sandbox_.ReadScratch("call"), EndsWith(" -a sleep 0\n"));
}

TEST_F(TopdownCollectorRunTest, WithoutAPerfEachMeasurementIsMissed) {
    sandbox_.OnlyTools({});
    sandbox_.RemoveTool("perf");
    const std::string errors = ErrorsOfMissions(Run(Config(kAll)));
    for (const char* line :
         {"Fail to collect global info!\n", "Fail to collect core 0 info!\n",
          "Fail to collect core 1 info!\n", "Fail to collect process frame_worker info!\n"}) {
        EXPECT_THAT(errors, HasSubstr(std::string("[TopdownCollector] ") + line));
    }
    for (const char* file :
         {"topdown_global_", "soc_topdown_core_info_core0_1_", "soc_topdown_core_info_core1_1_",
          "soc_topdown_process_info_processframe_worker_1_"}) {
        EXPECT_THAT(errors, HasSubstr(kNoFile + std::string(file)));
    }
    ExpectDocuments({});
}

// What ended it the shell may say before.
TEST_F(TopdownCollectorRunTest, APerfThatRefusesOrDiesIsToldAndWhatItLeftCounts) {
    const std::string failed = "[TopdownCollector] Fail to collect global info!\n";
    for (const char* end : {"exit 1", "exit 129", "kill -9 $$", "kill -TERM $$", "kill -INT $$"}) {
        PerfIs(end + std::string("\n"));
        EXPECT_THAT(ErrorsOfMissions(Run(Config(kSystem))), HasSubstr(failed + kNoFile)) << end;
        ExpectDocuments({});
        PerfIs("recorded-counters > \"$2\"\n" + std::string(end) + "\n");
        EXPECT_THAT(ErrorsOfMissions(Run(Config(kSystem))), EndsWith(failed)) << end;
        ExpectDocuments({"soc_topdown_global_info_1_"});
    }
}

TEST_F(TopdownCollectorRunTest, APerfThatLeavesNoFileIsToldByItsFile) {
    PerfIs("exit 0\n");
    EXPECT_THAT(ErrorsOfMissions(Run(Config(kSystem))),
                StartsWith(std::string(kNoFile) + "topdown_global_"));
    // One that could keep its reader waiting for ever is none.
    PerfIs("mkfifo \"$2\"\n");
    EXPECT_THAT(ErrorsOfMissions(Run(Config(kSystem))),
                StartsWith(std::string(kNoFile) + "topdown_global_"));
}

TEST_F(TopdownCollectorRunTest, CounterFilesOfAnyBytesGiveADocument) {
    const std::string nothing = "[TopdownCollector] Event don't contain CPU_CYCLES\n";
    for (const char* body : {
             "",
             "head -c 1000000 /dev/urandom\n",
             "head -c 16777216 /dev/zero\n",
             "head -c 16777216 /dev/zero | tr '\\0' ';'\n",
             "head -c 16777216 /dev/zero | tr '\\0' '1'\n",
             "printf '2.0;'; head -c 16777216 /dev/zero | tr '\\0' '9'; echo ';;r8'\n",
             "printf '2.0;100;;r1'\n",
         }) {
        PerfIs("exec > \"$2\"\n" + std::string(body));
        EXPECT_THAT(ErrorsOfMissions(Run(Config(kSystem))), StartsWith(nothing)) << body;
        ExpectDocuments({"soc_topdown_global_info_1_"});
    }
    // Lines that end as on other systems, and a last line that is torn.
    PerfIs("recorded-counters | sed 's/$/\\r/' > \"$2\"\nprintf '9.0;5;;r1' >> \"$2\"\n");
    EXPECT_EQ(ErrorsOfMissions(Run(Config(kSystem))), "");
}

TEST_F(TopdownCollectorRunTest, WhatPerfPrintsIsPassedOn) {
    PerfIs("yes | head -c 1000000\necho perf >&2\nrecorded-counters > \"$2\"\n");
    const RunResult run = Run(Config(kSystem));
    EXPECT_GT(run.out.size(), 1000000U);
    EXPECT_EQ(ErrorsOfMissions(run), "perf\n");
}

// A perf without an end: it is interrupted together with the program, as from a terminal.
TEST_F(TopdownCollectorRunTest, AnInterruptOfAnEndlessPerfKeepsWhatItLeft) {
    PerfIs(
        "recorded-counters > \"$2\"\n"
        "trap 'kill -INT $$' USR1\n"
        "(sandbox-event interrupt; kill -USR1 $$) &\n"
        "while :; do wait; done\n");
    const RunResult run = sandbox_.Run(Config(kAll));
    EXPECT_THAT(run.out,
                HasSubstr("[TopdownCollector] Recieved stop signal, (core, process) job not "
                          "collected!\n"));
    EXPECT_THAT(ErrorsOfMissions(run),
                StartsWith("[TopdownCollector] Fail to collect global info!\n"
                           "[TopdownCollector] Failed to collect topdown!\n"));
    EXPECT_EQ(sandbox_.Read(sandbox_.OnlyFile("raw_data/topdown", "topdown_global_")),
              MemoryBoundCounterFile());
    ExpectDocuments({});
}

struct Interrupted {
    const char* tool;
    const char* when;   // what of its command line the interrupt waits for
    const char* words;  // of the job that does not start; empty if all have started
    std::size_t measured;
};

TEST_F(TopdownCollectorRunTest, AnInterruptIsSeenBeforeTheNextJob) {
    const std::initializer_list<Interrupted> cases = {
        {"pidof", "frame_worker", "(global, core, process)", 0},
        {"perf", " -x", "(core, process)", 1},
        {"perf", "-C 0", "(process)", 3},
        {"perf", "-p", "", 4},
    };
    for (const Interrupted& one : cases) {
        AddRecordedPerf(sandbox_);
        const std::string event =
            std::string("case \"$*\" in *'") + one.when + "'*) sandbox-event interrupt ;; esac\n";
        if (one.tool == std::string("pidof")) {
            sandbox_.Tool("pidof", event + "echo 417\n");
        } else {
            sandbox_.Tool("perf", event +
                                      "while [ \"$1\" != -o ]; do shift; done\n"
                                      "exec recorded-counters > \"$2\"\n");
        }
        const RunResult run = sandbox_.Run(Config(kAll));
        EXPECT_EQ(sandbox_.Files("raw_data/topdown").size(), one.measured);
        if (std::string(one.words).empty()) {
            EXPECT_EQ(ErrorsOfMissions(run), "");
            ExpectDocuments({"soc_topdown_global_info_1_", "soc_topdown_core_info_core0_1_",
                             "soc_topdown_core_info_core1_1_",
                             "soc_topdown_process_info_processframe_worker_1_"});
        } else {
            EXPECT_THAT(run.out,
                        HasSubstr(std::string("[TopdownCollector] Recieved stop signal, ") +
                                  one.words + " job not collected!\n"));
            EXPECT_THAT(ErrorsOfMissions(run),
                        StartsWith("[TopdownCollector] Failed to collect topdown!\n"));
            ExpectDocuments({});
        }
    }
}

TEST_F(TopdownCollectorRunTest, AnElementOfAWrongTypeEndsTheProgram) {
    ConfigText config;
    config.serial = R"(["TopdownCollector"])";
    const RunResult run = sandbox_.Run(config.Text(
        {{"TopdownCollector", R"({"job":["core"],"core":["0"],"process":[],"duration":1})"}}));
    EXPECT_TRUE(run.Aborted());
    EXPECT_THAT(run.err, HasSubstr("JSON assertion"));
}

TEST_F(TopdownCollectorRunTest, AFullDiskLeavesNoTornDocument) {
    Sandbox small;
    if (!small.LimitSpace(60000)) {
        GTEST_SKIP() << Sandbox::kNeedsRoot;
    }
    AddRecordedPerf(small);
    small.Tool("perf",
               "while [ \"$1\" != -o ]; do shift; done\n"
               "recorded-counters > \"$2\"\nhead -c 100000 /dev/zero >> \"$2\" 2>/dev/null\n"
               "exit 0\n");
    const RunResult run = small.Run(Config(kSystem));
    EXPECT_THAT(ErrorsOfMissions(run),
                HasSubstr("[zarn_utils] Cannot open outfile, check your filePath.\n"));
    EXPECT_EQ(small.Read(small.OnlyFile("json", "soc_topdown_global_info_1_")), "");
}

}  // namespace
}  // namespace zarn::test
