#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

#include "tests/support/ordinary_rights.h"
#include "tests/unit/collectors/device/imgp/imgp_collector_fixture.h"

// The collector's runs of the profiling tool, and the tables made of what it leaves.
namespace zarn::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const std::string kGlobal = "[ImgpCollector] Start to collect global profiling data!\n";
const std::string kApp = "[ImgpCollector] Start to collect app profiling data!\n";
const std::string kNoData =
    "[ImgpCollector] Failed to find profiling data.\n"
    "[ImgpCollector] Failed to collect profiling data.\n";
const std::string kNoSlice = "[ImgpCollector] Profiling data does not exist.\n";
const std::string kNoApp = "[ImgpCollector] Failed to find application path for app profiling.\n";

constexpr const char* kGlobalTable = "csv/soc_imgp_global_profiling_20230101120000000.csv";
constexpr const char* kAppTable = "csv/soc_imgp_app_profiling_20230101120000000.csv";
constexpr const char* kData = "imgp.data.0.slice_0";
constexpr const char* kVpc = "imgp.vpc.0.slice_0";

class ImgpProfilingTest : public ImgpCollectorTest {
protected:
    // The tool leaves such a slice when it runs.
    void Leave(const std::string& slice, const std::string& text,
               const std::string& trace = "PROF_1") {
        host.runner.Before("/var/kavtrace", [this, slice, text, trace](const std::string& command) {
            const bool isGlobal = command.find("--sys-period") != std::string::npos;
            dir.Write(std::string("run/raw_data/imgp/") + (isGlobal ? "global/" : "app/") + trace +
                          "/device_0/data/" + slice,
                      text);
        });
    }
};

TEST_F(ImgpProfilingTest, TheDevicesProfileBecomesATable) {
    Leave(kData, "Channel,In W*H\n0,1920*1080\n");
    Leave(kVpc, "Core,TimeStamp\n0,1 2\n");
    const Captured captured = Run(R"(["global"])");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    EXPECT_EQ(captured.out, kGlobal);
    EXPECT_THAT(host.runner.Commands(),
                ElementsAre(" rungate /var/kavtrace --output=" + tree +
                            "raw_data/imgp/global --sys-devices=all --ai-core=off --sys-period=3 "
                            "--imgp-profiling=on"));
    EXPECT_EQ(Read(kGlobalTable),
              "Channel,InWidth,InHeight,\n0,1920,1080,\n"
              "Core,TimeStamp(s),TimeStamp(ns),\n0,1,2,\n");
    EXPECT_THAT(host.device.Calls(), IsEmpty());
}

TEST_F(ImgpProfilingTest, TheApplicationsProfileBecomesATable) {
    dir.Write("bin/player", "");
    Leave(kData, "Channel\n0\n");
    Leave(kVpc, "Core\n1\n");
    const Captured captured = Run(R"(["app"])", "  player ", R"(["-v","a&b"])");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    EXPECT_EQ(captured.out, kApp);
    const std::string folder = tree + "raw_data/imgp/app/";
    EXPECT_THAT(host.runner.Commands(),
                ElementsAre(" rungate /var/kavtrace --output=" + folder + "  --application=\"sh " +
                            folder + "imgp_script.sh\" --imgp-profiling=on"));
    EXPECT_EQ(Read("raw_data/imgp/app/imgp_script.sh"),
              "cd " + dir.Path() +
                  "bin\nexport LD_LIBRARY_PATH=/opt/lib:$LD_LIBRARY_PATH\n"
                  "rungate ./player -v a\\&b --allocGroup=default_dm\n");
    EXPECT_EQ(Read(kAppTable), "Channel,\n0,\nCore,\n1,\n");
}

TEST_F(ImgpProfilingTest, AToolThatSaysErrorLeavesNoTable) {
    dir.Write("bin/player", "");
    Leave(kData, "Channel\n");
    host.runner.On("/var/kavtrace", "started\nERROR: no device\n");
    const Captured captured = Run(R"(["global","app"])");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err,
              "[ImgpCollector] Failed to collect global profiling data.\n"
              "[ImgpCollector] Failed to collect app profiling data.\n");
    EXPECT_EQ(captured.out, kGlobal + kApp);
    EXPECT_THAT(Names("csv"), IsEmpty());
}

TEST_F(ImgpProfilingTest, AToolThatCannotBeStartedIsTold) {
    dir.Write("bin/player", "");
    host.runner.Refuse("/var/kavtrace");
    EXPECT_EQ(Run(R"(["global","app"])").err,
              "[zarn_utils] Failed to popen command!\n"
              "[ImgpCollector] Failed to execute global profiling command.\n"
              "[zarn_utils] Failed to popen command!\n"
              "[ImgpCollector] Failed to execute app profiling command.\n");
    EXPECT_TRUE(result);
}

// ---- What the tool leaves

TEST_F(ImgpProfilingTest, WithoutATraceThereIsNoTable) {
    EXPECT_EQ(Run(R"(["global"])").err, kNoData);
    fs::create_directories(tree + "raw_data/imgp/global/trace");
    EXPECT_EQ(Run(R"(["global"])").err, kNoData);
    EXPECT_TRUE(result);
    EXPECT_THAT(Names("csv"), IsEmpty());
}

