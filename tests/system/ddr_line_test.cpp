#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "formats/ddr.h"
#include "foundation/json.h"
#include "tests/support/lines.h"
#include "tests/support/manager_texts.h"
#include "tests/system/support/board_runner.h"
#include "tests/system/support/examples.h"
#include "tests/system/support/programs.h"

// The DDR line of the built program on the virtual board: collection, analysis, comparison.
namespace zarn::test {
namespace {

using testing::AnyOf;
using testing::Contains;
using testing::EndsWith;
using testing::Ge;
using testing::HasSubstr;
using testing::Le;
using testing::SizeIs;
using testing::StartsWith;

std::string CollectorSection(unsigned count) {
    return R"({"job": ["global"], "interval": 1, "count": )" + std::to_string(count) + "}";
}

// A collection of so many samples, and its analysis.
std::string CollectAndAnalyze(unsigned count) {
    ConfigText config;
    config.parallel = R"(["DdrCollector"])";
    config.analyze = R"(["DdrAnalyzer"])";
    return config.Text(
        {{"DdrCollector", CollectorSection(count)}, {"DdrAnalyzer", R"({"job": ["global"]})"}});
}

class DdrLineOnBoard : public testing::Test {
protected:
    // The last run's tree, below the directory of the test.
    [[nodiscard]] std::string TreeName() const {
        return board_.Tree().Path().substr(board_.Files().Path().size());
    }

    inline static const std::string kBoard = BoardLauncher();

