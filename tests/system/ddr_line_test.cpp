#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "foundation/command_runner.h"
#include "foundation/json.h"
#include "tests/support/temp_dir.h"
#include "tests/system/support/programs.h"

// The DDR line of the built program on the virtual board: collection, analysis, comparison.
namespace zarn {
namespace {

using testing::AnyOf;
using testing::Contains;
using testing::EndsWith;
using testing::Ge;
using testing::HasSubstr;
using testing::Le;
using testing::SizeIs;
using testing::StartsWith;

// A configuration of these missions, given as lists in JSON, and their sections.
struct Missions {
    std::string parallel = "[]";
    std::string analyze = "[]";
    std::string compare = "[]";
    std::string versions = "{}";
    std::string sections;  // each with a comma before it

    [[nodiscard]] std::string Text() const {
        return R"({"ManagerParam": {"parallelCollectMode": )" + parallel +
               R"(, "collectMode": [], "analyzeMode": )" + analyze +
               R"(, "optimizeMode": [], "compareMode": {"comparatorName": )" + compare +
               R"(, "versionMap": )" + versions + "}}" + sections + "}";
    }
};

std::string DdrSections(unsigned count) {
    return R"(, "DdrCollector": {"job": ["global"], "interval": 1, "count": )" +
           std::to_string(count) +
           R"(}, "DdrAnalyzer": {"job": ["global"]}, "DdrComparator": {"job": ["global"]})";
}

Missions CollectAndAnalyze(unsigned count) {
    Missions missions;
    missions.parallel = R"(["DdrCollector"])";
    missions.analyze = R"(["DdrAnalyzer"])";
    missions.sections = DdrSections(count);
    return missions;
}

std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

class DdrLineOnBoard : public testing::Test {
protected:
    // Runs the program with `config` in the tree "usr" on a board of its own; true for status 0. A
    // `watcher` is a shell script that runs at the same time and knows the program as $zarn.
    bool Run(const std::string& config, const std::string& options = "",
             const std::string& watcher = "") {
        directory_.Write("usr/config.json", config);
        std::string script = "zarn /opt/usr/config.json >out 2>err";
        if (!watcher.empty()) {
            script = test::WatchedScript(script, watcher);
        }
        directory_.Write("go", script);
        const int status = Shell(kBoard + " --opt-usr usr " + options + " -- bash ./go");
        ReadStreams();
        return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }

    // What the program printed into the files "out" and "err".
    void ReadStreams() {
        out_ = directory_.Read("out");
        err_.clear();
        for (const std::string& line : LinesOf(directory_.Read("err"))) {
            err_ += line.find("[ZarnManager] Create ") == 0 ? "" : line + "\n";
        }
    }

    // Runs a script of this machine in the test's directory.
    int Shell(const std::string& script) const {
        return SystemCommandRunner().Run(
            "cd '" + directory_.Path() +
            "' && mkdir -p tmp && export TMPDIR=$PWD/tmp ASAN_OPTIONS=detect_leaks=0 && { " +
            script + "\n}");
    }

    // The last run's tree, with its final slash.
    [[nodiscard]] std::string Tree(const std::string& usr = "usr") const {
        std::vector<std::string> names;
        for (const auto& entry :
             std::filesystem::directory_iterator(directory_.Path() + usr + "/mnt/zarn")) {
            names.push_back(entry.path().filename().string());
        }
        return usr + "/mnt/zarn/" + *std::max_element(names.begin(), names.end()) + "/";
    }

    // The text of the one file in a folder of that tree with this prefix.
    [[nodiscard]] std::string File(const std::string& folder, const std::string& prefix) const {
        const std::string sub = Tree() + folder;
        return directory_.Read(sub + "/" + directory_.OnlyFile(sub, prefix));
    }

    inline static const std::string kBoard = test::BoardLauncher();

