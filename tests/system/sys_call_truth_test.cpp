#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "foundation/json.h"
#include "foundation/text.h"
#include "tests/support/lines.h"
#include "tests/support/manager_texts.h"
#include "tests/system/support/on_board.h"
#include "tests/system/support/programs.h"

// Traces on the virtual board by the machine's strace, of programs that tell themselves how many
// system calls they have made.
namespace zarn::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

// `workload NAME ROUNDS` starts ./NAME, `settled NAME` says whether a program of that name is
// behind its beginning and waits.
constexpr const char* kWorkload = R"sh(
settled() { grep -qs '^State:.S' "/proc/$(pidof "$1")/status"; }
workload() {
    ln -s "$(command -v counted_work)" "$1"
    "./$1" calls "$2" > "$1.account" &
    await settled "$1"
}
)sh";

class StraceOnBoard : public Board {
protected:
    void SetUp() override {
        if (ProgramStart().size() > 1) {
            GTEST_SKIP() << "the board needs programs of this machine's processor";
        }
        Board::SetUp();
    }

    // A name of this test's own, since `pidof` knows the programs of all boards.
    [[nodiscard]] static std::string Name(const std::string& name) {
        return name + std::to_string(::getpid());
    }

    static std::string Config(const std::string& processes, const std::string& details = "true") {
        ConfigText config;
        config.serial = R"(["SysCallCollector"])";
        // The programs end the traces by their own end, long before that.
        return config.Text({{"SysCallCollector", R"({"process": [)" + processes +
                                                     R"(], "duration": 3600,
                                                     "saveDetailsToJson": )" +
                                                     details + "}"}});
    }

    // Skips where processes of one user may not trace each other.
    void NeedStrace() {
        const Result probe = OnBoard(R"sh(
            sleep 60 & program=$!
            strace -o probe.log -p $program 2> probe & await grep -qs . probe
            kill $program; wait
            grep -o attached probe || cat probe)sh");
        if (probe.text.rfind("attached\n", 0) != 0) {
            GTEST_SKIP() << "nothing can be traced here: " << probe.text;
        }
    }
};

class SysCallTruth : public StraceOnBoard {
protected:
    void SetUp() override {
        StraceOnBoard::SetUp();
        if (!IsSkipped()) {
            NeedStrace();
        }
    }

    // Collects from the programs that `script` starts; `before` runs outside the board.
    void Collect(const std::string& config, const std::string& script) {
        directory_.Write("usr/config.json", config);
        const Result result =
            OnBoard(kWorkload + script + "\nzarn /opt/usr/config.json > out 2> err; echo $?; wait",
                    "--opt-usr usr");
        ASSERT_EQ(result, (Result{"0\n", 0})) << directory_.Read("err");
        const std::string runs = "usr/mnt/zarn/";
        tree_ = runs + directory_.OnlyFile(runs, "zarn_data_") + "/";
        const std::string json = tree_ + "json/";
        ASSERT_TRUE(ParseJson(TrimmedText(json + directory_.OnlyFile(json, "soc_sys_call_info_1_")),
                              document_));
    }

    [[nodiscard]] std::string TrimmedText(const std::string& name) const {
        const std::string text = directory_.Read(name);
        return text.substr(0, text.size() - 1);
    }
    [[nodiscard]] std::string Log(const std::string& process) const {
        const std::string raw = tree_ + "raw_data/sys_call/";
        return directory_.Read(raw +
                               directory_.OnlyFile(raw, "soc_sys_call_info_" + process + "_1_"));
    }
    [[nodiscard]] const JsonValue& RowsOf(const std::string& process) const {
        return document_["content"][process.c_str()];
    }
    [[nodiscard]] const JsonValue* FindRow(const std::string& process,
                                           const std::string& call) const {
        for (const JsonValue& row : RowsOf(process).GetArray()) {
            if (row["syscall-name"] == call.c_str()) {
                return &row;
            }
        }
        return nullptr;
    }

    // The program's account of `rounds` rounds, and the rows that tell the same.
    void ExpectAccount(const std::string& process, std::uint64_t rounds, bool details) {
        std::istringstream account(directory_.Read(process + ".account"));
        std::string name;
        std::getline(account, name);
        std::uint64_t made = 0;
        std::uint64_t failed = 0;
        std::uint64_t all = 0;
        while (account >> name >> made >> failed) {
            all += made;
            const JsonValue* row = FindRow(process, name);
            ASSERT_NE(row, nullptr) << name;
            EXPECT_EQ((*row)["calls"].GetString(), std::to_string(made)) << name;
            EXPECT_EQ((*row)["errors"].GetString(), std::to_string(failed)) << name;
            ASSERT_EQ(row->HasMember("everyCall"), details) << name;
            if (details) {
                EXPECT_EQ((*row)["everyCall"].Size(), made) << name;
            }
        }
        EXPECT_EQ(all, 19 * rounds);
    }