    BoardRunner board_;
};

// The rows of a table by their first cell.
std::map<std::string, std::vector<std::string>> Rows(const std::string& table) {
    std::map<std::string, std::vector<std::string>> rows;
    for (const std::string& line : LinesIn(table)) {
        std::istringstream cells(line);
        std::string label;
        std::getline(cells, label, ',');
        for (std::string cell; std::getline(cells, cell, ',');) {
            rows[label].push_back(cell);
        }
    }
    return rows;
}

TEST_F(DdrLineOnBoard, CollectsCpuAndDdrAtOnceAndAnalysesBoth) {
    ConfigText config;
    config.parallel = R"(["CpuCollector", "DdrCollector"])";
    config.analyze = R"(["CpuAnalyzer", "DdrAnalyzer"])";
    const std::string text = config.Text(
        {{"DdrCollector", CollectorSection(3)},
         {"DdrAnalyzer", R"({"job": ["global"]})"},
         {"CpuCollector", R"({"job": ["global"], "interval": 1, "process": [], "count": 2,
             "thread_collector": false, "json_output": true})"},
         {"CpuAnalyzer",
          R"({"job": ["global"], "peak_trought_threshold": 0.2, "process_set": {}})"}});
    ASSERT_EQ(board_.Run(text), 0);
    EXPECT_EQ(board_.Err(), "");
    EXPECT_THAT(board_.Out(), EndsWith("[Main] Collection jobs finished.\n"));
    // The monitor may need longer than its pause for its first table.
    const RunTree tree = board_.Tree();
    const auto samples = DocumentsIn(tree.Read(ddr_files::kBandwidth));
    EXPECT_THAT(samples, SizeIs(AnyOf(2, 3)));
    for (const JsonDocument& document : samples) {
        EXPECT_EQ(document["content"][0].MemberCount(), 11U);
        double sum = 0.0;
        for (const auto& share : document["content"][0].GetObject()) {
            const double percent = std::stod(share.value.GetString());
            EXPECT_THAT(percent, Ge(0.0));
            EXPECT_THAT(percent, Le(100.0));
            sum += share.name == "total" ? -percent : percent;
        }
        EXPECT_NEAR(sum, 0.0, 1e-4);
    }
    EXPECT_THAT(LinesIn(board_.Tree().Read(ddr_files::kQosSettings)), SizeIs(10));
    EXPECT_THAT(LinesIn(tree.Read(ddr_files::kAnalysisTable)), SizeIs(samples.size() + 1));
    EXPECT_THAT(tree.Read(ddr_files::kAnalysis), StartsWith(R"({"objectId":"soc_ddr_ana")"));
    const std::string costs = tree.Read("env_info/time_cost.log");
    for (const char* mission : {"CpuCollector", "DdrCollector", "CpuAnalyzer", "DdrAnalyzer"}) {
        EXPECT_THAT(costs, HasSubstr(std::string("[") + mission + "] cost time: "));
    }
}

TEST_F(DdrLineOnBoard, TheComparisonShowsWhatTheSettingsHoldBack) {
    ASSERT_EQ(board_.Run(CollectAndAnalyze(2), {"--scenario camera_pipeline"}), 0);
    ASSERT_EQ(board_.Shell("mv " + TreeName() + " free"), 0);
    ConfigText collect;  // the comparator computes this version's figures itself
    collect.parallel = R"(["DdrCollector"])";
    ASSERT_EQ(board_.Run(collect.Text({{"DdrCollector", CollectorSection(2)}}),
                         {"--scenario throttled_cpu"}),
              0);
    ASSERT_EQ(board_.Shell("mv " + TreeName() + " held; mv free held usr/mnt/zarn/"), 0);
    ConfigText compare;
    compare.compare = R"(["DdrComparator"])";
    compare.versionMap =
        R"({"a_free": "/opt/usr/mnt/zarn/free/", "b_held": "/opt/usr/mnt/zarn/held/",
            "c_none": "/opt/usr/"})";
    ASSERT_EQ(board_.Run(compare.Text({{"DdrComparator", R"({"job": ["global"]})"}})), 0);
    EXPECT_THAT(board_.Out(), HasSubstr("[DdrComparator] DdrComparator Finished!\n"));
    EXPECT_THAT(board_.Err(),
                HasSubstr("[DdrComparator] Warning! Failed to find ddr ana file for b_held\n"));
    EXPECT_THAT(board_.Err(), EndsWith("Failed to find qos config file for c_none\n"));
    ASSERT_EQ(board_.Shell("mkdir -p keep; mv usr/mnt/zarn/free usr/mnt/zarn/held keep/"), 0);
    auto rows = Rows(board_.Tree().Read("csv/ddr/soc_ddr_comp_info.csv"));
    EXPECT_EQ(rows.size(), 67U);
    EXPECT_THAT(rows["version_id"], testing::ElementsAre("a_free", "b_held", "c_none"));
    EXPECT_THAT(rows["cpu_bwHigh(GB/s)"], testing::ElementsAre("51", "4", "N/A"));
    EXPECT_THAT(rows["total_bwHigh(GB/s)"], testing::ElementsAre("N/A", "N/A", "N/A"));
    // 4 of 51 GB/s are 7.84 percent; left alone the CPU asks for 9000 MB/s and more.
    EXPECT_GT(std::stod(rows["cpu_mean(%)"].at(0)), 10.0);
    EXPECT_LE(std::stod(rows["cpu_max(%)"].at(1)), 7.85);
    EXPECT_EQ(rows["cpu_mean(%)"].at(2), "N/A");
}

TEST_F(DdrLineOnBoard, TheExamplesOfTheDocumentsRun) {
    ASSERT_EQ(board_.Run(ExampleText("ddr_collect_analyze.json")), 0);
    EXPECT_EQ(board_.Err(), "");
    ASSERT_EQ(board_.Shell("mv " + TreeName() + " baseline && cp -r baseline candidate && " +
                           "mv baseline candidate usr/mnt/zarn/"),
              0);
    ASSERT_EQ(board_.Run(ExampleText("ddr_compare.json")), 0);
    EXPECT_EQ(board_.Err(), "");
    ASSERT_EQ(board_.Shell("rm -r usr/mnt/zarn/baseline usr/mnt/zarn/candidate"), 0);
    EXPECT_THAT(board_.Tree().Read("csv/ddr/soc_ddr_comp_info.csv"),
                StartsWith("version_id,baseline,candidate,\n"));
}

