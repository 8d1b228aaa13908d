#include <gmock/gmock.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <future>
#include <string>
#include <thread>
#include <vector>

#include "foundation/json.h"
#include "tests/support/lines.h"
#include "tests/support/manager_texts.h"
#include "tests/system/support/recorded_tools.h"
#include "tests/system/support/sandbox.h"

// The scheduler's collector by the built program, with the machine's own ps, top, taskset and chrt.
namespace zarn::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

constexpr int kCore = 0;

// A thread of this test, of a name with a blank, nice, of the policy SCHED_BATCH, on one core.
class WatchedThread {
public:
    WatchedThread()
        : thread_([this] {
              ::prctl(PR_SET_NAME, "zw watch");
              cpu_set_t cores;
              CPU_ZERO(&cores);
              CPU_SET(kCore, &cores);
              const sched_param param{};
              const auto id = static_cast<pid_t>(::syscall(SYS_gettid));
              const bool isSet = ::sched_setaffinity(id, sizeof(cores), &cores) == 0 &&
                                 ::sched_setscheduler(id, SCHED_BATCH, &param) == 0 &&
                                 ::setpriority(PRIO_PROCESS, static_cast<id_t>(id), 19) == 0;
              id_.set_value(isSet ? id : -1);
              end_.get_future().wait();
          }) {}
    WatchedThread(const WatchedThread&) = delete;
    WatchedThread& operator=(const WatchedThread&) = delete;
    ~WatchedThread() {
        end_.set_value();
        thread_.join();
    }

    // -1 if this machine does not let a thread be so.
    [[nodiscard]] pid_t Id() { return id_.get_future().get(); }

private:
    std::promise<pid_t> id_;
    std::promise<void> end_;
    std::thread thread_;
};

TEST(SchedToolsTest, AThreadsSetupIsThatOfTheKernel) {
    WatchedThread watched;
    const pid_t id = watched.Id();
    if (id < 0) {
        GTEST_SKIP() << "this machine's core 0 is not for this test";
    }
    Sandbox sandbox;
    sandbox.Tool("pidof", "echo " + std::to_string(::getpid()) + "\n");
    ConfigText config;
    config.serial = R"(["SchedCollector"])";
    const RunResult run = sandbox.Run(config.Text(
        {{"SchedCollector",
          R"({"job":["priority_affinity"],"sched":{"is_call_record":false,"duration":1,"topN":1,)"
          R"("sorted":"max"},"priority_affinity":{"process":["watched"],)"
          R"("thread":["zw watch"]}})"}}));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_EQ(ErrorsOfMissions(run), "");
    const std::string table = sandbox.Read("csv/soc_sched_thread_info.csv");
    const std::string setup = ",SCHED_BATCH," + std::to_string(kCore) + ",\n";
    const std::string thread = "zw watch:" + std::to_string(id);
    EXPECT_THAT(table,
                HasSubstr("watched:" + std::to_string(::getpid()) + "," + thread + ",99" + setup));
    EXPECT_THAT(table, HasSubstr("specifiedThread:zw watch," + thread + ",39" + setup));
}

TEST(SchedToolsTest, APerfReportBecomesADocument) {
    Sandbox sandbox;
    ConfigText config;
    config.serial = R"(["SchedCollector"])";
    const RunResult run = sandbox.Run(
        config.Text({{"SchedCollector",
                      R"({"job":["global"],"sched":{"is_call_record":false,"duration":1,"topN":3,)"
                      R"("sorted":"avg"}})"}}));
    EXPECT_TRUE(run.Succeeded());
    if (run.err.find("[SchedCollector] Fail to generate global raw data!") != std::string::npos) {
        GTEST_SKIP() << "perf may not record here";
    }
    const std::string report =
        sandbox.Read(sandbox.OnlyFile("raw_data/sched", "sched_global_latency_avg_1_"));
    const std::vector<JsonDocument> documents =
        DocumentsIn(sandbox.Read(sandbox.OnlyFile("json", "soc_sched_global_latency_info_1_")));
    ASSERT_EQ(documents.size(), 1U);
    const JsonValue& content = documents[0]["content"];
    ASSERT_GE(content.Size(), 1U);
    ASSERT_LE(content.Size(), 3U);
    for (const JsonValue& task : content.GetArray()) {
        EXPECT_THAT(report, HasSubstr(task["Task"].GetString()));
        EXPECT_THAT(report, HasSubstr(task["averageDelay"].GetString()));
        for (const char* delay : {"runtime", "averageDelay", "maximumDelay"}) {
            EXPECT_THAT(task[delay].GetString(), EndsWith(" ms"));
        }
        EXPECT_THAT(task["maximumDelayAt"].GetString(), EndsWith(" s"));
    }
}

}  // namespace
}  // namespace zarn::test