    // Every row of the summary behind the trace, with all its strings.
    void ExpectRawTable(const std::string& process) {
        std::vector<std::vector<std::string>> expected;
        for (const std::string& line : LinesIn(Log(process))) {
            const bool isRow = !line.empty() && line[0] >= 'a' && line[0] <= 'z' &&
                               line.find("total") == std::string::npos &&
                               line.find("syscall") == std::string::npos;
            if (isRow) {
                expected.emplace_back();
                SplitString(line, " ", expected.back());
                expected.back().resize(8, "0");
            }
        }
        std::vector<std::vector<std::string>> found;
        for (const JsonValue& row : RowsOf(process).GetArray()) {
            found.emplace_back();
            for (const auto& member : row.GetObject()) {
                if (member.value.IsString()) {
                    found.back().emplace_back(member.value.GetString());
                }
            }
        }
        EXPECT_GE(expected.size(), 8U);
        EXPECT_EQ(found, expected);
    }

    std::string tree_;
    JsonDocument document_;
};

INSTANTIATE_TEST_SUITE_P(Ways, SysCallTruth, testing::Values("namespace"), WayName);
INSTANTIATE_TEST_SUITE_P(Ways, StraceOnBoard, testing::Values("namespace", "proot"), WayName);

TEST_P(SysCallTruth, TheCallsAreThoseThatWereMade) {
    const std::string name = Name("calls");
    ASSERT_NO_FATAL_FAILURE(Collect(Config("\"" + name + "\""), "workload " + name + " 200"));
    ExpectAccount(name, 200, true);
    ExpectRawTable(name);
}

// Two programs at once, whose traces end at their own times, without details.
TEST_P(SysCallTruth, EachOfTheProcessesHasItsOwn) {
    const std::string first = Name("first");
    const std::string second = Name("second");
    ASSERT_NO_FATAL_FAILURE(
        Collect(Config("\"" + second + R"(", "no_such_program", ")" + first + "\"", "false"),
                "workload " + first + " 10\nworkload " + second + " 100"));
    ExpectAccount(first, 10, false);
    ExpectAccount(second, 100, false);
    ExpectRawTable(first);
    ExpectRawTable(second);
    EXPECT_EQ(document_["content"].MemberBegin()->name.GetString(), second);
    EXPECT_THAT(directory_.Read("err"),
                HasSubstr("[SysCallCollector] Failed to get process id of no_such_program, "
                          "Skipped it!\n"));
}

// What the details say of a call stands in its line of the log.
TEST_P(SysCallTruth, TheDetailsAreThoseOfTheLog) {
    const std::string name = Name("details");
    ASSERT_NO_FATAL_FAILURE(Collect(Config("\"" + name + "\""), "workload " + name + " 20"));
    std::vector<std::pair<std::string, std::string>> logged;
    for (const std::string& line : LinesIn(Log(name))) {
        if (line.find(" fchdir(") != std::string::npos) {
            const std::size_t cost = line.rfind('<') + 1;
            logged.emplace_back(line.substr(0, line.find(' ')),
                                line.substr(cost, line.size() - 1 - cost));
        }
    }
    std::vector<std::pair<std::string, std::string>> found;
    const JsonValue* row = FindRow(name, "fchdir");
    ASSERT_NE(row, nullptr);
    for (const JsonValue& call : (*row)["everyCall"].GetArray()) {
        found.emplace_back(call["start_time"].GetString(), call["time_cost"].GetString());
    }
    EXPECT_EQ(found.size(), 40U);
    EXPECT_EQ(found, logged);
}

