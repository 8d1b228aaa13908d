#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <numeric>
#include <regex>
#include <string>
#include <vector>

#include "tests/support/manager_texts.h"
#include "tests/support/run_tree.h"
#include "tests/support/temp_dir.h"
#include "tests/system/support/on_board.h"
#include "tests/system/support/programs.h"

// The machine's valgrind on the virtual board, by itself and called by the program, on a program
// whose work is known.
namespace zarn::test {
namespace {

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

// A board whose processes see no others: who looks for valgrind by its name must not find that of
// somebody else on this machine, and nobody's is to be interrupted.
constexpr const char* kAlone = R"sh(
alone() {
    user=
    [ "$(id -u)" = 0 ] || user="--user --map-root-user"
    unshare $user --pid --fork --kill-child --mount-proc "$@"
}
)sh";

class ValgrindOnBoard : public Board {
protected:
    void SetUp() override {
        Board::SetUp();
        if (IsSkipped()) {
            return;
        }
        if (Shell("valgrind --version").status != 0) {
            GTEST_SKIP() << "there is no valgrind on this machine";
        }
        const Result hidden = Shell(kAlone + std::string("alone true"));
        if (hidden.status != 0) {
            GTEST_SKIP() << "processes cannot be hidden from one another here: " << hidden.text;
        }
        directory_.Write("tools/pidof", ReadText(DataPath("patient_pidof")));
    }

    // Runs a script on such a board, in the directory of the test.
    [[nodiscard]] Result AloneOnBoard(const std::string& script) const {
        directory_.Write("script", "await() { until \"$@\"; do sleep 0.1; done; }\n" + script);
        return Shell(
            kAlone +
            std::string(
                "chmod +x tools/pidof; alone $BOARD --perf machine --opt-usr usr -- sh ./script"));
    }

    // Runs the program there. `settings` are the members of ProcessRunSetting.
    [[nodiscard]] Result Collect(const std::string& collector, const std::string& programs,
                                 const std::string& settings, const std::string& before = "") {
        ConfigText config;
        config.serial = "[\"" + collector + "\"]";
        directory_.Write(
            "usr/config.json",
            config.Text({{collector, R"({"process":)" + programs + R"(,"duration":1})"},
                         {"ProcessRunSetting", "{" + settings + "}"}}));
        return AloneOnBoard("export PATH=\"$PWD/tools:$PATH\"\n: > asked\n" + before +
                            "\nzarn /opt/usr/config.json > out 2> err");
    }

