#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "foundation/json.h"
#include "tests/support/manager_texts.h"
#include "tests/system/support/board_runner.h"
#include "tests/system/support/program_lock.h"
#include "tests/system/support/programs.h"

// Bench collections on the virtual board: the machine's benchmarks, the board's counters and its
// files.
namespace zarn::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;

// The processor lacks two counters; one program works and one does not.
constexpr const char* kScenario = R"({"perf": {"not_supported": ["LLC-stores", "LLC-store-misses"]},
    "programs": [{"name": "bench_busy", "pipeline": {"load": 0.4}}, {"name": "bench_lazy"}]})";

std::string Config(const std::string& jobs, const std::string& nodes) {
    ConfigText config;
    config.serial = R"(["BenchCollector"])";
    return config.Text({{"BenchCollector", R"({"job":[)" + jobs + R"(],"stat":{"nodes":[)" + nodes +
                                               R"(],"sleep":1}})"}});
}

class BenchOnBoard : public testing::Test {
protected:
    void SetUp() override {
        if (ProgramStart().size() > 1 || !fs::exists(ProgramPath("zarn-board"))) {
            GTEST_SKIP() << "the board needs programs of this machine's processor";
        }
        board_.Files().Write("scenario.json", kScenario);
    }

    // Runs the program; the lines on the error stream that are the collector's or its tools', but
    // for perf's warning where the board is one by proot.
    std::string Collect(const std::string& config, const std::string& before = "") {
        BoardRun run;
        run.options = "--scenario '" + board_.Files().Path() + "scenario.json'";
        run.before = before;
        EXPECT_EQ(board_.Run(config, run), 0);
        std::istringstream lines(board_.Err());
        std::string errors;
        for (std::string line; std::getline(lines, line);) {
            const bool isOther = line.rfind("[ZarnManager]", 0) == 0 ||
                                 line.rfind("perf: this process is traced", 0) == 0;
            errors += isOther ? "" : line + "\n";
        }
        return errors;
    }

    [[nodiscard]] bool HasMachinePerf() const {
        return board_.Shell("perf --version >/dev/null 2>&1") == 0;
    }

    [[nodiscard]] std::string Log(const std::string& stem) const {
        const RunTree tree = board_.Tree();
        return tree.Read(tree.OnlyFile("raw_data/bench", stem));
    }

    [[nodiscard]] JsonDocument Document(const std::string& stem) const {
        const RunTree tree = board_.Tree();
        JsonDocument document;
        const std::string text = tree.Read(tree.OnlyFile("json", stem));
        EXPECT_TRUE(!text.empty() && ParseJson(text.substr(0, text.size() - 1), document)) << text;
        return document;
    }

    BoardRunner board_;
    const ProgramLock lock_;
};

std::vector<std::string> WordsIn(const std::string& line) {
    std::istringstream text(line);
    std::vector<std::string> words;
    for (std::string word; text >> word;) {
        words.push_back(word);
    }
    return words;
}

// A reading of a log that shares nothing with the program's: the first words of the lines that have
// this word.
std::vector<std::string> BeforeWord(const std::string& log, const std::string& wanted) {
    std::istringstream lines(log);
    std::vector<std::string> found;
    for (std::string line; std::getline(lines, line);) {
        const std::vector<std::string> words = WordsIn(line);
        for (const std::string& word : words) {
            if (word == wanted) {
                found.push_back(words[0]);
                break;
            }
        }
    }
    return found;
}

std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += (text.empty() ? "" : "\n") + line;
    }
    return text;
}

// The name of perf's event that a member of the statistics is made of.
std::string EventOf(const std::string& member) {
    static const std::vector<std::pair<std::string, std::string>> kNames{
        {"contextSwitches", "context-switches"},
        {"cpuMigrations", "cpu-migrations"},
        {"pageFaults", "page-faults"},
        {"branchMisses", "branch-misses"},
        {"cycles", "cycles"},
        {"instructions", "instructions"},
        {"stalledCyclesFrontend", "stalled-cycles-frontend"},
        {"stalledCyclesBackend", "stalled-cycles-backend"},
        {"cacheReferences", "cache-references"},
        {"cacheMisses", "cache-misses"},
        {"LLCLoads", "LLC-loads"},
        {"LLCLoadMisses", "LLC-load-misses"},
        {"LLCStores", "LLC-stores"},
        {"LLCStoreMisses", "LLC-store-misses"},
        {"L1DcacheLoads", "L1-dcache-loads"},
        {"L1DcacheLoadMisses", "L1-dcache-load-misses"},
        {"L1DcacheStores", "L1-dcache-stores"},
        {"L1DcacheStoreMisses", "L1-dcache-store-misses"},
        {"dTLBLoads", "dTLB-loads"},
        {"dTLBLoadMisses", "dTLB-load-misses"},
        {"iTLBLoads", "iTLB-loads"},
        {"iTLBLoadMisses", "iTLB-load-misses"}};
    for (const auto& [name, event] : kNames) {
        if (name == member) {
            return event;
        }
    }
    return "";
}

