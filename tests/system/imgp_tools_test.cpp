#include <gmock/gmock.h>

#include <string>

#include "tests/support/manager_texts.h"
#include "tests/system/support/recorded_tools.h"
#include "tests/system/support/sandbox.h"

// Profiles of the image block by the built program, with profiling tools that go wrong.
namespace zarn::test {
namespace {

using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

const std::string kNoData =
    "[ImgpCollector] Failed to find profiling data.\n"
    "[ImgpCollector] Failed to collect profiling data.\n";
const std::string kStopped =
    "[ImgpCollector] Received stop signal!\n"
    "[ImgpCollector] Failed to process profiling info!\n"
    "[ZarnManager] collector mode ImgpCollector failed!\n"
    "[ZarnManager] Some Collector missions failed to start!\n";

// The launcher's arguments as the tool takes them: where to write to, and where the slices go.
constexpr const char* kArguments =
    "for option in \"$@\"; do case $option in --output=*) out=${option#*=} ;; esac; done\n"
    "data=$out/PROF_1/device_0/data\nmkdir -p $data\n";

std::string Config(const std::string& jobs) {
    ConfigText config;
    config.serial = R"(["ImgpCollector"])";
    return config.Text({{"ImgpCollector", R"({"job": )" + jobs + R"(, "global": {"duration": 600},
        "app": {"path": " /usr/bin ", "library": "/usr/lib", "appName": "true", "params": []}})"}});
}

class ImgpTools : public testing::Test {
protected:
    // A launcher that does this for the tool; other calls of it are noted and succeed.
    void Tool(const std::string& body) {
        sandbox_.Tool("rungate",
                      "case $1 in /var/kavtrace) ;; *) echo \"$PWD $LD_LIBRARY_PATH $*\" >> "
                      "$ZARN_SANDBOX_DIR/calls; exit ;; esac\n" +
                          body);
    }

    std::string Errors(const std::string& jobs) {
        const RunResult run = sandbox_.Run(Config(jobs));
        EXPECT_TRUE(run.Succeeded());
        EXPECT_EQ(run.LastLine(), "[Main] Collection jobs finished.");
        return ErrorsOfMissions(run);
    }

    [[nodiscard]] std::string Table() const {
        return sandbox_.Read(sandbox_.OnlyFile("csv", "soc_imgp_global_profiling_"));
    }

    Sandbox sandbox_;
};

TEST_F(ImgpTools, AToolThatIsMissingOrSilentLeavesNoTable) {
    sandbox_.Tool("rungate", "[ \"$1\" != /var/kavtrace ] || exec \"$@\"\n");
    EXPECT_THAT(Errors(R"(["global"])"),
                MatchesRegex(".*rungate: .*/var/kavtrace: not found\n\\[Img(.|\n)*"));
    Tool("");
    EXPECT_EQ(Errors(R"(["global","app"])"), kNoData + kNoData);
    Tool("exit 7\n");
    EXPECT_EQ(Errors(R"(["global"])"), kNoData);
    EXPECT_THAT(sandbox_.Files("csv"), IsEmpty());
}

// However much it prints.
TEST_F(ImgpTools, TheWordOfFailureIsFoundAnywhere) {
    Tool(std::string(kArguments) +
         "echo Core > $data/imgp.vpc.0.slice_0\necho Core > $data/imgp.data.0.slice_0\n"
         "head -c 20000000 /dev/zero | tr '\\0' E; printf ERROR; head -c 100000 /dev/zero\n");
    EXPECT_EQ(Errors(R"(["global"])"),
              "[ImgpCollector] Failed to collect global profiling data.\n");
    EXPECT_THAT(sandbox_.Files("csv"), IsEmpty());
}

TEST_F(ImgpTools, OddSlicesBecomeTablesOfWhatTheyHold) {
    Tool(std::string(kArguments) +
         "{ echo Core,TimeStamp; head -c 16000000 /dev/zero | tr '\\0' 7; echo; echo 1,2.3; } "
         "> $data/imgp.data.0.slice_0\nmkfifo $data/imgp.vpc.0.slice_0\n");
    EXPECT_EQ(Errors(R"(["global"])"), "[ImgpCollector] Fail to open profiling data file\n");
    const std::string table = Table();
    const std::string expected =
        "Core,TimeStamp(s),TimeStamp(ns),\n" + std::string(16000000, '7') + ",,,\n1,2,3,\n";
    EXPECT_EQ(table.size(), expected.size());
    EXPECT_TRUE(table == expected);
}

TEST_F(ImgpTools, AFullDiskLeavesAnEmptyTable) {
    if (!sandbox_.LimitSpace(400000)) {
        GTEST_SKIP() << Sandbox::kNeedsRoot;
    }
    Tool(std::string(kArguments) +
         "{ echo Core; head -c 250000 /dev/zero | tr '\\0' 7; } > $data/imgp.data.0.slice_0\n"
         "echo Core > $data/imgp.vpc.0.slice_0\n");
    EXPECT_EQ(Errors(R"(["global"])"), "[ImgpCollector] Failed to open csv file.\n");
    EXPECT_EQ(Table(), "");
}

// The tool traces on as long as it likes: an interrupt that reaches it, too, ends it.
TEST_F(ImgpTools, AnInterruptEndsTheCollectorBehindTheTool) {
    Tool(std::string(kArguments) +
         "echo Core > $data/imgp.data.0.slice_0\necho Core > $data/imgp.vpc.0.slice_0\n"
         "sandbox-event interrupt\nkill -INT $$\n");
    EXPECT_EQ(Errors(R"(["global","app","umap"])"), kStopped);
    EXPECT_EQ(Table(), "Core,\nCore,\n");
    EXPECT_THAT(sandbox_.Files("csv"), SizeIs(1));
    EXPECT_THAT(sandbox_.Files("raw_data/imgp/umap"), IsEmpty());
    EXPECT_THAT(sandbox_.Files("env_info"), testing::Not(testing::Contains("time_cost.log")));
}

TEST_F(ImgpTools, TheApplicationRunsByItsScript) {
    Tool(std::string(kArguments) +
         "for option in \"$@\"; do case $option in --application=*) eval \"${option#*=}\" ;; esac; "
         "done\necho Core > $data/imgp.data.0.slice_0\necho Core > $data/imgp.vpc.0.slice_0\n");
    sandbox_.SetEnvironment("LD_LIBRARY_PATH", "/opt/lib");
    EXPECT_EQ(Errors(R"(["app"])"), "");
    EXPECT_THAT(sandbox_.ReadScratch("calls"),
                testing::EndsWith("/usr/bin /usr/lib:/opt/lib ./true --allocGroup=default_dm\n"));
    EXPECT_THAT(sandbox_.Files("csv"), SizeIs(1));
}

TEST_F(ImgpTools, WithoutAnImageBlockItsStatisticsAreMissing) {
    EXPECT_THAT(Errors(R"(["umap"])"),
                MatchesRegex("\\[ImgpCollector\\] Catch a file copy exception: .*: No such file or "
                             "directory \\[/proc/umap/\\]\n"));
}

}  // namespace
}  // namespace zarn::test
