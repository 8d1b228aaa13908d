#include <gmock/gmock.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <future>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "foundation/json.h"
#include "tests/support/lines.h"
#include "tests/support/manager_texts.h"
#include "tests/system/support/examples.h"
#include "tests/system/support/recorded_tools.h"
#include "tests/system/support/sandbox.h"

// The scheduler's collector and analyzer in one run of the built program.
namespace zarn::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::SizeIs;

// The sections of a collection of the whole system and its analysis.
std::vector<std::pair<std::string, std::string>> GlobalSections(const std::string& duration,
                                                                const std::string& topN) {
    return {{"SchedCollector", R"({"job": ["global"], "sched": {"is_call_record": false,
                "duration": )" + duration +
                                   R"(, "topN": )" + topN + R"(, "sorted": "max"}})"},
            {"SchedAnalyzer", R"({"job": ["global"], "runTimeThreshold": 1000.0})"}};
}

std::string GlobalRun(const std::string& duration, const std::string& topN,
                      const std::string& analyzers = R"(["SchedAnalyzer"])") {
    ConfigText config;
    config.serial = R"(["SchedCollector"])";
    config.analyze = analyzers;
    return config.Text(GlobalSections(duration, topN));
}

// The analysis of the tree of an earlier run.
std::string LaterAnalysis(const std::string& tree, unsigned topN) {
    ConfigText config;
    config.analyze = R"(["SchedAnalyzer"])";
    config.more = R"(, "historyDataPath": ")" + tree + "\"";
    return config.Text(GlobalSections("1", std::to_string(topN)));
}

// What both missions say of a recording that was not made.
std::string NothingRecorded(const std::string& raw) {
    const std::string missing = "[SchedAnalyzer] Cannot find collector ";
    const std::string end = "_1_YYYYMMDDHHMMSSMS.log, check your config.\n";
    return "[SchedCollector] Fail to generate global raw data!\n"
           "[SchedCollector] Cannot find global rawData file, check your config about global.\n" +
           missing + "latency rawData file: " + raw + "sched_global_latency_max" + end +
           "[SchedAnalyzer] Failed to analyze global latency raw data!\n" + missing +
           "timehist rawData file: " + raw + "sched_global_timehist" + end +
           "[SchedAnalyzer] Failed to get and sort global timehist raw data!\n"
           "[SchedAnalyzer] Failed to analyze global timehist raw data!\n";
}

struct Refusal {
    const char* name;
    std::string perf;    // the tool; none without
    std::string itsOwn;  // what it, or the shell, says itself
};

class SchedWithoutPerfTest : public testing::TestWithParam<Refusal> {};

TEST_P(SchedWithoutPerfTest, TheDocumentedLinesAreAllThatHappens) {
    Sandbox sandbox;
    sandbox.OnlyTools({"date", "awk", "cat", "grep", "wc"});
    if (!GetParam().perf.empty()) {
        sandbox.Tool("perf", GetParam().perf);
    }
    const RunResult run = sandbox.Run(GlobalRun("1", "10"));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_EQ(run.LastLine(), "[Main] Collection jobs finished.");
    const std::string errors = ErrorsOfMissions(run);
    const std::string expected = NothingRecorded(sandbox.RunDirInside() + "raw_data/sched/");
    ASSERT_GE(errors.size(), expected.size());
    EXPECT_EQ(errors.substr(errors.size() - expected.size()), expected);
    EXPECT_THAT(errors.substr(0, errors.size() - expected.size()), HasSubstr(GetParam().itsOwn));
    EXPECT_THAT(run.out, HasSubstr("[SchedCollector] Success:: SchedCollector has completed JSON "
                                   "data storage!\n"));
    EXPECT_THAT(run.out,
                HasSubstr("[SchedAnalyzer] Success:: SchedAnalyzer has analyzed raw data!\n"));
}

INSTANTIATE_TEST_SUITE_P(Ways, SchedWithoutPerfTest,
                         testing::Values(Refusal{"Absent", "", "perf: not found"},
                                         Refusal{"Refused", "echo no permission >&2\nexit 129\n",
                                                 "no permission"},
                                         Refusal{"Killed", "kill -KILL $$\n", ""}),
                         [](const auto& chosen) { return std::string(chosen.param.name); });

