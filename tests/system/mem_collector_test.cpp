#include <gmock/gmock.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "formats/mem.h"
#include "foundation/json.h"
#include "tests/support/lines.h"
#include "tests/support/manager_texts.h"
#include "tests/system/support/recorded_tools.h"
#include "tests/system/support/sandbox.h"

// Memory collections by the built program, with the machine's own tools, or worse ones.
namespace zarn::test {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char* kNoNumber = "[MemCollector]: free get value is not number!\n";
constexpr const char* kNoFree =
    "[MemCollector]: Failed to collect meminfo free!\n"
    "[MemCollector]: free get value is not number!\n"
    "[MemCollector]: Failed to get system value!\n";

const std::string& Separator() {
    static const std::string line = std::string(80, '-') + " \n";
    return line;
}

std::string Config(const std::string& job, const std::string& process, int count = 1) {
    ConfigText config;
    config.serial = R"(["MemCollector"])";
    return config.Text(
        {{"MemCollector", R"({"job":[")" + job + R"("],"process":)" + process +
                              R"(,"interval":1,"count":)" + std::to_string(count) + "}"}});
}

// A process of this test that does nothing, under a name of its own, until the end.
class Sleeper {
public:
    explicit Sleeper(const std::string& name) {
        int ready[2] = {-1, -1};
        EXPECT_EQ(::pipe(ready), 0);
        pid_ = ::fork();
        if (pid_ == 0) {
            ::prctl(PR_SET_NAME, name.c_str());
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            (void)!::write(ready[1], "r", 1);
            while (true) {
                ::pause();
            }
        }
        char byte = 0;
        EXPECT_EQ(::read(ready[0], &byte, 1), 1);
        ::close(ready[0]);
        ::close(ready[1]);
    }
    Sleeper(const Sleeper&) = delete;
    Sleeper& operator=(const Sleeper&) = delete;
    ~Sleeper() {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }

    [[nodiscard]] std::string Pid() const { return std::to_string(pid_); }

private:
    pid_t pid_ = -1;
};

class MemCollectorRunTest : public testing::Test {
protected:
    // `pidof` prints these pids, whatever it is asked for.
    void WatchPids(const std::string& pids) { sandbox_.Tool("pidof", "echo " + pids + "\n"); }

    RunResult Run(const std::string& config) {
        RunResult run = sandbox_.Run(config);
        EXPECT_TRUE(run.Succeeded()) << run.err;
        EXPECT_EQ(run.LastLine(), "[Main] Collection jobs finished.");
        return run;
    }

    [[nodiscard]] std::string Log(const NumberedFile& kind) const {
        return sandbox_.Tree().Read(kind);
    }
    [[nodiscard]] std::string Smaps(const std::string& pid) const {
        return sandbox_.Read(
            sandbox_.OnlyFile("raw_data/mem", "soc_gea_process_smaps_" + pid + "_1_"));
    }
    [[nodiscard]] std::vector<JsonDocument> Documents(const NumberedFile& kind) const {
        return DocumentsIn(sandbox_.Tree().Read(kind));
    }
    // How many logs and documents there are.
    [[nodiscard]] std::size_t FileCount(const std::string& folder) const {
        const std::vector<std::string> names = sandbox_.Files(folder);
        return static_cast<std::size_t>(
            std::count_if(names.begin(), names.end(),
                          [](const std::string& name) { return name.rfind("soc_gea", 0) == 0; }));
    }