    test::TempDir directory_;
    std::string out_;
    std::string err_;  // without the manager's lines about the run directory
};

// The rows of a table by their first cell.
std::map<std::string, std::vector<std::string>> Rows(const std::string& table) {
    std::map<std::string, std::vector<std::string>> rows;
    for (const std::string& line : LinesOf(table)) {
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
    Missions missions = CollectAndAnalyze(3);
    missions.parallel = R"(["CpuCollector", "DdrCollector"])";
    missions.analyze = R"(["CpuAnalyzer", "DdrAnalyzer"])";
    missions.sections += R"(, "CpuCollector": {"job": ["global"], "interval": 1, "process": [],
        "count": 2, "thread_collector": false, "json_output": true},
        "CpuAnalyzer": {"job": ["global"], "peak_trought_threshold": 0.2, "process_set": {}})";
    ASSERT_TRUE(Run(missions.Text()));
    EXPECT_EQ(err_, "");
    EXPECT_THAT(out_, EndsWith("[Main] Collection jobs finished.\n"));
    // The monitor may need longer than its pause for its first table.
    const std::vector<std::string> samples =
        LinesOf(File("json", "soc_ddr_bandwidth_usage_info_1_"));
    EXPECT_THAT(samples, SizeIs(AnyOf(2, 3)));
    for (const std::string& sample : samples) {
        JsonDocument document;
        ASSERT_TRUE(ParseJson(sample, document));
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
    EXPECT_THAT(LinesOf(File("json", "soc_qos_mata_config_info_")), SizeIs(10));
    EXPECT_THAT(LinesOf(File("raw_data/ddr", "soc_ddr_ana_info_1_")), SizeIs(samples.size() + 1));
    EXPECT_THAT(File("json", "soc_ddr_ana_info_1_"), StartsWith(R"({"objectId":"soc_ddr_ana")"));
    const std::string costs = directory_.Read(Tree() + "env_info/time_cost.log");
    for (const char* mission : {"CpuCollector", "DdrCollector", "CpuAnalyzer", "DdrAnalyzer"}) {
        EXPECT_THAT(costs, HasSubstr(std::string("[") + mission + "] cost time: "));
    }
}

TEST_F(DdrLineOnBoard, TheComparisonShowsWhatTheSettingsHoldBack) {
    ASSERT_TRUE(Run(CollectAndAnalyze(2).Text(), "--scenario camera_pipeline"));
    ASSERT_EQ(Shell("mv " + Tree() + " free"), 0);
    Missions collect = CollectAndAnalyze(2);
    collect.analyze = "[]";  // the comparator computes this version's figures itself
    ASSERT_TRUE(Run(collect.Text(), "--scenario throttled_cpu"));
    ASSERT_EQ(Shell("mv " + Tree() + " held; mv free held usr/mnt/zarn/"), 0);
    Missions compare;
    compare.compare = R"(["DdrComparator"])";
    compare.versions =
        R"({"a_free": "/opt/usr/mnt/zarn/free/", "b_held": "/opt/usr/mnt/zarn/held/",
            "c_none": "/opt/usr/"})";
    compare.sections = DdrSections(1);
    ASSERT_TRUE(Run(compare.Text()));
    EXPECT_THAT(out_, HasSubstr("[DdrComparator] DdrComparator Finished!\n"));
    EXPECT_THAT(err_,
                HasSubstr("[DdrComparator] Warning! Failed to find ddr ana file for b_held\n"));
    EXPECT_THAT(err_, EndsWith("Failed to find qos config file for c_none\n"));
    ASSERT_EQ(Shell("mkdir -p keep; mv usr/mnt/zarn/free usr/mnt/zarn/held keep/"), 0);
    auto rows = Rows(directory_.Read(Tree() + "csv/ddr/soc_ddr_comp_info.csv"));
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
    const auto example = [](const char* name) {
        return test::ReadText(std::string(ZARN_SOURCE_DIR) + "/docs/examples/" + name);
    };
    ASSERT_TRUE(Run(example("ddr_collect_analyze.json")));
    EXPECT_EQ(err_, "");
    ASSERT_EQ(Shell("mv " + Tree() + " baseline && cp -r baseline candidate && " +
                    "mv baseline candidate usr/mnt/zarn/"),
              0);
    ASSERT_TRUE(Run(example("ddr_compare.json")));
    EXPECT_EQ(err_, "");
    ASSERT_EQ(Shell("rm -r usr/mnt/zarn/baseline usr/mnt/zarn/candidate"), 0);
    EXPECT_THAT(directory_.Read(Tree() + "csv/ddr/soc_ddr_comp_info.csv"),
                StartsWith("version_id,baseline,candidate,\n"));
}