// A recording that does not fit: what did is kept, and all of the run's documents are whole.
TEST(SchedLineTest, AFullDiskEndsNothingButWhatItHits) {
    Sandbox sandbox;
    if (!sandbox.LimitSpace(400000)) {
        GTEST_SKIP() << Sandbox::kNeedsRoot;
    }
    AddRecordedCpuTools(sandbox);
    AddRecordedPerf(sandbox);
    AddSchedTools(sandbox);
    sandbox.Tool(
        "perf",
        "case \" $* \" in\n"
        "    ' sched timehist '*) recorded-sched \"$@\" && exec head -c 1000000 /dev/zero ;;\n"
        "esac\n"
        "exec recorded-sched \"$@\"\n");
    const RunResult run = sandbox.Run(ExampleText("sched_collect_analyze.json"));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_EQ(run.LastLine(), "[Main] Collection jobs finished.");
    EXPECT_THAT(run.err, HasSubstr("[SchedCollector] Fail to generate global raw data!\n"));
    const std::string kept = sandbox.OnlyFile("raw_data/sched", "sched_global_latency_max_1_");
    EXPECT_EQ(sandbox.Read(kept), ReadText(DataPath("perf-6.1.187/sched_latency.log")));
    for (const std::string& name : sandbox.Files("json")) {
        const std::string text = sandbox.Read("json/" + name);
        EXPECT_TRUE(text.empty() || text.back() == '\n') << name;
        (void)DocumentsIn(text);
    }
}

// The recorded reports go the whole way: the tasks, the threads behind them, and what happened on
// the core before the row that ran longest.
TEST(SchedLineTest, TheReportsOfRealTasksAreFollowedUp) {
    Sandbox sandbox;
    AddRecordedCpuTools(sandbox);
    AddRecordedPerf(sandbox);
    AddSchedTools(sandbox);
    std::string config = ExampleText("sched_collect_analyze.json");
    config.replace(config.find("20.0"), 4, "2.05");
    const RunResult run = sandbox.Run(config);
    EXPECT_EQ(ErrorsOfMissions(run), "");
    const std::string script =
        sandbox.Read(sandbox.OnlyFile("raw_data/schedAna", "soc_schedAna_global_timehist_script_"));
    EXPECT_THAT(LinesIn(script), SizeIs(12));
    EXPECT_THAT(LinesIn(script).back(), HasSubstr("worker(1) 30927 [000] 22517.827068:"));
    const std::vector<JsonDocument> documents =
        DocumentsIn(sandbox.Read(sandbox.OnlyFile("json", "soc_schedAna_global_latency_ana_1_")));
    ASSERT_EQ(documents.size(), 1U);
    std::map<std::string, std::string> delays;
    for (const JsonValue& task : documents[0]["content"].GetArray()) {
        delays[task["target"].GetString()] = task["maxDelay"].GetString();
    }
    EXPECT_THAT(delays, Contains(testing::Pair("topN_process", "33.701000 ms")));
    EXPECT_THAT(delays, Contains(testing::Pair("net:rx:(2)", "33.701000 ms")));
    EXPECT_THAT(delays, Contains(testing::Pair("my own task:(2)", "21.386000 ms")));
}

// A thread of this test that keeps the core busy until its end.
class BusyThread {
public:
    BusyThread(const char* name, int core, int nice)
        : thread_([this, name, core, nice] {
              ::prctl(PR_SET_NAME, name);
              cpu_set_t cores;
              CPU_ZERO(&cores);
              CPU_SET(static_cast<unsigned>(core), &cores);
              const auto id = static_cast<pid_t>(::syscall(SYS_gettid));
              isSet_.set_value(::sched_setaffinity(id, sizeof(cores), &cores) == 0 &&
                               ::setpriority(PRIO_PROCESS, static_cast<id_t>(id), nice) == 0);
              while (!end_) {
              }
          }) {}
    BusyThread(const BusyThread&) = delete;
    BusyThread& operator=(const BusyThread&) = delete;
    ~BusyThread() {
        end_ = true;
        thread_.join();
    }