    Sandbox sandbox_;
};

// The second column of those lines of a log that begin with `name`, added up.
long SumOf(const std::string& log, const std::string& name) {
    long sum = 0;
    for (const std::string& line : LinesIn(log)) {
        if (line.rfind(name, 0) == 0) {
            sum += std::stol(line.substr(name.size()));
        }
    }
    return sum;
}

TEST_F(MemCollectorRunTest, TheDocumentOfTheSystemAgreesWithItsLogs) {
    EXPECT_EQ(ErrorsOfMissions(Run(Config("system_mem", "[]", 2))), "");
    const auto documents = Documents(mem_files::kSystemSamples);
    ASSERT_EQ(documents.size(), 2U);
    const std::vector<std::string> counters = LinesIn(Log(mem_files::kCounterLog));
    ASSERT_EQ(counters.size(), 6U);
    for (std::size_t i = 0; i < 2; ++i) {
        const JsonValue& info = documents[i]["content"][0]["memInfo"];
        std::istringstream names(counters[3 * i]);
        std::istringstream values(counters[3 * i + 1]);
        std::string name;
        std::string value;
        unsigned long sum = 0;
        for (int column = 0; column < 6 && names >> name && values >> value; ++column) {
            EXPECT_EQ(value, info[name.c_str()].GetString()) << name;
            sum += std::stoul(value);
        }
        EXPECT_EQ(info["sum"].GetString(), std::to_string(sum % 4294967296UL));
        const std::string log = Log(mem_files::kSystemLog);  // of both samples
        EXPECT_EQ(2 * std::stol(info["total"].GetString()),
                  SumOf(log, "Mem:") + SumOf(log, "Swap:"));
    }
    EXPECT_LT(std::string(documents[0]["happenTime"].GetString()),
              std::string(documents[1]["happenTime"].GetString()));
    EXPECT_EQ(FileCount("raw_data/mem"), 2U);
    EXPECT_EQ(FileCount("json"), 1U);
}

TEST_F(MemCollectorRunTest, ARowAgreesWithTheMappingsOfItsProcess) {
    const Sleeper sleeper("watched");
    WatchPids(sleeper.Pid());
    EXPECT_EQ(ErrorsOfMissions(Run(Config("process_mem", R"(["watched"])", 2))), "");
    const auto documents = Documents(mem_files::kProcessSamples);
    ASSERT_EQ(documents.size(), 2U);
    const std::string smaps = Smaps(sleeper.Pid());
    EXPECT_EQ(smaps.find(Separator()) + Separator().size(), smaps.size() / 2);
    for (const JsonDocument& document : documents) {
        const JsonValue& row = document["content"][0]["process"][0];
        EXPECT_EQ(row["COMMAND"].GetString(), std::string("watched"));
        EXPECT_EQ(row["RSS"].GetString(), std::to_string(SumOf(smaps, "Rss:") / 2) + "K");
        EXPECT_EQ(row["HugePages"].GetString(),
                  std::to_string(SumOf(smaps, "AnonHugePages:") / 2) + "K");
        EXPECT_EQ(row["Threads"].GetString(), std::string("1"));
    }
    EXPECT_EQ(FileCount("raw_data/mem"), 3U);
    EXPECT_EQ(FileCount("json"), 3U);
}

TEST_F(MemCollectorRunTest, NamesOfAnyBytesStayReadable) {
    // The kernel shows the backslash and the line end as two characters each, awk the first word.
    const Sleeper quoted("a\"b\\c\nd\xff/");
    const Sleeper words("two words");
    WatchPids(quoted.Pid() + " " + words.Pid());
    EXPECT_EQ(ErrorsOfMissions(Run(Config("process_mem", R"(["x"])"))), "");
    const auto documents = Documents(mem_files::kProcessSamples);
    ASSERT_EQ(documents.size(), 1U);
    const JsonValue& rows = documents[0]["content"][0]["process"];
    ASSERT_EQ(rows.Size(), 2U);
    EXPECT_EQ(rows[0]["COMMAND"].GetString(), std::string("a\"b\\\\c\\nd\xff/"));
    EXPECT_EQ(rows[1]["COMMAND"].GetString(), std::string("two"));
    EXPECT_EQ(LinesIn(Log(mem_files::kProcessLog)).size(), 4U);
}

// The kernel's first thread and a blank; "" where a container has another process of that number.
std::string KernelThread() {
    const std::string status = "/proc/2/status";
    return std::filesystem::exists(status) && ReadText(status).find("VmSize:") == std::string::npos
               ? "2 "
               : "";
}

TEST_F(MemCollectorRunTest, KernelThreadsZombiesAndTheDeadHaveNoRow) {
    const pid_t zombie = ::fork();
    if (zombie == 0) {
        ::_exit(0);
    }
    siginfo_t info{};
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(zombie), &info, WEXITED | WNOWAIT), 0);
    const std::string zombiePid = std::to_string(zombie);
    WatchPids(KernelThread() + zombiePid + " 4194305 PID");
    EXPECT_EQ(ErrorsOfMissions(Run(Config("process_mem", R"(["x"])"))), "");
    ::waitpid(zombie, nullptr, 0);
    EXPECT_EQ(LinesIn(Log(mem_files::kProcessLog)).size(), 2U);
    EXPECT_EQ(Smaps(zombiePid), Separator());
    EXPECT_EQ(Smaps("4194305"), Separator());
    EXPECT_EQ(Documents(mem_files::kProcessInfo)[0]["content"].Size(), 1U);
}

TEST_F(MemCollectorRunTest, AThousandShortLivedProcessesLeaveWholeRowsAlone) {
    sandbox_.Tool("pidof",
                  "i=0\nwhile [ $i -lt 1000 ]; do /bin/true & printf '%s ' $!; i=$((i + 1)); "
                  "done\n");
    EXPECT_EQ(ErrorsOfMissions(Run(Config("process_mem", R"(["x"])"))), "");
    for (const std::string& line : LinesIn(Log(mem_files::kProcessLog))) {
        std::istringstream cells(line);
        std::string cell;
        int count = 0;
        while (cells >> cell) {
            ++count;
        }
        EXPECT_TRUE(count == 15 || count == 1) << line;
    }
}

TEST_F(MemCollectorRunTest, AFreeThatGoesWrongLeavesOutItsTables) {
    for (const char* body : {"exit 1\n", "head -c 1000000 /dev/zero | tr '\\0' x\n",
                             "echo a b c d e f g; echo 1.5 1.5 1.5 1.5 1.5 1.5 1.5\n"}) {
        sandbox_.Tool("free", body);
        const std::string errors = ErrorsOfMissions(Run(Config("system_mem", "[]")));
        // Without a second word awk prints a sum of nothing; with one, that is no whole number.
        EXPECT_TRUE(errors == kNoFree || errors.empty()) << body << errors;
        EXPECT_EQ(errors.empty(), std::string(body).find("head") == 0) << body;
    }
    EXPECT_THAT(ErrorsOfMissions(Run(Config("system_mem", "[]"))), HasSubstr(kNoNumber));
}

