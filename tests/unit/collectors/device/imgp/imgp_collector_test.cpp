#include "collectors/device/imgp/imgp_collector.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "tests/unit/collectors/device/imgp/imgp_collector_fixture.h"

// The collector's steps, its queries of the device, and the kernel's statistics.
namespace zarn::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::MatchesRegex;

const std::string kBegin = "[ImgpCollector] Start to collect imgp utilization data!\n";
const std::string kNoDevices = "[ImgpCollector] Failed to get device info.\n";
constexpr const char* kDocuments = "json/soc_imgp_utilization_info_20230101120000000.data";

// The calls of a run: the two about devices, then one for each job on each device.
constexpr std::size_t kCountCall = 0;
constexpr std::size_t kListCall = 1;
constexpr std::size_t kFirstRate = 2;

std::string Document(const std::string& content) {
    return R"({"eventId":"222210220","happenTime":"20230101120000000",)"
           R"("objectId":"soc_imgp_utilization_info","content":{)" +
           content + "}}\n";
}

std::string NoRate(const std::string& job) {
    return "[ImgpCollector] Failed to get utilizaton ratio for " + job + "!\n";
}

TEST_F(ImgpCollectorTest, OneJobGivesOneMember) {
    const Captured captured = Run(R"(["vpc"])");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    EXPECT_EQ(captured.out, kBegin);
    EXPECT_EQ(Read(kDocuments), Document(R"("deviceId":0,"vpcRate":22)"));
    EXPECT_THAT(host.runner.Commands(), IsEmpty());
    EXPECT_THAT(Names("raw_data/imgp"), IsEmpty());
    EXPECT_THAT(Read("env_info/time_cost.log"),
                MatchesRegex("\\[ImgpCollector\\] cost time: [0-9.e-]+s\n"));
    EXPECT_THAT(host.device.CallLines(),
                ElementsAre("get 0:0 0 ", "get 0:0 0 ", "get 0:2 4 ffffffff"));
}

TEST_F(ImgpCollectorTest, EachDeviceHasADocumentWithAllRates) {
    host.device.devices = {0, 4};
    EXPECT_EQ(Run(R"(["vdec","venc","vpc"])").err, "");
    EXPECT_EQ(Read(kDocuments),
              Document(R"("deviceId":0,"vpcRate":22,"vencRate":33,"vdecRate":11)") +
                  Document(R"("deviceId":4,"vpcRate":22,"vencRate":33,"vdecRate":11)"));
    ASSERT_EQ(host.device.Calls().size(), 8U);
    EXPECT_EQ(host.device.Calls()[7].device, 4U);
}

TEST_F(ImgpCollectorTest, WithoutAJobNothingHappens) {
    const Captured captured = Run("[]");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out + captured.err, "");
    EXPECT_THAT(host.device.Calls(), IsEmpty());
    EXPECT_THAT(host.runner.Commands(), IsEmpty());
    EXPECT_TRUE(fs::is_directory(tree + "raw_data/imgp"));
}

TEST_F(ImgpCollectorTest, TheSectionIsReadAgainAtTheStart) {
    JsonDocument checked;
    JsonDocument started;
    const std::string rest =
        R"(,"global":{"duration":1},"app":{"path":"","library":"","appName":"","params":[]}}})";
    ASSERT_TRUE(ParseJson(R"({"ImgpCollector":{"job":["vdec"])" + rest, checked));
    ASSERT_TRUE(ParseJson(R"({"ImgpCollector":{"job":["venc"])" + rest, started));
    ImgpCollector collector(ImgpCollector::kName, host.Get());
    EXPECT_TRUE(collector.CheckOptions(checked, "collector"));
    const Captured captured =
        Capture([&] { EXPECT_TRUE(collector.Start(started, tree, &stopFlag)); });
    EXPECT_EQ(Read(kDocuments), Document(R"("deviceId":0,"vencRate":33)"));
    JsonDocument broken;
    ASSERT_TRUE(ParseJson("{}", broken));
    EXPECT_EQ(Capture([&] { EXPECT_FALSE(collector.Start(broken, tree, &stopFlag)); }).err,
              "[ImgpCollector] Failed to find ImgpCollector!\n"
              "[ImgpCollector] Failed to parse job params!\n");
}

