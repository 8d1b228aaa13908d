#include "collectors/system/ddr/ddr_collector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/amounts.h"
#include "tests/unit/collectors/system/ddr/ddr_collector_fixture.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

// One line of the bandwidth documents; `total` is the sum of the ten.
std::string BandwidthLine(const std::string& time, const std::string& share,
                          const std::string& total) {
    std::string line =
        R"({"objectId":"soc_ddr_bandwidth_usage_info","eventId":"962200001","happenTime":")" +
        time + R"(","content":[{)";
    for (const QosConfig& row : defaultQosConfigs) {
        line.append("\"").append(row.mpam_name).append("\":\"").append(share).append("\",");
    }
    return line + R"("total":")" + total + "\"}]}\n";
}

std::string QosLine(const QosConfig& row, const std::string& high, const std::string& low) {
    return R"({"objectId":"soc_qos_mata_config_info","eventId":"962200001",)"
           R"("happenTime":"20230101120000000","content":[{"mpam_name":")" +
           row.mpam_name + R"(","mpamid":")" + std::to_string(row.mpamid) + R"(","bw_low":")" +
           low + R"(","bw_high":")" + high + R"(","hardlimit":"1","master":")" +
           std::to_string(row.master) + R"(","priority":"5"}]})" + "\n";
}