TEST_F(MemCollectorRunTest, APsThatGoesWrongLeavesNoRows) {
    for (const char* body : {"exit 1\n", "head -c 1000000 /dev/urandom | tr '\\n' x\n",
                             "yes '$(touch /opt/usr/run) `x` a b c d e f g' | head -n 20\n"}) {
        sandbox_.Tool("ps", body);
        (void)Run(Config("process_mem", "[]"));
        EXPECT_EQ(LinesIn(Log(mem_files::kProcessLog)).size(), 2U) << body;
        EXPECT_THAT(sandbox_.RunCommand({"ls", "/opt/usr"}).out, Not(HasSubstr("run\n")));
    }
}

TEST_F(MemCollectorRunTest, ASharePoolOfAnyShapeIsToldOrLogged) {
    const std::string head = "PID Group_ID SP_ALLOC SP_K SP_R VIRT RES Shm PROT COMMAND\n";
    std::string long_ = head;
    for (int i = 0; i < 1001; ++i) {
        long_ += "guard " + std::to_string(i) + "\n";
    }
    sandbox_.WriteScratch("pool", long_);
    sandbox_.Tool("grep",
                  "case \"$*\" in *sharepool*) shift; [ \"$1\" = -s ] && exit; exec /bin/grep -A "
                  "1000 PID $ZARN_SANDBOX_DIR/pool ;; esac\nexec /bin/grep \"$@\"\n");
    WatchPids("1");
    EXPECT_EQ(ErrorsOfMissions(Run(Config("process_mem", R"(["x"])"))), "");
    const std::vector<std::string> lines = LinesIn(Log(mem_files::kSharePoolLog));
    ASSERT_EQ(lines.size(), 1002U);  // grep leaves the last one out
    EXPECT_EQ(lines[1000], "guard 999");
    for (const char* row : {"1 2 3\n", "noone 1 2 3 4 5 6 7 8\n",
                            "$(touch /opt/usr/run) 2 3 4 5 "
                            "6 7 8 9\n",
                            "\n"}) {
        sandbox_.WriteScratch("pool", head + row);
        EXPECT_THAT(ErrorsOfMissions(Run(Config("process_mem", R"(["x"])"))),
                    HasSubstr("[MemCollector]: Failed to get share pool command!\n"))
            << row;
    }
    EXPECT_THAT(sandbox_.RunCommand({"ls", "/opt/usr"}).out, Not(HasSubstr("run\n")));
}

TEST_F(MemCollectorRunTest, MappingsOfAnyShapeGoThrough) {
    const std::size_t size = std::size_t{16} << 20U;
    sandbox_.Tool("cat", "head -c " + std::to_string(size) + " /dev/zero | tr '\\0' x\necho\n");
    WatchPids("1");
    EXPECT_EQ(ErrorsOfMissions(Run(Config("process_mem", R"(["x"])"))), "");
    EXPECT_EQ(Smaps("1").size(), size + 1 + Separator().size());
}

TEST_F(MemCollectorRunTest, AFullDiskLeavesEachLogAsItWasBeforeTheTable) {
    if (!sandbox_.LimitSpace(400000)) {
        GTEST_SKIP() << Sandbox::kNeedsRoot;
    }
    sandbox_.Tool("cat", "head -c 150000 /dev/zero | tr '\\0' x\necho\n");
    WatchPids("1");
    const std::string errors = ErrorsOfMissions(Run(Config("process_mem", R"(["x"])", 4)));
    EXPECT_THAT(errors, HasSubstr("[MemCollector]: Failed to mem log doesn't Exist !\n"));
    const std::string table = std::string(150000, 'x') + "\n" + Separator();
    const std::string log = Smaps("1");
    ASSERT_EQ(log.size() % table.size(), 0U);
    EXPECT_GE(log.size(), table.size());
    EXPECT_EQ(log.compare(0, table.size(), table), 0);
}

TEST_F(MemCollectorRunTest, AnInterruptLeavesWholeTablesAlone) {
    WatchPids("1");
    sandbox_.Tool("free", "sandbox-event interrupt\nexec /usr/bin/free \"$@\"\n");
    const RunResult run = Run(Config("system_mem", "[]", 5));
    EXPECT_THAT(run.out, HasSubstr("[Main] Collection jobs finished."));
    EXPECT_EQ(ErrorsOfMissions(run), "");
    EXPECT_EQ(FileCount("raw_data/mem") + FileCount("json"), 0U);
    EXPECT_THAT(sandbox_.Read("env_info/time_cost.log"), HasSubstr("[MemCollector] cost time: "));
}

}  // namespace
}  // namespace zarn::test