TEST_F(ImgpCollectorTest, WithoutItsFolderItFails) {
    dir.Write("run/raw_data", "in the way");
    EXPECT_THAT(Run(R"(["vpc"])").err, EndsWith("\n[ImgpCollector] Cannot create directory!\n"));
    EXPECT_FALSE(result);
    EXPECT_THAT(host.device.Calls(), IsEmpty());
}

// ---- The device

TEST_F(ImgpCollectorTest, WithoutDevicesTheNextJobRuns) {
    fs::create_directories(host.procRoot + "umap");
    const auto expectNoDevice = [this](const std::string& line) {
        const Captured captured = Run(R"(["vpc","umap"])");
        EXPECT_TRUE(result);
        EXPECT_EQ(captured.err, line + kNoDevices);
        EXPECT_EQ(captured.out, kBegin + "[ImgpCollector] Start to collect umap data!\n");
        EXPECT_THAT(Names("json"), IsEmpty());
    };
    for (const int count : {0, -1, -2147483647 - 1}) {
        host.device.saidCount = count;
        expectNoDevice("[ImgpCollector] Failed to find device!\n");
    }
    for (const int count : {17, 2147483647}) {
        host.device.saidCount = count;
        expectNoDevice("[ImgpCollector] Failed to get device count, error code:0\n");
    }
    EXPECT_EQ(host.device.Calls().size(), 5U);
    host.device.saidCount.reset();
    host.device.FailCall(5 + kCountCall, -3);
    expectNoDevice("[ImgpCollector] Failed to get device count, error code:-3\n");
    host.device.FailCall(6 + kListCall, 4);
    expectNoDevice("[ImgpCollector] Failed to get device list, error code:4\n");
}

TEST_F(ImgpCollectorTest, ARateThatFailsIsMinus1) {
    host.device.devices = {0, 1};
    host.device.FailCall(kFirstRate + 1, 2);
    host.device.FailCall(kFirstRate + 2, -2147483647 - 1);
    EXPECT_EQ(Run(R"(["vpc","vdec"])").err, NoRate("vdec") + NoRate("vpc"));
    EXPECT_TRUE(result);
    EXPECT_EQ(Read(kDocuments), Document(R"("deviceId":0,"vpcRate":22,"vdecRate":-1)") +
                                    Document(R"("deviceId":1,"vpcRate":-1,"vdecRate":11)"));
}

TEST_F(ImgpCollectorTest, AnAnswerOfAnotherSizeIsNone) {
    std::size_t call = kFirstRate;
    for (const std::uint32_t size : {0U, 1U, 3U, 5U, 2147483647U, 4294967295U}) {
        host.device.LieAboutSize(call, size);
        call += 3;
        EXPECT_EQ(Run(R"(["venc"])").err, NoRate("venc")) << size;
        EXPECT_EQ(Read(kDocuments), Document(R"("deviceId":0,"vencRate":-1)"));
        fs::remove(tree + kDocuments);
    }
}

TEST_F(ImgpCollectorTest, RatesHave32Bits) {
    host.device.imageRates = {{1, 2147483647}, {2, 4294967295}, {3, 101}};
    EXPECT_EQ(Run(R"(["vpc","venc","vdec"])").err, "");
    EXPECT_EQ(Read(kDocuments),
              Document(R"("deviceId":0,"vpcRate":-1,"vencRate":101,"vdecRate":2147483647)"));
}

TEST_F(ImgpCollectorTest, SixteenDevicesFit) {
    host.device.devices.assign(16, 0);
    EXPECT_EQ(Run(R"(["vpc"])").err, "");
    EXPECT_EQ(host.device.Calls().size(), 18U);
}

TEST_F(ImgpCollectorTest, ADocumentThatCannotBeWrittenIsToldBeforeTheNextDevice) {
    fs::remove(tree + "json");
    host.device.devices = {0, 1};
    host.device.FailCall(kFirstRate + 1, 2);
    const std::string line = "[zarn_utils] Cannot open outfile, check your filePath.\n";
    EXPECT_EQ(Run(R"(["vpc"])").err, line + NoRate("vpc") + line);
    EXPECT_TRUE(result);
}

TEST_F(ImgpCollectorTest, WithoutATimeAJobEndsAndTheNextOneRuns) {
    fs::create_directories(host.procRoot + "umap");
    dir.Write("bin/player", "");
    host.currentTime = [](std::string& /*time*/) { return false; };
    const Captured captured = Run(R"(["vpc","global","app","umap"])");
    EXPECT_TRUE(result);
    const std::string line = "[ImgpCollector] Failed to get time stamp.\n";
    EXPECT_EQ(captured.err, line + line + line);
    EXPECT_THAT(captured.out, EndsWith("[ImgpCollector] Start to collect umap data!\n"));
    EXPECT_THAT(host.runner.Commands(), IsEmpty());
    EXPECT_EQ(host.device.Calls().size(), 2U);
}