TEST_F(DdrLineOnBoard, MastersThatWereNeverConfiguredGetTheDefaults) {
    ASSERT_EQ(board_.Run(CollectAndAnalyze(1), {"--scenario never_configured"}), 0);
    EXPECT_EQ(board_.Err(), "");
    const std::vector<std::string> lines = LinesIn(board_.Out());
    const auto told = std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
        return line.find(" has not yet set Qos conf, using default settings. ") !=
               std::string::npos;
    });
    EXPECT_EQ(told, 9);
    for (const std::string& line : LinesIn(board_.Tree().Read(ddr_files::kQosSettings))) {
        const bool wasSet = line.find("\"imgp_vpc\"") != std::string::npos;
        EXPECT_THAT(line, HasSubstr(wasSet ? R"("bw_low":"2","bw_high":"40")"
                                           : R"("bw_low":"0","bw_high":"51")"));
    }
}

TEST_F(DdrLineOnBoard, AnInterruptKeepsTheSamplesTaken) {
    const std::string watcher =
        "until grep -qs '^ *10|' usr/mnt/zarn/*/raw_data/ddr/*.log || ! kill -0 $zarn; do :; done\n"
        "kill -INT $zarn";
    ASSERT_EQ(board_.Run(CollectAndAnalyze(2000), {"", "", watcher}), 0);
    EXPECT_THAT(LinesIn(board_.Tree().Read(ddr_files::kBandwidth)), SizeIs(Ge(1U)));
    EXPECT_THAT(board_.Err(),
                StartsWith("[DdrAnalyzer] Failed to process ddr analyzer because of stopFlag!\n"
                           "[DdrAnalyzer] Failed to process ddr info!\n[ZarnManager] "));
    EXPECT_THAT(board_.Out(), EndsWith("[Main] Collection jobs finished.\n"));
}

