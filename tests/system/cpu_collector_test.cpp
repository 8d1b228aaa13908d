#include <gmock/gmock.h>

#include <sstream>

#include "formats/cpu.h"
#include "foundation/stop_flag.h"
#include "foundation/text.h"
#include "tests/support/lines.h"
#include "tests/support/manager_texts.h"
#include "tests/support/section_config.h"
#include "tests/system/support/sandbox.h"

// CPU collections by the built program, with tools that print what real ones printed, or worse.
namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;

constexpr const char* kAllJobs = R"("global","core","selected_process")";
constexpr const char* kStopLine = "[CpuCollector] StopFlag received, CPU collector has stopped.";

// Answers of the fake tools: files below tests/data.
constexpr const char* kPlain = "top-4.0.2/plain.txt";
constexpr const char* kCores = "top-4.0.2/two_cores_unfiltered.txt";
constexpr const char* kThreads = "top-4.0.2/threads.txt";
constexpr const char* kProcesses = "ps-4.0.2/processes.txt";

std::string Config(const std::string& jobs, const std::string& changedKey = "count",
                   const std::string& value = "3") {
    const SectionKeys keys = {
        {"job", "[" + jobs + "]"},    {"interval", "0.5"},          {"count", "3"},
        {"process", R"(["logger"])"}, {"thread_collector", "true"}, {"json_output", "true"}};
    ConfigText config;
    config.parallel = R"(["CpuCollector"])";
    return config.Text({{"CpuCollector", SectionText(keys, changedKey, value)}});
}

// The lines of a stream that are the collector's, the utilities' or a shell's.
std::string WithoutManagerLines(const std::string& text) {
    std::string kept;
    for (const std::string& line : LinesIn(text)) {
        if (line.rfind("[ZarnManager]", 0) != 0 && line.rfind("[Main]", 0) != 0) {
            kept += line + "\n";
        }
    }
    return kept;
}

// A raw log without its time lines and empty lines.
std::vector<std::string> Content(const std::string& log) {
    std::vector<std::string> lines;
    for (const std::string& line : LinesIn(log)) {
        if (!line.empty() && !(line.size() == 17 && IsDigitString(line))) {
            lines.push_back(line);
        }
    }
    return lines;
}

class CpuCollectorSystemTest : public testing::Test {
protected:
    // A top and a ps that note their arguments and print captured text; `top` runs `before` first.
    void UseTools(const std::string& plain, const std::string& cores,
                  const std::string& before = "") {
        sandbox_.Tool("top", "echo \"top $*\" >> $ZARN_SANDBOX_DIR/calls\n" + before +
                                 "case \"$*\" in -1*) exec cat " + cores + " ;; *-H*) exec cat " +
                                 DataPath(kThreads) + " ;; *) exec cat " + plain + " ;; esac\n");
        sandbox_.Tool("ps",
                      "echo \"ps $*\" >> $ZARN_SANDBOX_DIR/calls\n"
                      "case \"$*\" in *-L*) shift 3; exec cat " +
                          DataPath("ps-4.0.2/threads_of_") + "$1.txt 2>/dev/null ;; *) exec cat " +
                          DataPath(kProcesses) + " ;; esac\n");
    }

    // The one raw log of that name.
    [[nodiscard]] std::string Log(const NumberedFile& kind) const {
        return sandbox_.Tree().Read(kind);
    }

    [[nodiscard]] std::vector<std::string> Documents() const {
        return LinesIn(sandbox_.Tree().Read(cpu_files::kUsageDocuments));
    }

    Sandbox sandbox_;
};