// ---- The stop flag

TEST_F(ImgpCollectorTest, AStopBeforeTheJobsFails) {
    stopFlag = 1;
    for (const char* jobs : {"[]", R"(["vpc","global","app","umap"])"}) {
        const Captured captured = Run(jobs);
        EXPECT_FALSE(result);
        EXPECT_EQ(captured.out, "");
        EXPECT_EQ(captured.err,
                  "[ImgpCollector] Received stop signal!\n"
                  "[ImgpCollector] Failed to process profiling info!\n");
    }
    EXPECT_THAT(host.device.Calls(), IsEmpty());
    EXPECT_FALSE(fs::exists(tree + "env_info/time_cost.log"));
}

// An interrupt in each job, which is done to its end.
TEST_F(ImgpCollectorTest, AStopIsSeenBehindTheJobInHand) {
    fs::create_directories(host.procRoot + "umap");
    dir.Write("bin/player", "");
    const std::string utilization = kBegin;
    const std::string global = "[ImgpCollector] Start to collect global profiling data!\n";
    const std::string app = "[ImgpCollector] Start to collect app profiling data!\n";
    const std::string umap = "[ImgpCollector] Start to collect umap data!\n";
    const std::string noData =
        "[ImgpCollector] Failed to find profiling data.\n"
        "[ImgpCollector] Failed to collect profiling data.\n";
    const std::string stopped =
        "[ImgpCollector] Received stop signal!\n"
        "[ImgpCollector] Failed to process profiling info!\n";
    struct Row {
        int tick;  // the question for the time at which the stop comes: one a job
        std::string out;
        std::string err;
    };
    const Row rows[] = {
        {0, utilization, stopped},
        {1, utilization + global, noData + stopped},
        {2, utilization + global + app, noData + noData + stopped},
        {-1, utilization + global + app + umap, noData + noData},
    };
    for (const Row& row : rows) {
        stopFlag = 0;
        host.currentTime = [this, &row, tick = 0](std::string& time) mutable {
            time = kTime;
            stopFlag = tick++ == row.tick ? 1 : stopFlag.load();
            return true;
        };
        const Captured captured = Run(R"(["vpc","global","app","umap"])");
        EXPECT_EQ(captured.out, row.out) << row.tick;
        EXPECT_EQ(captured.err, row.err) << row.tick;
        EXPECT_EQ(result, row.tick < 0);
    }
}

// ---- The kernel's statistics

TEST_F(ImgpCollectorTest, StatisticsAreCopied) {
    dir.Write("proc/umap/vpc", "busy\n");
    dir.Write("proc/umap/sub/deep", "deep\n");
    const Captured captured = Run(R"(["umap"])");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    EXPECT_EQ(captured.out, "[ImgpCollector] Start to collect umap data!\n");
    EXPECT_THAT(Names("raw_data/imgp/umap"), ElementsAre("vpc"));
    EXPECT_EQ(Read("raw_data/imgp/umap/vpc"), "busy\n");
    EXPECT_THAT(host.device.Calls(), IsEmpty());
}

TEST_F(ImgpCollectorTest, WithoutAFolderForThemNothingIsCopied) {
    dir.Write("run/raw_data/imgp", "");
    fs::remove(tree + "raw_data/imgp");
    fs::create_directories(tree + "raw_data/imgp");
    fs::create_symlink("nowhere/at/all", tree + "raw_data/imgp/umap");
    const Captured captured = Run(R"(["umap"])");
    EXPECT_TRUE(result);
    EXPECT_THAT(captured.err, EndsWith("[ImgpCollector] Cannot create umap directory!\n"));
    EXPECT_EQ(captured.out, "");
}

TEST_F(ImgpCollectorTest, WithoutStatisticsItSaysSo) {
    EXPECT_THAT(Run(R"(["umap"])").err,
                MatchesRegex("\\[ImgpCollector\\] Catch a file copy exception: .*umap/\\]\n"));
    EXPECT_TRUE(result);
}

}  // namespace
}  // namespace zarn::test