// Each value stands in the node's log, on the line of its counter.
void ExpectStatisticsOfLog(const JsonValue& node, const std::string& log) {
    ASSERT_EQ(node.MemberCount(), 22U);
    std::istringstream lines(log);
    for (const auto& counter : node.GetObject()) {
        const std::string name = counter.name.GetString();
        bool isThere = false;
        lines.clear();
        lines.seekg(0);
        for (std::string line; std::getline(lines, line) && !isThere;) {
            const std::vector<std::string> words = WordsIn(line);
            const std::size_t place = words.size() > 2 && words[0] == "<not" ? 2 : 1;
            isThere = words.size() > place && words[place] == EventOf(name) &&
                      words[0] == counter.value.GetString();
        }
        EXPECT_TRUE(isThere) << name << " = " << counter.value.GetString() << "\n" << log;
    }
}

TEST_F(BenchOnBoard, EachValueIsFoundInTheLogBesideIt) {
    if (!HasMachinePerf()) {
        GTEST_SKIP() << "this machine has no perf, which the benchmarks are part of";
    }
    EXPECT_EQ(Collect(Config(R"("messaging","pipe","memset","memcpy","stat","vpc","venc","vdec")",
                             R"("global","bench_busy","bench_lazy")")),
              "");
    const JsonDocument scheduler = Document("soc_cpu_bench_info");
    for (const char* job : {"messaging", "pipe"}) {
        const JsonValue& values = scheduler["content"][job];
        const std::string log = Log(std::string("bench_sched_") + job);
        EXPECT_THAT(log, HasSubstr(std::string("     Total time: ") +
                                   values["Total time"].GetString() + " [sec]\n"));
    }
    const JsonValue& pipe = scheduler["content"]["pipe"];
    EXPECT_EQ(BeforeWord(Log("bench_sched_pipe"), "ops/sec"),
              std::vector<std::string>{pipe["operations per second"].GetString()});
    EXPECT_EQ(BeforeWord(Log("bench_sched_pipe"), "usecs/op"),
              std::vector<std::string>{pipe["time cost per operation"].GetString()});

    const JsonDocument memory = Document("soc_mem_throughput_info");
    EXPECT_EQ(Joined(BeforeWord(Log("bench_mem_memset"), "GB/sec")),
              memory["content"]["memory set speed(GB/sec)"].GetString());
    EXPECT_EQ(Joined(BeforeWord(Log("bench_mem_memcpy"), "GB/sec")),
              memory["content"]["memory copy speed(GB/sec)"].GetString());

    const JsonDocument statistics = Document("soc_cpu_stat_info");
    ASSERT_EQ(statistics["content"].MemberCount(), 3U);
    for (const auto& node : statistics["content"].GetObject()) {
        ExpectStatisticsOfLog(node.value, Log(std::string("bench_stat_") + node.name.GetString()));
    }
    EXPECT_STREQ(statistics["content"]["global"]["LLCStores"].GetString(), "<not");
    EXPECT_STREQ(statistics["content"]["bench_lazy"]["cycles"].GetString(), "<not");
    EXPECT_NE(std::string(statistics["content"]["bench_busy"]["cycles"].GetString()), "<not");

    for (const char* engine : {"vpc", "venc", "vdec"}) {
        EXPECT_EQ(Log(std::string("bench_") + engine),
                  ReadText(std::string(ZARN_SOURCE_DIR) + "/board/files/proc/umap/" + engine));
    }
}

TEST_F(BenchOnBoard, FileCopiesAloneLeaveNoResult) {
    EXPECT_EQ(Collect(Config(R"("vpc")", "")), "");
    EXPECT_THAT(Log("bench_vpc"), HasSubstr("vpc statistics of the virtual board\n"));
    for (const std::string& name : board_.Tree().NamesIn("json")) {
        EXPECT_EQ(name.rfind("soc_", 0), std::string::npos) << name;
    }
}

// Numbers carry a point, and no commas, although the caller's locale has the comma for both.
TEST_F(BenchOnBoard, TheCallersLocaleDoesNotCount) {
    const std::string folder = board_.Files().Path() + "locales/";
    fs::create_directories(folder);
    if (!HasMachinePerf() ||
        board_.Shell("localedef -i de_DE -f UTF-8 locales/de_DE.UTF-8 >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "there is no perf, or localedef cannot make de_DE.UTF-8 here";
    }
    EXPECT_EQ(
        Collect(Config(R"("memset","stat")", R"("global","bench_busy")"),
                "export LOCPATH='" + folder +
                    "' LC_ALL=de_DE.UTF-8\n[ \"$(/usr/bin/printf %.1f 1,5)\" = 1,5 ] || exit 1"),
        "");
    const JsonDocument memory = Document("soc_mem_throughput_info");
    const std::string speeds = memory["content"]["memory set speed(GB/sec)"].GetString();
    EXPECT_EQ(Joined(BeforeWord(Log("bench_mem_memset"), "GB/sec")), speeds);
    EXPECT_THAT(speeds, testing::MatchesRegex("([0-9]+\\.[0-9]+\n?)+"));
    const JsonDocument statistics = Document("soc_cpu_stat_info");
    for (const auto& node : statistics["content"].GetObject()) {
        ExpectStatisticsOfLog(node.value, Log(std::string("bench_stat_") + node.name.GetString()));
    }
}

}  // namespace
}  // namespace zarn::test