TEST_F(CpuCollectorSystemTest, RunsItsToolsAndKeepsWhatTheyPrint) {
    UseTools(DataPath(kPlain), DataPath(kCores));
    const RunResult run = sandbox_.Run(Config(kAllJobs));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_EQ(WithoutManagerLines(run.out), "");
    std::vector<std::string> calls = {"top -b -n 3 -d 0.500000 -w 512 -o %CPU",
                                      "top -1 -b -n 3 -d 0.500000 -w 512",
                                      "top -b -n 3 -d 0.500000 -w 512 -H -o %CPU"};
    for (int pass = 0; pass < 3; ++pass) {
        calls.emplace_back(
            "ps --no-header --cols 512 -eo user,pid,%cpu,%mem,vsz,rss,psr,comm --sort -%cpu");
        for (const std::string& row : LinesIn(ReadText(DataPath(kProcesses)))) {
            std::istringstream words(row);
            std::string pid;
            words >> pid >> pid;
            calls.push_back("ps --no-header -L -p " + pid +
                            " -o user,tid,pid,%cpu,%mem,vsz,rss,psr,comm");
        }
    }
    EXPECT_THAT(LinesIn(sandbox_.ReadScratch("calls")), UnorderedElementsAreArray(calls));
    EXPECT_EQ(sandbox_.Files("raw_data/cpu").size(), 5U);
    std::vector<std::string> printed = Content(ReadText(DataPath(kPlain)));
    EXPECT_EQ(Content(Log(cpu_files::kUsageLog)), printed);
    EXPECT_EQ(Content(Log(cpu_files::kGlobalLog)).size(), 15U);
    EXPECT_EQ(Content(Log(cpu_files::kCoresLog)).size(), 12U);
    EXPECT_EQ(Content(Log(cpu_files::kSelectedLog)).size(), 9U);
    EXPECT_EQ(Content(Log(cpu_files::kThreadLog)).size(), 30U);
    EXPECT_EQ(Documents().size(), 3U);
    EXPECT_THAT(Documents()[2], HasSubstr(R"({"threadInfo":"daemon        14      14 )"));
    EXPECT_THAT(sandbox_.Read("env_info/time_cost.log"), HasSubstr("[CpuCollector] cost time: "));
}

TEST_F(CpuCollectorSystemTest, WithoutToolsOnlyTheTimesAreFiled) {
    sandbox_.OnlyTools({"awk"});
    const RunResult run = sandbox_.Run(Config(kAllJobs));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_EQ(WithoutManagerLines(run.out), "");
    EXPECT_THAT(run.err, HasSubstr("top: not found"));
    EXPECT_THAT(run.err, HasSubstr("ps: not found"));
    for (const NumberedFile& kind :
         {cpu_files::kUsageLog, cpu_files::kGlobalLog, cpu_files::kCoresLog,
          cpu_files::kSelectedLog, cpu_files::kThreadLog}) {
        EXPECT_THAT(LinesIn(Log(kind)), ElementsAre(testing::MatchesRegex("[0-9]{17}"), ""));
    }
    ASSERT_EQ(Documents().size(), 3U);
    EXPECT_THAT(Documents()[0], HasSubstr(R"("cpu":[],"top10Procs":[],"selectedProcs":[]}})"));
}

TEST_F(CpuCollectorSystemTest, AToolKilledInTheMiddleLeavesWhatItPrinted) {
    sandbox_.Tool("ps", "exit 0\n");
    sandbox_.Tool("top", "head -c 1500 " + DataPath(kPlain) + "; kill -9 $$\n");
    const RunResult run = sandbox_.Run(Config(R"("global")"));
    EXPECT_TRUE(run.Succeeded());
    const std::string torn = ReadText(DataPath(kPlain)).substr(0, 1500);
    EXPECT_EQ(Content(Log(cpu_files::kUsageLog)), Content(torn));
    EXPECT_EQ(Documents().size(), 3U);
    EXPECT_THAT(sandbox_.Read("env_info/time_cost.log"), HasSubstr("[CpuCollector] cost time: "));
}

TEST_F(CpuCollectorSystemTest, HostileOutputIsKeptInPieces) {
    sandbox_.Tool("ps", "head -c 16777216 /dev/zero\n");
    sandbox_.Tool("top",
                  "printf 'top \\000\\001\\377\\r\\n\\r\\n'\n"
                  "head -c 16777216 /dev/zero | tr '\\000' x\nprintf '\\ntop - torn'\n");
    const RunResult run = sandbox_.Run(Config(kAllJobs, "thread_collector", "false"));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_EQ(WithoutManagerLines(run.out + run.err), "");
    using namespace std::string_literals;
    const std::vector<std::string> lines = LinesIn(Log(cpu_files::kUsageLog));
    constexpr std::size_t kPieces = (16777216 + 510) / 511;
    ASSERT_EQ(lines.size(), 3 + kPieces + 4);
    EXPECT_EQ(lines[1], "top \0\x01\xff\r"s);
    EXPECT_EQ(lines[2], "\r");
    EXPECT_EQ(lines[3], std::string(511, 'x'));
    EXPECT_EQ(lines[lines.size() - 2], "top - torn");
    EXPECT_EQ(Documents().size(), 3U);
}

TEST_F(CpuCollectorSystemTest, AnInterruptDuringTheMeasuringIsSeenAfterIt) {
    UseTools(DataPath(kPlain), DataPath(kCores),
             "case \"$*\" in -1*) sandbox-event interrupt ;; esac\n");
    const RunResult run = sandbox_.Run(Config(kAllJobs));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_THAT(LinesIn(run.out), testing::Contains(kStopLine).Times(1));
    EXPECT_EQ(run.LastLine(), "[Main] Collection jobs finished.");
    EXPECT_THAT(sandbox_.Files("raw_data/cpu"), IsEmpty());
    EXPECT_THAT(sandbox_.Read("env_info/time_cost.log"), HasSubstr("[CpuCollector] cost time: "));
    EXPECT_EQ(LinesIn(sandbox_.ReadScratch("calls")).size(), 3U + 3U * 12U);
}

// The cores log is the third file and does not fit; the others and the documents are whole.
TEST_F(CpuCollectorSystemTest, AFullDiskLeavesOutOnlyWhatDoesNotFit) {
    if (!sandbox_.LimitSpace(300000)) {
        GTEST_SKIP() << Sandbox::kNeedsRoot;
    }
    UseTools(DataPath(kPlain), "$ZARN_SANDBOX_DIR/cores",
             "case \"$*\" in -1*) for i in $(seq 400); do cat " + DataPath(kCores) +
                 "; done > $ZARN_SANDBOX_DIR/cores ;; esac\n");
    const RunResult run = sandbox_.Run(Config(kAllJobs));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_EQ(run.LastLine(), "[Main] Collection jobs finished.");
    EXPECT_EQ(Content(Log(cpu_files::kUsageLog)), Content(ReadText(DataPath(kPlain))));
    EXPECT_EQ(Content(Log(cpu_files::kGlobalLog)).size(), 15U);
    EXPECT_EQ(Log(cpu_files::kCoresLog), "");
    EXPECT_EQ(Content(Log(cpu_files::kThreadLog)).size(), 30U);
    ASSERT_EQ(Documents().size(), 3U);
    for (const std::string& document : Documents()) {
        EXPECT_THAT(document, testing::EndsWith("]}}"));
    }
    EXPECT_EQ(WithoutManagerLines(run.out + run.err), "");
}

struct WrongType {
    const char* key;
    const char* value;
};

class CpuCollectorWrongType : public testing::TestWithParam<WrongType> {};

TEST_P(CpuCollectorWrongType, EndsTheProgramByAnAssertion) {
    Sandbox sandbox;
    const RunResult run = sandbox.Run(Config("", GetParam().key, GetParam().value));
    EXPECT_TRUE(run.Aborted());
    EXPECT_THAT(run.err, HasSubstr("JSON assertion"));
}

INSTANTIATE_TEST_SUITE_P(Keys, CpuCollectorWrongType,
                         testing::Values(WrongType{"json_output", "1"},
                                         WrongType{"thread_collector", "0"},
                                         WrongType{"interval", R"("1")"},
                                         WrongType{"count", "2.0"}),
                         [](const auto& type) { return std::string(type.param.key); });

}  // namespace
}  // namespace zarn::test