    [[nodiscard]] RunTree Tree() const {
        return RunTree(directory_.Path() + "usr/mnt/zarn/" +
                       RunTree(directory_.Path()).NamesIn("usr/mnt/zarn").back() + "/");
    }
    // The path of the one report of the run.
    [[nodiscard]] std::string Report(const std::string& tool, const std::string& program) const {
        const std::string folder = "raw_data/" + tool;
        return Tree().PathOf(Tree().OnlyFile(folder, tool + "_" + program + "_"));
    }
};

INSTANTIATE_TEST_SUITE_P(Ways, ValgrindOnBoard, testing::Values("namespace", "proot"), WayName);

TEST_P(ValgrindOnBoard, IsFoundByItsNameAndWritesAWholeReportWhenInterrupted) {
    const Result result = AloneOnBoard(R"sh(
        env --default-signal=INT valgrind --tool=cachegrind --cachegrind-out-file=report counted_work loops >out 2>err &
        await grep -qs begun out
        kill -2 "$(pidof valgrind)" && wait $!; echo status $?
        grep -c '^summary: [0-9 ]*$' report; grep -c 'I *refs' err; tail -n 1 out | cut -d' ' -f1-2)sh");
    EXPECT_EQ(result.text, "status 0\n1\n1\nspin_ten instructions\n");
}

TEST_P(ValgrindOnBoard, SaysThatTheMachineHasNone) {
    const Result result = AloneOnBoard(R"sh(
        PATH=$(dirname "$(command -v valgrind)") valgrind --version; echo status $?)sh");
    EXPECT_EQ(result.text,
              "valgrind: this machine has no valgrind, which the board needs for this; install "
              "valgrind\nstatus 127\n");
}

// A valgrind that is no script is used as it is.
TEST_P(ValgrindOnBoard, TakesTheFirstOfTheMachine) {
    const Result result = AloneOnBoard(R"sh(
        mkdir own && printf '#!/bin/sh\necho own "$@"\n' > own/valgrind && chmod +x own/valgrind
        PATH="$PATH:$PWD/own" valgrind --version
        PATH="$(dirname "$(command -v valgrind)"):$PWD/own:$PATH" valgrind 'two words')sh");
    EXPECT_THAT(result.text, ContainsRegex("^valgrind-[0-9.]+\nown two words\n$"));
}

constexpr const char* kLoops =
    R"("counted_loops":{"bin_path":"counted_work loops","env_variables":{}})";

// Numbers with a comma, where the machine has the sources of such a locale.
constexpr const char* kCommaLocale =
    "localedef -i de_DE -f UTF-8 ./de_DE.UTF-8 >/dev/null 2>&1 && "
    "export LOCPATH=\"$PWD\" LC_ALL=de_DE.UTF-8";

TEST_P(ValgrindOnBoard, CacheGrindFindsTheSharesOfInstructions) {
    const Result result =
        Collect("CacheGrindCollector", R"(["counted_loops"])", kLoops, kCommaLocale);
    EXPECT_EQ(result.status, 0) << result.text;
    EXPECT_THAT(directory_.Read("err"), Not(HasSubstr("[CacheGrindCollector]")));
    const Result rows = Shell("cg_annotate '" + Report("cachegrind", "counted_loops") + "'");
    // What it printed of itself: "<function> instructions <count> <share>% ...".
    const std::regex account("(spin_[a-z]+) instructions ([0-9]+) ([0-9.]+)%");
    const std::string text = directory_.Read("out");
    std::vector<double> shares;
    for (std::sregex_iterator told(text.begin(), text.end(), account), end; told != end; ++told) {
        std::smatch row;
        const std::regex pattern("\n *([0-9,]+) \\( *([0-9.]+)%\\)[^\n]*:" + (*told)[1].str() +
                                 "( |\n)");
        ASSERT_TRUE(std::regex_search(rows.text, row, pattern)) << rows.text;
        EXPECT_NEAR(std::stod(row[2]), std::stod((*told)[3]), 1.0) << told->str();
        const double counted = std::stod(std::regex_replace(row[1].str(), std::regex(","), ""));
        EXPECT_NEAR(counted / std::stod((*told)[2]), 1.0, 0.001) << told->str();
        shares.push_back(std::stod((*told)[3]));
    }
    EXPECT_THAT(shares, ElementsAre(60, 30, 10));
}

TEST_P(ValgrindOnBoard, MassifFindsThePeakAndWhoHoldsIt) {
    const Result result =
        Collect("MassifCollector", R"(["planned_heap"])",
                R"("planned_heap":{"bin_path":"counted_work heap","env_variables":{"A":"1"},
            "rungate":true,"rungate_alloc_group":"fast"})");
    EXPECT_EQ(result.status, 0) << result.text;
    EXPECT_THAT(directory_.Read("err"), Not(HasSubstr("[MassifCollector]")));
    EXPECT_THAT(directory_.Read("out"), HasSubstr("\npeak bytes 67108864\n"));
    const std::string report = Report("massif", "planned_heap");
    const std::string text = ReadText(report);
    const std::size_t peak = text.find("heap_tree=peak");
    ASSERT_NE(peak, std::string::npos);
    EXPECT_EQ(text.substr(text.rfind("mem_heap_B", peak), 19), "mem_heap_B=67108864");
    EXPECT_THAT(Shell("ms_print '" + report + "'").text,
                ContainsRegex("->75\\.00% \\(50,331,648B\\) 0x[0-9A-F]*: hold_frame "));
}

// One that runs already is killed, one that ends by itself is no failure, one that cannot be
// started has no report.
TEST_P(ValgrindOnBoard, ProgramsAreStartedAfresh) {
    const Result result =
        Collect("MassifCollector", R"(["counted_work","no_program","broken"])",
                R"("counted_work":{"bin_path":"counted_work heap 1","env_variables":{}},
           "no_program":{"bin_path":"./no_program","env_variables":{}},
           "broken":{"bin_path":"counted_work heap"})",
                ": > until_end\ncounted_work loops > copy & copy=$!\nawait grep -qs begun copy\n"
                "trap 'wait $copy; echo copy $?' EXIT");
    EXPECT_EQ(result.text, "copy 137\n");
    EXPECT_THAT(directory_.Read("out"), HasSubstr("\npeak bytes 67108864\n"));
    const RunTree tree = Tree();
    EXPECT_THAT(tree.NamesIn("raw_data/massif"), testing::SizeIs(1));
    EXPECT_THAT(ReadText(Report("massif", "counted_work")), HasSubstr("mem_heap_B=67108864\n"));
    const std::string err = directory_.Read("err");
    EXPECT_THAT(err, HasSubstr("[MassifCollector] Env_variables missing for process:broken!\n"
                               "[MassifCollector] Skipping this process!\n"));
    EXPECT_THAT(err, HasSubstr("valgrind: ./no_program: No such file or directory\n"));
    EXPECT_THAT(err, EndsWith("[MassifCollector] Failed to generate raw_data file for process: "
                              "no_program, please check the process setting!\n"));
    EXPECT_THAT(err, Not(HasSubstr("process: counted_work")));
    EXPECT_THAT(tree.Read("env_info/time_cost.log"), HasSubstr("[MassifCollector] cost time: "));
}