    // Whether it is where it is to be.
    [[nodiscard]] bool IsSet() { return isSet_.get_future().get(); }

private:
    std::promise<bool> isSet_;
    std::atomic<bool> end_{false};
    std::thread thread_;
};

// What a report tells of a task.
struct Told {
    unsigned rank = 0;      // among the tasks; 0: nothing
    double maxDelay = 0.0;  // ms
    long switches = 0;
};

// The row of the task of that name in the document of the collection.
Told ToldOf(const RunTree& tree, const std::string& name) {
    Told told;
    for (const JsonDocument& document :
         DocumentsIn(tree.Read(tree.OnlyFile("json", "soc_sched_global_latency_info_1_")))) {
        unsigned rank = 0;
        for (const JsonValue& row : document["content"].GetArray()) {
            ++rank;
            if (std::string(row["Task"].GetString()).rfind(name + ":", 0) == 0) {
                told = {rank, std::strtod(row["maximumDelay"].GetString(), nullptr),
                        std::strtol(row["switches"].GetString(), nullptr, 10)};
            }
        }
    }
    return told;
}

// The longest delay of the task of that name as the analysis tells it.
double AnalyzedDelayOf(const RunTree& tree, const std::string& name) {
    double delay = 0.0;
    for (const JsonDocument& document :
         DocumentsIn(tree.Read(tree.OnlyFile("json", "soc_schedAna_global_latency_ana_1_")))) {
        for (const JsonValue& task : document["content"].GetArray()) {
            if (std::string(task["target"].GetString()).rfind(name + ":", 0) == 0) {
                delay = std::strtod(task["maxDelay"].GetString(), nullptr);
            }
        }
    }
    return delay;
}

// Both want one core all the time; the kernel gives the nice one a share of about one in seventy.
// That is a wait of a fifth of a second from turn to turn, or of seconds on a machine with other
// work, where a short recording may hold no whole one: hence the longer one.
TEST(SchedTruthTest, OfTwoThatWantOneCoreTheNiceOneWaits) {
    constexpr long kFewTurns = 4;
    Sandbox sandbox;
    sandbox.Run(GlobalRun("0", "1", "[]"));
    if (sandbox.Files("raw_data/sched").size() < 3) {
        GTEST_SKIP() << "perf may not record here";
    }
    Told ofBusy;
    Told ofNice;
    {
        BusyThread busy("zw busy", 0, 0);
        BusyThread nice("zw nice", 0, 19);
        if (!busy.IsSet() || !nice.IsSet()) {
            GTEST_SKIP() << "this machine's core 0 is not for this test";
        }
        for (const char* seconds : {"1", "8", "8"}) {
            EXPECT_TRUE(sandbox.Run(GlobalRun(seconds, "1000", "[]")).Succeeded());
            ofBusy = ToldOf(sandbox.Tree(), "zw busy");
            ofNice = ToldOf(sandbox.Tree(), "zw nice");
            if (ofNice.maxDelay > ofBusy.maxDelay) {
                break;
            }
        }
    }
    if (ofNice.maxDelay <= ofBusy.maxDelay && ofNice.switches < kFewTurns) {
        GTEST_SKIP() << "core 0 has so much to do that the nice thread hardly ever came";
    }
    EXPECT_GT(ofNice.maxDelay, ofBusy.maxDelay);
    EXPECT_GT(ofBusy.switches, 0);
    // The analysis of as many tasks as there are up to it says the same.
    const RunTree tree = sandbox.Tree();
    ASSERT_TRUE(sandbox.Run(LaterAnalysis(sandbox.RunDirInside(), ofNice.rank)).Succeeded());
    EXPECT_EQ(AnalyzedDelayOf(tree, "zw nice"), ofNice.maxDelay);
    EXPECT_EQ(AnalyzedDelayOf(tree, "zw busy"), 0.0);
}

}  // namespace
}  // namespace zarn::test