TEST_F(ImgpProfilingTest, ASliceThatIsMissingCostsItself) {
    Leave(kVpc, "Core\n0\n");
    EXPECT_EQ(Run(R"(["global"])").err, kNoSlice);
    EXPECT_EQ(Read(kGlobalTable), "Core,\n0,\n");
}

TEST_F(ImgpProfilingTest, WithoutSlicesThereIsNoTable) {
    Leave("other", "");
    EXPECT_EQ(Run(R"(["global"])").err, kNoSlice + kNoSlice);
    EXPECT_THAT(Names("csv"), IsEmpty());
    dir.Write("run/raw_data/imgp/global/PROF_2", "no folder");
    EXPECT_EQ(Run(R"(["global"])").err, kNoSlice + kNoSlice);
}

TEST_F(ImgpProfilingTest, ASliceThatCannotBeOpenedIsTold) {
    const std::string folder = tree + "raw_data/imgp/global/PROF_1/device_0/data/";
    fs::create_directories(folder);
    ASSERT_EQ(::mkfifo((folder + kData).c_str(), 0600), 0);
    Leave(kVpc, "Core\n0\n");
    const std::string line = "[ImgpCollector] Fail to open profiling data file\n";
    EXPECT_EQ(Run(R"(["global"])").err, line);
    EXPECT_EQ(Read(kGlobalTable), "Core,\n0,\n");
    fs::remove(tree + kGlobalTable);
    fs::remove(folder + kData);
    fs::create_directories(folder + kData);
    EXPECT_EQ(Run(R"(["global"])").err, line);
}

// A tool that is called several times leaves several traces.
TEST_F(ImgpProfilingTest, TheLastTraceByNameCounts) {
    for (int day = 10; day <= 30; ++day) {
        const std::string trace = "PROF_202301" + std::to_string(day);
        Leave(kData, day == 30 ? "new\n" : "old\n", trace);
        Leave(kVpc, day == 30 ? "new\n" : "old\n", trace);
    }
    Leave(kVpc, "no trace\n", "z");
    EXPECT_EQ(Run(R"(["global"])").err, "");
    EXPECT_EQ(Read(kGlobalTable), "new,\nnew,\n");
}

TEST_F(ImgpProfilingTest, ATableThatCannotBeOpenedIsTold) {
    Leave(kData, "Channel\n");
    Leave(kVpc, "Core\n");
    fs::create_directories(tree + kGlobalTable);
    EXPECT_EQ(Run(R"(["global"])").err, "[ImgpCollector] Failed to open csv file.\n");
    EXPECT_TRUE(result);
}

TEST_F(ImgpProfilingTest, EmptyAndBinarySlicesAreTables) {
    Leave(kData, "");
    Leave(kVpc, std::string("\0\x01,\xff\n\n\0,,,", 9));
    EXPECT_EQ(Run(R"(["global"])").err, "");
    EXPECT_EQ(Read(kGlobalTable), std::string("\0\x01,\xff,\n\0,,\n", 10));
}

// ---- The application

TEST_F(ImgpProfilingTest, AnApplicationThatIsNotThereIsNotRun) {
    fs::create_directories(dir.Path() + "bin/folder");
    EXPECT_EQ(Run(R"(["app"])", " ").err, "[ImgpCollector] AppName is empty.\n" + kNoApp);
    EXPECT_EQ(Run(R"(["app"])", "gone").err,
              "[ImgpCollector] App does not exist, app: " + dir.Path() + "bin/gone\n" + kNoApp);
    EXPECT_EQ(Run(R"(["app"])", " folder ").err, "[ImgpCollector] app is not regular file, app: " +
                                                     dir.Path() + "bin/folder\n" + kNoApp);
    EXPECT_TRUE(result);
    EXPECT_THAT(host.runner.Commands(), IsEmpty());
    EXPECT_THAT(Names("raw_data/imgp"), IsEmpty());
}

TEST_F(ImgpProfilingTest, WithoutItsFolderTheApplicationIsNotRun) {
    dir.Write("bin/player", "");
    fs::create_directories(tree + "raw_data/imgp");
    fs::create_symlink("nowhere/at/all", tree + "raw_data/imgp/app");
    EXPECT_THAT(Run(R"(["app"])").err,
                EndsWith("\n[ImgpCollector] Failed to create imgp app raw dir\n"));
    EXPECT_TRUE(result);
    EXPECT_THAT(host.runner.Commands(), IsEmpty());
}

TEST_F(ImgpProfilingTest, WithoutItsScriptTheApplicationIsNotRun) {
    dir.Write("bin/player", "");
    fs::create_directories(tree + "raw_data/imgp/app/imgp_script.sh");
    EXPECT_EQ(Run(R"(["app"])").err, "[ImgpCollector] Failed to open script file.\n");
    EXPECT_TRUE(result);
    EXPECT_THAT(host.runner.Commands(), IsEmpty());
}

}  // namespace
}  // namespace zarn::test