// The disk under /opt/usr fills up behind the first sample.
TEST_F(DdrLineOnBoard, AFullDiskTakesTheDocumentsAndHarmsNothingThatWasThere) {
    const std::string own = std::string("unshare --mount --propagation private ") +
                            (::geteuid() == 0 ? "" : "--user --map-root-user ");
    if (board_.Shell(own + "mount -t tmpfs none /opt 2>/dev/null") != 0) {
        GTEST_SKIP() << "needs root or a user namespace to mount a small disk";
    }
    board_.Files().Write("config.json", CollectAndAnalyze(3));
    board_.Files().Write("go", R"sh(
zarn /opt/usr/config.json >out 2>err &
until grep -qs '^ *10|' usr/mnt/zarn/*/raw_data/ddr/*.log || ! kill -0 $!; do :; done
cat /dev/zero >usr/filler 2>/dev/null
wait $!
)sh");
    board_.Files().Write(
        "small", "mount -t tmpfs -o size=512k none usr && cp config.json usr/ || exit\n" + kBoard +
                     " --opt-usr usr -- bash ./go && cp -r usr/mnt kept/");
    ASSERT_EQ(board_.Shell("mkdir usr kept && " + own + "bash ./small"), 0);
    EXPECT_THAT(board_.Err(),
                StartsWith("[zarn_utils] Cannot open outfile, check your filePath.\n"));
    EXPECT_THAT(board_.Err(), HasSubstr("[DdrAnalyzer] Failed to save the ddr analysis file!\n"
                                        "[DdrAnalyzer] Failed to save ddr info!\n"
                                        "[ZarnManager] analyzers mode DdrAnalyzer failed!\n"));
    EXPECT_THAT(board_.Out(), EndsWith("[Main] Collection jobs finished.\n"));
    const RunTree kept = board_.Tree("kept");
    EXPECT_THAT(LinesIn(kept.Read(ddr_files::kBandwidthLog)), SizeIs(Ge(11U)));
    EXPECT_EQ(kept.Read(ddr_files::kBandwidth), "");
    EXPECT_THAT(DocumentsIn(kept.Read(ddr_files::kQosSettings)), SizeIs(10));
}

// From the server's death on there is no table, and no row is recorded any more.
TEST_F(DdrLineOnBoard, ADeadBoardLeavesNoFigures) {
    const std::string log = "usr/mnt/zarn/*/raw_data/ddr/soc_ddr_bandwidth*.log";
    const std::string watcher =
        "until grep -qs '^ *10|' " + log + " || ! kill -0 $zarn; do :; done\n" +
        "kill -KILL $(basename /proc/xsmem/task/*)\n" +
        "while test -e /proc/qos/bwstat/bandwidth; do :; done\ngrep -c '|' " + log + " >then";
    ASSERT_EQ(board_.Run(CollectAndAnalyze(4), {"", "", watcher}), 0);
    EXPECT_EQ(board_.Shell("grep -c '|' " + log + " | cmp - then"), 0);
    EXPECT_THAT(board_.Err(),
                HasSubstr("cat: /proc/qos/bwstat/bandwidth: No such file or directory\n"));
}

TEST_F(DdrLineOnBoard, WithoutADeviceTheCollectorSaysSoAndEnds) {
    ASSERT_EQ(board_.Run(CollectAndAnalyze(1), {"--scenario no_device"}), 0);
    EXPECT_THAT(board_.Err(), StartsWith("Failed to get cpu qos config, ret = 1\n"));
    EXPECT_THAT(board_.Err(), HasSubstr("[DdrCollector] Set mbwu failed. Ret: 1\n"
                                        "[DdrCollector] Failed to enable bandwidth monitoring.\n"
                                        "[DdrCollector] Failed to init qos config!\n"));
}

// Where the call with this index, of all that a collection makes, is refused.
TEST_F(DdrLineOnBoard, EverySingleCallMayBeRefused) {
    constexpr int kCalls = 22;  // of a collection on a board whose masters are configured
    std::string script;
    board_.Files().Write("config.json", CollectAndAnalyze(1));
    for (int call = 0; call <= kCalls; ++call) {
        const std::string name = "walk/" + std::to_string(call);
        board_.Files().Write(name + "/faults.json", R"({"faults": [{"call": "*", "skip": )" +
                                                        std::to_string(call) +
                                                        R"(, "times": 1, "code": 77}]})");
        board_.Files().Write(name + "/usr/config.json", board_.Files().Read("config.json"));
        script.append("(cd ").append(name).append(" && ").append(kBoard);
        script +=
            " --faults faults.json --opt-usr usr -- zarn /opt/usr/config.json >out 2>err;"
            " echo $? >status) &\n";
        script += call % 8 == 7 ? "wait\n" : "";
    }
    ASSERT_EQ(board_.Shell(script + "wait"), 0);
    for (int call = 0; call <= kCalls; ++call) {
        const std::string name = "walk/" + std::to_string(call) + "/";
        const std::string out = board_.Files().Read(name + "out");
        const std::vector<std::string> errors = LinesIn(board_.Files().Read(name + "err"));
        EXPECT_EQ(board_.Files().Read(name + "status"), "0\n") << call;
        EXPECT_NE(board_.Tree(name + "usr").OnlyFile("json", ddr_files::kQosSettings.prefix), "")
            << call;
        if (call < 19) {
            EXPECT_THAT(errors, Contains(AnyOf("Check master config failed! Ret: 77",
                                               EndsWith(" qos config, ret = 77"))))
                << call;
        } else if (call == 19) {
            EXPECT_THAT(out, HasSubstr("does not need to be stopped. Ret: 77\n"));
        } else if (call == 20) {
            EXPECT_THAT(errors, Contains("[DdrCollector] Failed to init qos config!"));
        } else if (call == 21) {
            EXPECT_THAT(errors, Contains("[DdrCollector] Cannot get ddr type."));
        } else {
            EXPECT_THAT(out, EndsWith("[Main] Collection jobs finished.\n"));
        }
    }
}

}  // namespace
}  // namespace zarn::test