// Nobody ends a program that takes the interrupt as a matter of its own, or that has a child under
// valgrind when it is looked up.
TEST_P(ValgrindOnBoard, WhatCannotBeInterruptedIsWaitedFor) {
    directory_.Write("deaf",
                     "trap 'heard=yes' INT\necho begun\nuntil [ \"$heard\" ]; do :; done\ni=0\n"
                     "while [ $i -lt 1000 ]; do i=$((i + 1)); done\necho heard, and went on\n");
    directory_.Write("parent",
                     "rm -f answered\n(until [ -e answered ]; do :; done; echo child over) &\n"
                     "echo begun\nwait\necho over\n");
    const Result result = Collect("CacheGrindCollector", R"(["deaf","parent"])",
                                  R"("deaf":{"bin_path":"sh ./deaf","env_variables":{}},
                                     "parent":{"bin_path":"sh ./parent","env_variables":{}})");
    EXPECT_EQ(result.status, 0) << result.text;
    const std::string out = directory_.Read("out");
    EXPECT_THAT(out, HasSubstr("begun\nheard, and went on\n"));
    EXPECT_THAT(out, HasSubstr("begun\nchild over\nover\n"));
    EXPECT_THAT(Tree().NamesIn("raw_data/cachegrind"), testing::SizeIs(2));
}

// A perf that records until $work has had four more seconds of the processor, so that there are
// enough samples whatever else the machine does. The real one finds its `sleep` beside itself.
constexpr const char* kPatientPerf = R"sh(#!/bin/bash
PATH=${PATH#*:}
[ "$1" = record ] || exec perf "$@"
exec perf "${@:1:$#-2}" sh -c '
    ticks() { cut -d" " -f14 "/proc/$work/stat"; }
    end=$(($(ticks) + 400))
    until [ "$(ticks)" -ge "$end" ]; do sleep 0.1; done'
)sh";

TEST_P(ValgrindOnBoard, PerfFindsTheSharesOfTime) {
    if (std::string(GetParam()) == "proot") {
        GTEST_SKIP() << "perf is the same in both ways, and what it measures is slower in this one";
    }
    directory_.Write("tools/perf", kPatientPerf);
    const Result result =
        Collect("CallGrindCollector", R"(["counted_work","counted_work","absent"])", "",
                R"sh(
        chmod +x tools/perf
        counted_work loops > account & export work=$!
        await grep -qs begun account
        PATH=${PATH#*:} perf record -o probe -p $work -- true >probe.log 2>&1 || { echo unable; kill -KILL $work; exit; }
        trap 'kill -INT $work; wait $work' EXIT)sh");
    if (result.text == "unable\n") {
        GTEST_SKIP() << "the kernel does not let this user sample";
    }
    EXPECT_THAT(directory_.Read("err"),
                HasSubstr("[CallGrindCollector] Target process:absent does not exist! Skipping "
                          "this process!\n"));
    const RunTree tree = Tree();
    const std::vector<std::string> files = tree.NamesIn("raw_data/callgrind");
    ASSERT_THAT(files, ElementsAre(MatchesRegex("callgrind_counted_work_[0-9]+_[0-9]{17}\\.data"),
                                   MatchesRegex("callgrind_counted_work_[0-9]+_[0-9]{17}\\.log")));
    EXPECT_THAT(tree.Read("raw_data/callgrind/" + files[1]), HasSubstr(" spin_sixty+0x"));
    const Result rows = Shell("perf report -i '" + tree.PathOf("raw_data/callgrind/" + files[0]) +
                              "' --no-children --stdio -g none -F sample,sym 2>/dev/null");
    std::map<std::string, double> samples;
    const std::regex row(" *([0-9]+) +\\[\\.\\] (spin_[a-z]+) *\n");
    for (std::sregex_iterator found(rows.text.begin(), rows.text.end(), row), end; found != end;
         ++found) {
        samples[(*found)[2]] += std::stod((*found)[1]);
    }
    const double all =
        std::accumulate(samples.begin(), samples.end(), 0.0,
                        [](double sum, const auto& function) { return sum + function.second; });
    ASSERT_GT(all, 5000) << rows.text;
    // "<function> instructions <count> <share>% ms <ms> <share>%".
    const std::regex account("(spin_[a-z]+) .* ([0-9.]+)%\n");
    const std::string text = directory_.Read("account");
    int functions = 0;
    for (std::sregex_iterator told(text.begin(), text.end(), account), end; told != end; ++told) {
        EXPECT_NEAR(100 * samples[(*told)[1]] / all, std::stod((*told)[2]), 2.0) << told->str();
        ++functions;
    }
    EXPECT_EQ(functions, 3);
}

}  // namespace
}  // namespace zarn::test