TEST_F(DdrLineOnBoard, MastersThatWereNeverConfiguredGetTheDefaults) {
    ASSERT_TRUE(Run(CollectAndAnalyze(1).Text(), "--scenario never_configured"));
    EXPECT_EQ(err_, "");
    const std::vector<std::string> lines = LinesOf(out_);
    const auto told = std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
        return line.find(" has not yet set Qos conf, using default settings. ") !=
               std::string::npos;
    });
    EXPECT_EQ(told, 9);
    for (const std::string& line : LinesOf(File("json", "soc_qos_mata_config_info_"))) {
        const bool wasSet = line.find("\"imgp_vpc\"") != std::string::npos;
        EXPECT_THAT(line, HasSubstr(wasSet ? R"("bw_low":"2","bw_high":"40")"
                                           : R"("bw_low":"0","bw_high":"51")"));
    }
}

TEST_F(DdrLineOnBoard, AnInterruptKeepsTheSamplesTaken) {
    const std::string watcher =
        "until grep -qs '^ *10|' usr/mnt/zarn/*/raw_data/ddr/*.log || ! kill -0 $zarn; do :; done\n"
        "kill -INT $zarn";
    ASSERT_TRUE(Run(CollectAndAnalyze(2000).Text(), "", watcher));
    EXPECT_THAT(LinesOf(File("json", "soc_ddr_bandwidth_usage_info_1_")), SizeIs(Ge(1U)));
    EXPECT_THAT(err_,
                StartsWith("[DdrAnalyzer] Failed to process ddr analyzer because of stopFlag!\n"
                           "[DdrAnalyzer] Failed to process ddr info!\n[ZarnManager] "));
    EXPECT_THAT(out_, EndsWith("[Main] Collection jobs finished.\n"));
}

