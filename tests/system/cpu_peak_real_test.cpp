#include <gmock/gmock.h>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/lines.h"
#include "tests/support/manager_texts.h"
#include "tests/system/support/recorded_tools.h"
#include "tests/system/support/sandbox.h"

// A busy loop on this machine, seen in its own /proc/stat and recorded by its own perf.
namespace zarn::test {
namespace {

using testing::HasSubstr;

// On what perf's text calls the innermost function.
extern "C" __attribute__((noinline)) void SpinUntilSeen(const std::atomic<bool>& isOver) {
    while (!isOver.load(std::memory_order_relaxed)) {
    }
}

// The last processor that this process may run on.
int LastProcessor() {
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    ::sched_getaffinity(0, sizeof(allowed), &allowed);
    int last = -1;
    for (std::size_t core = 0; core < CPU_SETSIZE; ++core) {
        last = CPU_ISSET(core, &allowed) ? static_cast<int>(core) : last;
    }
    return last;
}

// Keeps a processor busy while it lives.
class BusyLoop {
public:
    explicit BusyLoop(int core) : thread_([this, core] { Spin(core); }) {}
    BusyLoop(const BusyLoop&) = delete;
    BusyLoop& operator=(const BusyLoop&) = delete;
    ~BusyLoop() {
        isOver_ = true;
        thread_.join();
    }

private:
    void Spin(int core) {
        cpu_set_t only;
        CPU_ZERO(&only);
        CPU_SET(static_cast<unsigned>(core), &only);
        ::pthread_setaffinity_np(::pthread_self(), sizeof(only), &only);
        // Before all that may run there besides, where this user may ask for that.
        (void)::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), -20);
        SpinUntilSeen(isOver_);
    }

    std::atomic<bool> isOver_{false};
    std::thread thread_;
};

// How often each function was the innermost one of a sample of a core, in a text of perf's.
std::map<std::string, int> FunctionsOn(int core, const std::string& text) {
    std::map<std::string, int> functions;
    std::string number = std::to_string(core);
    number = "[" + std::string(3 - std::min<std::size_t>(3, number.size()), '0') + number + "]";
    const std::vector<std::string> lines = LinesIn(text);
    for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
        if (lines[i].find(number) != std::string::npos) {
            const std::string& call = lines[i + 1];
            const std::size_t name = call.find(' ', call.find_first_not_of(" \t")) + 1;
            ++functions[call.substr(name, call.find_first_of("+ ", name) - name)];
        }
    }
    return functions;
}

TEST(CpuPeakOnThisMachine, ABusyLoopIsCaughtAndTopsTheProfile) {
    Sandbox sandbox;
    const RunResult may =
        sandbox.RunCommand({"sh", "-c", "exec perf record -a -g -o /dev/null -- true 2>&1"});
    if (!may.Succeeded()) {
        GTEST_SKIP() << "perf may not record whole cores here: " << may.out;
    }
    const int core = LastProcessor();
    ConfigText config;
    config.serial = R"(["CpuPeakCollector"])";
    RunResult run;
    {
        const BusyLoop loop(core);
        run = sandbox.Run(config.Text({{"CpuPeakCollector", R"({"scanDuration": 400,
            "scanPeriod": 200, "maxUsage": 70.0, "collectionDuration": 0.3,
            "collectionFrequency": 499})"}}));
    }
    ASSERT_TRUE(run.Succeeded()) << run.err;
    const std::vector<std::string> names = sandbox.Files("raw_data/cpu_peak");
    const auto text = std::find_if(names.begin(), names.end(), [](const std::string& name) {
        return name.find(".unfold") != std::string::npos;
    });
    ASSERT_NE(text, names.end()) << run.out << run.err;
    EXPECT_THAT(run.out, HasSubstr("[CpuPeakCollector] CPU info has a peak!"));
    const auto functions = FunctionsOn(core, sandbox.Read("raw_data/cpu_peak/" + *text));
    const auto top =
        std::max_element(functions.begin(), functions.end(),
                         [](const auto& a, const auto& b) { return a.second < b.second; });
    ASSERT_NE(top, functions.end()) << *text;
    EXPECT_EQ(top->first, "SpinUntilSeen");
    EXPECT_GT(top->second, 50);
}

}  // namespace
}  // namespace zarn::test
