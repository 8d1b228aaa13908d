#include <gmock/gmock.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "tests/support/lines.h"
#include "tests/support/manager_texts.h"
#include "tests/system/support/programs.h"
#include "tests/system/support/sandbox.h"

// A busy loop on this machine, seen in its own /proc/stat and recorded by its own perf.
namespace zarn::test {
namespace {

using testing::HasSubstr;

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

// A small program that keeps a processor busy while this lives, before all else there if this user
// may ask for that. Most of its time is in spin_sixty.
class BusyLoop {
public:
    explicit BusyLoop(int core) : child_(::fork()) {
        if (child_ == 0) {
            cpu_set_t only;
            CPU_ZERO(&only);
            CPU_SET(static_cast<unsigned>(core), &only);
            (void)::sched_setaffinity(0, sizeof(only), &only);
            // A nice value counts among processes of one session, and that of the session among
            // all.
            (void)::setsid();
            (void)::setpriority(PRIO_PROCESS, 0, -20);
            std::ofstream("/proc/self/autogroup") << "-20";
            (void)!std::freopen("/dev/null", "w", stdout);
            ::execl(kProgram.c_str(), kProgram.c_str(), "loops", "1000000000", nullptr);
            ::_exit(127);
        }
    }
    BusyLoop(const BusyLoop&) = delete;
    BusyLoop& operator=(const BusyLoop&) = delete;
    ~BusyLoop() {
        ::kill(child_, SIGKILL);
        ::waitpid(child_, nullptr, 0);
    }

    static inline const std::string kProgram = ProgramPath("../lib/zarn/board/tools/counted_work");

private:
    pid_t child_;
};

// How often each function, behind its process, was the innermost one of a sample of a core, in a
// text of perf's.
std::map<std::string, int> FunctionsOn(int core, const std::string& text) {
    std::map<std::string, int> functions;
    std::string number = std::to_string(core);
    number = "[" + std::string(3 - std::min<std::size_t>(3, number.size()), '0') + number + "]";
    const std::vector<std::string> lines = LinesIn(text);
    for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
        if (lines[i].find(number) != std::string::npos) {
            const std::string& call = lines[i + 1];
            const std::size_t name = call.find(' ', call.find_first_not_of(" \t")) + 1;
            const std::string process = lines[i].substr(0, lines[i].find_first_of(" \t"));
            ++functions[process + " " + call.substr(name, call.find_first_of("+ ", name) - name)];
        }
    }
    return functions;
}

TEST(CpuPeakOnThisMachine, ABusyLoopIsCaughtAndTopsTheProfile) {
    Sandbox sandbox;
    const RunResult may =
        sandbox.RunCommand({"sh", "-c", "exec perf record -a -g -o /dev/null -- true 2>&1"});
    if (::access(BusyLoop::kProgram.c_str(), X_OK) != 0) {
        GTEST_SKIP() << "this build has no program to be busy";
    }
    if (!may.Succeeded()) {
        GTEST_SKIP() << "perf may not record whole cores here: " << may.out;
    }
    const int core = LastProcessor();
    ConfigText config;
    config.serial = R"(["CpuPeakCollector"])";
    RunResult run;
    {
        const BusyLoop loop(core);
        // So many samples that chance puts no other function than the longest on top.
        run = sandbox.Run(config.Text({{"CpuPeakCollector", R"({"scanDuration": 400,
            "scanPeriod": 200, "maxUsage": 70.0, "collectionDuration": 0.5,
            "collectionFrequency": 999})"}}));
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
    EXPECT_EQ(top->first, "counted_work spin_sixty");
    EXPECT_GT(top->second, 10);
}

}  // namespace
}  // namespace zarn::test