// The disk under /opt/usr fills up behind the first sample.
TEST_F(DdrLineOnBoard, AFullDiskTakesTheDocumentsAndHarmsNothingThatWasThere) {
    const std::string own = std::string("unshare --mount --propagation private ") +
                            (::geteuid() == 0 ? "" : "--user --map-root-user ");
    if (Shell(own + "mount -t tmpfs none /opt 2>/dev/null") != 0) {
        GTEST_SKIP() << "needs root or a user namespace to mount a small disk";
    }
    directory_.Write("config.json", CollectAndAnalyze(3).Text());
    directory_.Write("go", R"sh(
zarn /opt/usr/config.json >out 2>err &
until grep -qs '^ *10|' usr/mnt/zarn/*/raw_data/ddr/*.log || ! kill -0 $!; do :; done
cat /dev/zero >usr/filler 2>/dev/null
wait $!
)sh");
    directory_.Write(
        "small", "mount -t tmpfs -o size=512k none usr && cp config.json usr/ || exit\n" + kBoard +
                     " --opt-usr usr -- bash ./go && cp -r usr/mnt kept/");
    ASSERT_EQ(Shell("mkdir usr kept && " + own + "bash ./small"), 0);
    ReadStreams();
    EXPECT_THAT(err_, StartsWith("[zarn_utils] Cannot open outfile, check your filePath.\n"));
    EXPECT_THAT(err_, HasSubstr("[DdrAnalyzer] Failed to save the ddr analysis file!\n"
                                "[DdrAnalyzer] Failed to save ddr info!\n"
                                "[ZarnManager] analyzers mode DdrAnalyzer failed!\n"));
    EXPECT_THAT(out_, EndsWith("[Main] Collection jobs finished.\n"));
    const auto kept = [this](const std::string& folder, const std::string& prefix) {
        const std::string sub = Tree("kept") + folder;
        return directory_.Read(sub + "/" + directory_.OnlyFile(sub, prefix));
    };
    EXPECT_THAT(LinesOf(kept("raw_data/ddr", "soc_ddr_bandwidth_usage_info_1_")), SizeIs(Ge(11U)));
    EXPECT_EQ(kept("json", "soc_ddr_bandwidth_usage_info_1_"), "");
    const std::vector<std::string> settings = LinesOf(kept("json", "soc_qos_mata_config_info_"));
    EXPECT_THAT(settings, SizeIs(10));
    for (const std::string& line : settings) {
        JsonDocument document;
        EXPECT_TRUE(ParseJson(line, document)) << line;
    }
}

// From the server's death on there is no table, and no row is recorded any more.
TEST_F(DdrLineOnBoard, ADeadBoardLeavesNoFigures) {
    const std::string log = "usr/mnt/zarn/*/raw_data/ddr/soc_ddr_bandwidth*.log";
    const std::string watcher =
        "until grep -qs '^ *10|' " + log + " || ! kill -0 $zarn; do :; done\n" +
        "kill -KILL $(basename /proc/xsmem/task/*)\n" +
        "while test -e /proc/qos/bwstat/bandwidth; do :; done\ngrep -c '|' " + log + " >then";
    ASSERT_TRUE(Run(CollectAndAnalyze(4).Text(), "", watcher));
    EXPECT_EQ(Shell("grep -c '|' " + log + " | cmp - then"), 0);
    EXPECT_THAT(err_, HasSubstr("cat: /proc/qos/bwstat/bandwidth: No such file or directory\n"));
}

TEST_F(DdrLineOnBoard, WithoutADeviceTheCollectorSaysSoAndEnds) {
    ASSERT_TRUE(Run(CollectAndAnalyze(1).Text(), "--scenario no_device"));
    EXPECT_THAT(err_, StartsWith("Failed to get cpu qos config, ret = 1\n"));
    EXPECT_THAT(err_, HasSubstr("[DdrCollector] Set mbwu failed. Ret: 1\n"
                                "[DdrCollector] Failed to enable bandwidth monitoring.\n"
                                "[DdrCollector] Failed to init qos config!\n"));
}

// Where the call with this index, of all that a collection makes, is refused.
TEST_F(DdrLineOnBoard, EverySingleCallMayBeRefused) {
    constexpr int kCalls = 22;  // of a collection on a board whose masters are configured
    std::string script;
    directory_.Write("config.json", CollectAndAnalyze(1).Text());
    for (int call = 0; call <= kCalls; ++call) {
        const std::string name = "walk/" + std::to_string(call);
        directory_.Write(name + "/faults.json", R"({"faults": [{"call": "*", "skip": )" +
                                                    std::to_string(call) +
                                                    R"(, "times": 1, "code": 77}]})");
        directory_.Write(name + "/usr/config.json", directory_.Read("config.json"));
        script.append("(cd ").append(name).append(" && ").append(kBoard);
        script +=
            " --faults faults.json --opt-usr usr -- zarn /opt/usr/config.json >out 2>err;"
            " echo $? >status) &\n";
        script += call % 8 == 7 ? "wait\n" : "";
    }
    ASSERT_EQ(Shell(script + "wait"), 0);
    for (int call = 0; call <= kCalls; ++call) {
        const std::string name = "walk/" + std::to_string(call) + "/";
        const std::string out = directory_.Read(name + "out");
        const std::vector<std::string> errors = LinesOf(directory_.Read(name + "err"));
        EXPECT_EQ(directory_.Read(name + "status"), "0\n") << call;
        const std::string settings = Tree(name + "usr") + "json";
        EXPECT_NE(directory_.OnlyFile(settings, "soc_qos_mata_config_info_"), "") << call;
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
}  // namespace zarn