std::size_t CountLines(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

TEST_F(DdrCollectorTest, RunsTheTwoCommandsOfEachSampleAndWritesItsFiles) {
    const Captured captured = Run(2, 7);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    EXPECT_EQ(captured.out,
              "[DdrCollector] Create ddr rawdata directory successfully! The output dir is " +
                  tree.Path() +
                  "raw_data/ddr\n"
                  "[DdrCollector] The mbwu is not set and does not need to be stopped. Ret: 6\n"
                  "[DdrCollector] Set mbwu success.\n");
    EXPECT_THAT(runner.Commands(),
                ElementsAre("echo 20230101120000001 >> " + RawLogPath(),
                            "cat /proc/qos/bwstat/bandwidth >> " + RawLogPath(),
                            "echo 20230101120000002 >> " + RawLogPath(),
                            "cat /proc/qos/bwstat/bandwidth >> " + RawLogPath()));
    EXPECT_THAT(host.sleeps, ElementsAre(7U, 7U));
    EXPECT_THAT(host.pauses, ElementsAre(std::chrono::microseconds(20000)));
    EXPECT_EQ(RawLog(), "20230101120000001\n" + table + "20230101120000002\n" + table);
    EXPECT_EQ(tree.Read(DataName()),
              BandwidthLine("20230101120000001", "9.999234", "99.992341") +
                  BandwidthLine("20230101120000002", "9.999234", "99.992341"));
    std::string settings;
    for (const QosConfig& row : defaultQosConfigs) {
        settings += QosLine(row, "51", "0");
    }
    EXPECT_EQ(tree.Read(QosName()), settings);
    EXPECT_THAT(tree.Read("env_info/time_cost.log"),
                MatchesRegex("\\[DdrCollector\\] cost time: [0-9.]+s\n"));
    EXPECT_TRUE(ddrTimeStampQueue.empty());
}

TEST_F(DdrCollectorTest, AsksAConfiguredDeviceAndChangesNothing) {
    Run();
    EXPECT_THAT(
        device.CallLines(),
        ElementsAre("get 13:0 48 ", "get 13:100 48 01", "get 13:1 80 ", "get 13:200 48 02",
                    "get 13:101 80 01", "get 13:300 48 03", "get 13:201 80 02", "get 13:500 48 05",
                    "get 13:901 80 09", "get 13:600 48 06", "get 13:a01 80 0a", "get 13:700 48 07",
                    "get 13:d01 80 0d", "get 13:800 48 08", "get 13:f01 80 0f", "get 13:900 48 09",
                    "get 13:1001 80 10", "get 13:a00 48 0a", "get 13:1101 80 11", "set 13:2 104 ",
                    "set 13:2 104 01020a00102700000000000001000000020000000300000005000000"
                    "060000000700000008000000090000000a",
                    "get 9:0 4 "));
}

TEST_F(DdrCollectorTest, GivesTheDefaultsToMastersThatWereNeverConfigured) {
    ConfigureDevice(40, 2);
    device.bounds[0] = {};  // cpu
    device.bounds[7] = {};  // sdma
    device.masters.erase(13);
    const Captured captured = Run();
    EXPECT_TRUE(result);
    EXPECT_THAT(captured.out,
                HasSubstr("[DdrCollector] cpu has not yet set Qos conf, using default settings. \n"
                          "[DdrCollector] sdma has not yet set Qos conf, using default settings. "
                          "\n[DdrCollector] The mbwu"));
    std::string settings;
    for (const QosConfig& row : defaultQosConfigs) {
        const bool fresh = row.mpamid == 0 || row.mpamid == 7;
        settings += QosLine(row, fresh ? "51" : "40", fresh ? "0" : "2");
    }
    EXPECT_EQ(tree.Read(QosName()), settings);
    std::vector<std::string> written;
    for (const std::string& line : device.CallLines()) {
        if (line.rfind("set 13:0", 0) == 0 || line.rfind("set 13:1", 0) == 0) {
            written.push_back(line);
        }
    }
    EXPECT_THAT(written, ElementsAre("set 13:0 48 00000000330000000000000001",
                                     StartsWith("set 13:1 80 0d000000070000000500000000000000ff"),
                                     "set 13:0 48 07000000330000000000000001"));
}

TEST_F(DdrCollectorTest, TenSamplesGiveTenLinesOfElevenMembers) {
    Run(10);
    const std::string text = tree.Read(DataName());
    EXPECT_EQ(CountLines(text), 10U);
    std::size_t start = 0;
    for (int i = 0; i < 10; ++i) {
        const std::size_t end = text.find('\n', start);
        JsonDocument line;
        ASSERT_TRUE(ParseJson(text.substr(start, end - start), line));
        EXPECT_EQ(line["content"][0].MemberCount(), 11U);
        start = end + 1;
    }
}

TEST_F(DdrCollectorTest, SharesAreCappedRowByRowAndInTheTotal) {
    table = Table("60000");
    Run();
    EXPECT_EQ(tree.Read(DataName()),
              BandwidthLine("20230101120000001", "100.000000", "100.000000"));
}

TEST_F(DdrCollectorTest, TheTotalReachesTheCapBeforeTheMasters) {
    table = Table("10000");
    Run();
    EXPECT_EQ(tree.Read(DataName()), BandwidthLine("20230101120000001", "19.148284", "100.000000"));
}

// A log whose last table is torn gives an empty result and a run that reports success.
TEST_F(DdrCollectorTest, ATornTableEmptiesTheResult) {
    runner.Before("cat ", [this](const std::string& /*command*/) {
        table = table.substr(0, table.find("| 8"));
    });
    const Captured captured = Run(3);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    EXPECT_EQ(tree.Read(DataName()), "");
    EXPECT_EQ(ddrTimeStampQueue.size(), 3U);
    EXPECT_EQ(CountLines(tree.Read("env_info/time_cost.log")), 1U);
}

TEST_F(DdrCollectorTest, ATableWithoutRowsGivesAnEmptyResult) {
    for (const std::string& text :
         {std::string(), std::string("no table\n"), std::string(test::Amount(16U << 20U), '|'),
          std::string(4096, '\0'),
          std::string("\x7f"
                      "ELF|\xff|\xfe|\x80|\x01|\x02\n")}) {
        tree.Remove("raw_data");
        tree.Remove(DataName());
        table = text;
        host.ticks = 0;
        const Captured captured = Run();
        EXPECT_TRUE(result);
        EXPECT_EQ(captured.err, "");
        EXPECT_EQ(tree.Read(DataName()), "");
    }
}

TEST_F(DdrCollectorTest, ASampleBeyondTheMomentsTakenHasNoTime) {
    table += table;  // two samples in one reading
    Run();
    EXPECT_EQ(tree.Read(DataName()), BandwidthLine("20230101120000001", "9.999234", "99.992341") +
                                         BandwidthLine("", "9.999234", "99.992341"));
}

TEST_F(DdrCollectorTest, TheTableMayBeReplacedBetweenTheTwoCommands) {
    runner.Before("echo ", [this](const std::string& /*command*/) { table = Table("26112"); });
    Run();
    EXPECT_TRUE(result);
    EXPECT_EQ(tree.Read(DataName()), BandwidthLine("20230101120000001", "50.000000", "100.000000"));
}

TEST_F(DdrCollectorTest, AnUnknownIdLeavesTheMission) {
    const std::string first = table;
    runner.Before("echo 20230101120000002", [this](const std::string& /*command*/) {
        table.replace(table.find("| 3 |"), 5, "| 4 |");
    });
    EXPECT_THROW(Run(2), std::out_of_range);
    // What came before the row is kept.
    EXPECT_EQ(tree.Read(DataName()), BandwidthLine("20230101120000001", "9.999234", "99.992341"));
}

TEST_F(DdrCollectorTest, ABandwidthThatIsNoNumberLeavesTheMission) {
    runner.Before("echo ", [](const std::string& /*command*/) { ddrReadCommand.clear(); });
    table = Table("busy");
    EXPECT_THROW(Run(), std::invalid_argument);
    table = Table("99999999999");
    EXPECT_THROW(Run(), std::out_of_range);
    table = Table("1e999");
    EXPECT_THROW(Run(), std::out_of_range);
}

TEST_F(DdrCollectorTest, ASecondCollectorsTablesGoToTheFirstOnesLog) {
    Run();
    const std::string secondLog =
        tree.Path() + "raw_data/ddr/soc_ddr_bandwidth_usage_info_1_20230101120000002.log";
    Run();
    EXPECT_TRUE(result);
    EXPECT_EQ(runner.Commands().at(2), "echo 20230101120000003 >> " + secondLog);
    EXPECT_EQ(runner.Commands().at(3), runner.Commands().at(1));
    EXPECT_EQ(tree.Read("json/soc_ddr_bandwidth_usage_info_1_20230101120000002.data"), "");
}

TEST_F(DdrCollectorTest, MomentsOfATornRunComeFirst) {
    ddrTimeStampQueue.push("torn");
    Run();
    EXPECT_EQ(tree.Read(DataName()), BandwidthLine("torn", "9.999234", "99.992341"));
    EXPECT_EQ(ddrTimeStampQueue.size(), 1U);
}

}  // namespace
}  // namespace zarn::test