TEST_P(SysCallTruth, TheCallersLocaleDoesNotCount) {
    if (Shell("mkdir locales && localedef -i de_DE -f UTF-8 locales/de_DE.UTF-8 && "
              "test \"$(LOCPATH=$PWD/locales LC_ALL=de_DE.UTF-8 env printf %.1f 1,5)\" = 1,5")
            .status != 0) {
        GTEST_SKIP() << "localedef cannot make de_DE.UTF-8 here";
    }
    const std::string name = Name("locale");
    ASSERT_NO_FATAL_FAILURE(Collect(Config("\"" + name + "\""),
                                    "export LOCPATH=$PWD/locales LC_ALL=de_DE.UTF-8\n"
                                    "workload " +
                                        name + " 50"));
    ExpectAccount(name, 50, true);
    ExpectRawTable(name);
    const JsonValue* row = FindRow(name, "getppid");
    ASSERT_NE(row, nullptr);
    EXPECT_THAT((*row)["time-percent(%)"].GetString(), testing::MatchesRegex("[0-9]+\\.[0-9]+"));
}

// Only one can trace a process: the second collection has nothing, the first goes on.
TEST_P(SysCallTruth, AProcessThatIsTracedAlreadyHasAnEmptyArray) {
    const std::string name = Name("traced");
    ASSERT_NO_FATAL_FAILURE(
        Collect(Config("\"" + name + "\""),
                "ln -s /bin/sleep " + name + "; ./" + name + " 3600 & sleeper=$!\nawait settled " +
                    name + "\n" +
                    "strace -o other -p $sleeper 2> traced & await grep -qs attached traced\n"
                    "{ await grep -qs 'Save json' out; kill $sleeper; } &"));
    EXPECT_EQ(RowsOf(name).Size(), 0U);
    EXPECT_THAT(directory_.Read("err"), HasSubstr("ptrace(PTRACE_SEIZE, "));
}

// The trace goes on in the program that the process becomes.
TEST_P(SysCallTruth, AProcessThatExecutesAnotherProgramIsTracedFurther) {
    const std::string name = Name("becomes");
    ASSERT_NO_FATAL_FAILURE(Collect(Config("\"" + name + "\""),
                                    "ln -s /bin/sh " + name + "; mkfifo go; ./" + name +
                                        " -c 'read x < go; exec /bin/true' &\nawait settled " +
                                        name + "\n" +
                                        "{ await grep -qs attached err; echo > go; } &"));
    const JsonValue* row = FindRow(name, "execve");
    ASSERT_NE(row, nullptr);
    EXPECT_STREQ((*row)["calls"].GetString(), "1");
    EXPECT_NE(FindRow(name, "mmap"), nullptr);  // by which it is loaded
}

TEST_P(StraceOnBoard, RefusesOnABoardThatIsMadeByTracing) {
    const Result result = OnBoard("strace -o log true; echo $?");
    if (std::string(GetParam()) == "proot") {
        EXPECT_EQ(result, (Result{"strace: nothing can be traced on a board bound by proot, which "
                                  "traces all its processes itself; use --paths namespace\n1\n",
                                  0}));
    } else {
        EXPECT_THAT(result.text, EndsWith("0\n"));
    }
}

TEST_P(StraceOnBoard, IsToldWhereTheMachineHasNone) {
    if (std::string(GetParam()) == "proot") {
        GTEST_SKIP() << "it refuses before";
    }
    EXPECT_EQ(
        OnBoard(
            "mkdir tools; for tool in sh sed grep readlink; do ln -s \"$(command -v $tool)\" "
            "tools; done\n"
            "own=$(dirname \"$(command -v strace)\"); PATH=$own:$PWD/tools strace -p 1; echo $?"),
        (Result{"strace: this machine has no strace, which the board needs for this; install "
                "strace\n127\n",
                0}));
}

TEST_P(StraceOnBoard, TheBatchIsTheSameUntraced) {
    EXPECT_EQ(OnBoard("counted_work calls_untraced 3 | sed 's/[0-9.]* s:/N s:/'"),
              (Result{"system calls of the batch, in N s: name, made, failed\n"
                      "getppid 15 0\nsched_yield 3 0\numask 6 0\ngetsid 9 0\ngetpgid 9 3\n"
                      "fchdir 6 6\nftruncate 3 3\ngetpriority 6 3\n",
                      0}));
}

TEST_P(StraceOnBoard, TheWorkloadTellsWhatItTakes) {
    const Result result = OnBoard(R"sh(
        for words in '' 'calls 1x' 'calls -1' 'calls 1 2' 'other 1'; do
            counted_work $words > out; echo $?; grep -x 'mode: calls' out
        done | sort | uniq -c | sed 's/^ *//')sh");
    EXPECT_EQ(result, (Result{"5 2\n5 mode: calls\n", 0}));
}

}  // namespace
}  // namespace zarn::test
