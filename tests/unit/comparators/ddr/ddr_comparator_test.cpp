#include "comparators/ddr/ddr_comparator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "formats/ddr.h"
#include "tests/support/captured_streams.h"
#include "tests/support/ddr_lines.h"
#include "tests/support/key_check.h"
#include "tests/support/memory_limit.h"
#include "tests/support/ordinary_rights.h"
#include "tests/support/run_tree.h"
#include "tests/support/section_config.h"
#include "tests/support/unresolvable_folder.h"

namespace zarn::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

constexpr const char* kLoaded =
    "[DdrComparator] Finished loading data, the load state is 1(1 for success and 0 for fail)\n";
constexpr const char* kNotLoaded =
    "[DdrComparator] Finished loading data, the load state is 0(1 for success and 0 for fail)\n";

class DdrComparatorTest : public testing::Test {
protected:
    // A version with files of these prefixes and texts in its json/.
    void AddVersion(const std::string& name, const std::map<std::string, std::string>& files) {
        tree.MakeFolder(name + "/json");
        const std::string json = name + "/json/";
        for (const auto& [prefix, text] : files) {
            std::string file = json;
            tree.Write(file.append(prefix).append("1.data"), text);
        }
        versions[name] = tree.Path() + name + "/";
    }

    [[nodiscard]] std::string JsonDir(const std::string& version) const {
        return tree.Path() + version + "/json/";
    }

    Captured Run() {
        return Capture([this] { RunUncaptured(); });
    }

    void RunUncaptured() { RunAt(tree.Path()); }

    void RunAt(const std::string& dataPath) {
        const JsonDocument config = ParsedConfigOf("DdrComparator", R"({"job":["global"]})");
        DdrComparator comparator(DdrComparator::kName, versions);
        EXPECT_TRUE(comparator.CheckOptions(config, "comparator"));
        result = comparator.Start(config, dataPath, &stopFlag);
    }

    [[nodiscard]] std::string Table() const { return tree.Read("csv/ddr/soc_ddr_comp_info.csv"); }
    [[nodiscard]] std::string CreatedLines() const {
        return "[DdrComparator] DdrComparator Start.\n[DdrComparator] Successfully created " +
               std::filesystem::canonical(tree.Path() + "csv/ddr").string() + "\n";
    }

    static constexpr const char* kQos = ddr_files::kQosSettings.prefix;
    static constexpr const char* kAnalysis = ddr_files::kAnalysis.prefix;
    static constexpr const char* kShares = ddr_files::kBandwidth.prefix;

    RunTree tree;  // of the comparison; the versions are folders of it
    std::map<std::string, std::string> versions;
    StopFlag stopFlag{0};
    bool result = false;
};

// An analysis of every name with these figures.
std::string Analysis(const std::string& mean) {
    std::string text = R"({"happenTime":"1","content":[)";
    for (const std::string& name : kDdrNames) {
        text.append(text.back() == '[' ? "" : ",").append(R"({"mpam_name":")").append(name);
        text.append(R"(","meanBw":")").append(mean).append(R"(","maxBw":"9.000000",)");
        text.append(R"("minBw":"1.000000","over":"0.500000"})");
    }
    return text + "]}\n";
}

// The table's six rows of a name, with the same cells under each label.
std::string Rows(const std::string& name, const std::vector<std::string>& cells) {
    const char* labels[] = {"_mean(%)", "_max(%)",       "_min(%)",
                            "_over(%)", "_bwHigh(GB/s)", "_bwLow(GB/s)"};
    std::string rows;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        rows.append(name).append(labels[i]).append(",").append(cells[i]).append("\n");
    }
    return rows;
}

TEST_F(DdrComparatorTest, SetsAnalysesAndCollectionsSideBySide) {
    AddVersion("v1", {{kQos, QosLines("2", "40")}, {kAnalysis, Analysis("3.000000")}});
    AddVersion("v2", {{kQos, QosLines("0", "20")},
                      {kShares, BandwidthLine("1", "50.000000", "total", "80.000000") +
                                    BandwidthLine("2", "50.000000", "total", "90.000000")}});
    const Captured captured = Run();
    EXPECT_TRUE(result);
    std::string expected = "version_id,v1,v2,\n";
    for (const std::string& name : ddrCompNameList) {
        expected +=
            name == "total"
                ? Rows(name, {"3.000000,85.000000,", "9.000000,90.000000,", "1.000000,80.000000,",
                              "0.500000,0.000000,", "N/A,N/A,", "N/A,N/A,"})
                : Rows(name, {"3.000000,50.000000,", "9.000000,50.000000,", "1.000000,50.000000,",
                              "0.500000,27.500000,", "40,20,", "2,0,"});
    }
    EXPECT_EQ(Table(), expected);
    EXPECT_EQ(captured.out,
              CreatedLines() + "[DdrComparator] Successfully loaded qos config info from " +
                  JsonDir("v1") + kQos + "1.data\n" +
                  "[DdrComparator] Successfully loaded ddr ana info from " + JsonDir("v1") +
                  kAnalysis + "1.data\n" +
                  "[DdrComparator] Successfully loaded ddr ana info for v1\n" + kLoaded +
                  "[DdrComparator] Successfully loaded qos config info from " + JsonDir("v2") +
                  kQos + "1.data\n[DdrComparator] Start to analyze ddr using info' ... \n" +
                  "[DdrComparator] Successfully loaded ddr coll info from " + JsonDir("v2") +
                  kShares + "1.data\n[DdrComparator] Successfully analyzed ddr info! \n" +
                  "[DdrComparator] Successfully loaded ddr ana info for v2\n" + kLoaded +
                  "[DdrComparator] Successfully compared the ddr using info!\n"
                  "[DdrComparator] Successfully saved ddr comparison info to " +
                  std::filesystem::canonical(tree.Path()).string() +
                  "/csv/ddr/soc_ddr_comp_info.csv\n[DdrComparator] DdrComparator Finished!\n");
    EXPECT_EQ(captured.err, "[DdrComparator] Warning! Failed to find " + std::string(kAnalysis) +
                                "YYMMDDMMSS.data in " + JsonDir("v2") +
                                "\n[DdrComparator] Warning! Failed to find ddr ana file for v2\n");
    EXPECT_THAT(tree.Read("env_info/time_cost.log"),
                MatchesRegex("\\[DdrComparator\\] cost time: [0-9.]+s\n"));
}

// The lines of a version `v` that cannot be loaded, with the paths of its files.
TEST_F(DdrComparatorTest, AVersionThatCannotBeLoadedIsToldAndEmpty) {
    const std::string json = JsonDir("v");
    const auto notFound = [&json](const char* prefix) {
        return std::string("[DdrComparator] Warning! Failed to find ") + prefix +
               "YYMMDDMMSS.data in " + json + "\n";
    };
    const std::string noAnalysis =
        notFound(kAnalysis) + "[DdrComparator] Warning! Failed to find ddr ana file for v\n";
    const std::string notAnalyzed = "[DdrComparator] Warning! Failed to analyze ddr using info! \n";
    struct Row {
        std::map<std::string, std::string> files;
        std::string words;
    };
    const Row rows[] = {
        {{}, notFound(kQos) + "[DdrComparator] Warning! Failed to find qos config file for v\n"},
        {{{kQos, "x"}},
         "[DdrComparator] Exception occurs while parsing qos json file.\n"
         "[DdrComparator] Warning! Failed to load qos conf info from " +
             json + kQos + "1.data\n"},
        {{{kQos, ""}, {kAnalysis, "x"}},
         "[DdrComparator] Exception occurs while parsing ddr_ana_info file.\n"
         "[DdrComparator] Warning! Failed to load ddr ana info from " +
             json + kAnalysis + "1.data\n"},
        {{{kQos, ""}},
         noAnalysis + notFound(kShares) + "[DdrComparator] Failed to get ddr coll file!\n" +
             notAnalyzed},
        {{{kQos, ""}, {kShares, "x"}},
         noAnalysis + "[DdrComparator] Exception occurs while parsing ddr collect file.\n" +
             "[DdrComparator] Failed to load ddr coll info!\n" + notAnalyzed},
    };
    for (const Row& row : rows) {
        tree.Remove("v");
        AddVersion("v", row.files);
        AddVersion("w", {{kQos, QosLines("2", "40")}, {kAnalysis, Analysis("3.000000")}});
        const Captured captured = Run();
        EXPECT_TRUE(result);
        EXPECT_EQ(captured.err, row.words);
        EXPECT_THAT(captured.out, HasSubstr(kNotLoaded));
        EXPECT_THAT(captured.out, HasSubstr(kLoaded));
        EXPECT_THAT(Table(),
                    StartsWith("version_id,v,w,\n" +
                               Rows("total", {"N/A,3.000000,", "N/A,9.000000,", "N/A,1.000000,",
                                              "N/A,0.500000,", "N/A,N/A,", "N/A,N/A,"}) +
                               Rows("cpu", {"N/A,3.000000,", "N/A,9.000000,", "N/A,1.000000,",
                                            "N/A,0.500000,", "N/A,40,", "N/A,2,"})));
    }
}

// Files that are found, since the folder may be read, but that may not be read themselves.
TEST_F(DdrComparatorTest, AVersionThatMayNotBeReadIsToldAndEmpty) {
    const OrdinaryRights rights;
    const std::string json = JsonDir("v");
    struct Row {
        const char* unreadable;
        std::map<std::string, std::string> files;
        std::string words;
    };
    const Row rows[] = {
        {kQos,
         {{kQos, ""}},
         "[DdrComparator] Failed to open the qos config file " + json + kQos +
             "1.data\n[DdrComparator] Warning! Failed to load qos conf info from " + json + kQos +
             "1.data\n"},
        {kAnalysis,
         {{kQos, ""}, {kAnalysis, ""}},
         "[DdrComparator] Failed to open the ddr_ana_info file - '" + json + kAnalysis +
             "1.data'\n[DdrComparator] Warning! Failed to load ddr ana info from " + json +
             kAnalysis + "1.data\n"},
        {kShares,
         {{kQos, ""}, {kShares, ""}},
         std::string("[DdrComparator] Warning! Failed to find ") + kAnalysis +
             "YYMMDDMMSS.data in " + json +
             "\n[DdrComparator] Warning! Failed to find ddr ana file for v\n"
             "[DdrComparator] Failed to open the ddr info file - '" +
             json + kShares +
             "1.data'\n[DdrComparator] Failed to load ddr coll info!\n"
             "[DdrComparator] Warning! Failed to analyze ddr using info! \n"}};
    for (const Row& row : rows) {
        tree.Remove("v");
        AddVersion("v", row.files);
        ASSERT_EQ(::chmod((json + row.unreadable + "1.data").c_str(), 0), 0);
        const Captured captured = Run();
        EXPECT_TRUE(result);
        EXPECT_EQ(captured.err, row.words);
        EXPECT_THAT(captured.out, HasSubstr(kNotLoaded));
        EXPECT_THAT(Table(), HasSubstr("cpu_bwHigh(GB/s),N/A,\n"));
    }
}

TEST_F(DdrComparatorTest, SeveralFilesOfAKindCountAsNone) {
    AddVersion("v", {{kQos, ""}, {kAnalysis, Analysis("3")}, {kShares, ""}});
    tree.Write("v/json/" + std::string(kAnalysis) + "2.data", "x");
    Captured captured = Run();
    EXPECT_EQ(captured.err, "[DdrComparator] Only one " + std::string(kAnalysis) +
                                "YYMMDDMMSS.data should be existed in " + JsonDir("v") +
                                "\n[DdrComparator] Warning! Failed to find ddr ana file for v\n");
    EXPECT_THAT(Table(), HasSubstr("cpu_mean(%),0.000000,\n"));
    tree.Write("v/json/" + std::string(kQos) + "2.data", "");
    captured = Run();
    EXPECT_EQ(captured.err,
              "[DdrComparator] Only one " + std::string(kQos) +
                  "YYMMDDMMSS.data should be existed in " + JsonDir("v") +
                  "\n[DdrComparator] Warning! Failed to find qos config file for v\n");
}

// Only what is a regular file counts as one; the version's path is used as written.
TEST_F(DdrComparatorTest, DirectoriesAreNotFilesAndNoSlashIsAdded) {
    AddVersion("v", {});
    tree.MakeFolder("v/json/" + std::string(kQos) + "1.data");
    EXPECT_THAT(Run().err, EndsWith("Failed to find qos config file for v\n"));
    versions["v"] = tree.Path() + "missing/";
    EXPECT_THAT(Run().err, StartsWith("Can not open " + tree.Path() + "missing/json/\n"));
    versions["v"] = tree.Path() + "v";
    EXPECT_THAT(Run().err, StartsWith("Can not open " + tree.Path() + "vjson/\n"));
}

TEST_F(DdrComparatorTest, TwoVersionsOfOneDirectoryAreEqualColumns) {
    AddVersion("v", {{kQos, QosLines("2", "40")}, {kAnalysis, Analysis("3.000000")}});
    versions["a"] = versions["v"];
    Run();
    EXPECT_THAT(Table(), HasSubstr("version_id,a,v,\n"));
    EXPECT_THAT(Table(), HasSubstr("cpu_mean(%),3.000000,3.000000,\n"));
}

TEST_F(DdrComparatorTest, AMasterThatAFileDoesNotNameCountsAsZero) {
    AddVersion("v", {{kQos, QosLine("cpu", "1", "2")}, {kAnalysis, ""}});
    Run();
    EXPECT_THAT(
        Table(),
        HasSubstr(Rows("sdma", {"0.000000,", "0.000000,", "0.000000,", "0.000000,", "0,", "0,"})));
}

struct BadOptions {
    const char* config;
    const char* words;
};

TEST_F(DdrComparatorTest, BadOptionsAreRefused) {
    const BadOptions rows[] = {
        {R"({})", "[DdrComparator] Ddr comparator param is missing, which sholud contain JOB.\n"},
        {R"({"DdrComparator":{}})",
         "[DdrComparator] Ddr comparator param is missing, which sholud contain JOB.\n"},
        {R"({"DdrComparator":{"job":"global"}})",
         "[DdrComparator] Invalid JOB format, which should be list!\n"},
        {R"({"DdrComparator":{"job":[]}})",
         "[DdrComparator] The JOB cannot be empty! Please set job as 'global'!\n"},
        {R"({"DdrComparator":{"job":[1]}})",
         "[DdrComparator] Illegal JOB type! Item in JOB should be string!\n"},
        {R"({"DdrComparator":{"job":["core"]}})",
         "[DdrComparator] Illegal job name: core, which should be 'global'.\n"
         "[DdrComparator] Failed to set JOB!\n"},
    };
    for (const BadOptions& row : rows) {
        JsonDocument config;
        ASSERT_TRUE(ParseJson(row.config, config));
        DdrComparator comparator(DdrComparator::kName, versions);
        const Captured captured =
            Capture([&] { EXPECT_FALSE(comparator.CheckOptions(config, "comparator")); });
        EXPECT_EQ(captured.err, row.words);
    }
}

TEST_F(DdrComparatorTest, WithoutAJobNothingIsCompared) {
    JsonDocument config;
    ASSERT_TRUE(ParseJson("{}", config));
    DdrComparator comparator(DdrComparator::kName, versions);
    const Captured captured =
        Capture([&] { EXPECT_FALSE(comparator.Start(config, tree.Path(), &stopFlag)); });
    EXPECT_EQ(captured.err,
              "[DdrComparator] Failed to start ddr DdrComparator, please set job as 'global' ! \n"
              "[DdrComparator] Failed to compare the ddr using info between selected versions!\n");
}

TEST_F(DdrComparatorTest, AStopEndsTheComparison) {
    AddVersion("v", {});
    stopFlag = 1;
    const Captured captured = Run();
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err,
              "[DdrComparator] Failed to process ddr comparator because of stopFlag!\n"
              "[DdrComparator] Failed to compare the ddr using info between selected versions!\n");
    EXPECT_FALSE(tree.Has("csv/ddr/soc_ddr_comp_info.csv"));
}

TEST_F(DdrComparatorTest, ADirectoryThatCannotBeMadeEndsTheFirstStep) {
    tree.PutInTheWay("csv");
    const Captured captured = Run();
    EXPECT_FALSE(result);
    EXPECT_THAT(captured.err, EndsWith("[DdrComparator] Failed to create ddr_comp_info dir\n"
                                       "[DdrComparator] Failed to initialize file path!\n"));
}

using DdrComparatorDeathTest = DdrComparatorTest;

TEST_F(DdrComparatorDeathTest, AVersionBeyondMemoryFailsTheComparison) {
    if (!WhyNoMemoryLimit().empty()) {
        GTEST_SKIP() << WhyNoMemoryLimit();
    }
    AddVersion("v", {{kQos, ""}});
    ASSERT_EQ(::truncate((JsonDir("v") + kQos + "1.data").c_str(), off_t{1} << 33), 0);
    EXPECT_EXIT(
        ExitBelowAMemoryLimit([this] {
            RunUncaptured();
            return !result;
        }),
        testing::ExitedWithCode(0),
        testing::StrEq("[DdrComparator] Failed to compare ddr using info! \n"
                       "[DdrComparator] Failed to compare the ddr using info between selected "
                       "versions!\n"));
}

TEST_F(DdrComparatorTest, ADirectoryThatCannotBeResolvedEndsTheFirstStep) {
    const UnresolvableFolder folder;
    const Captured captured = Capture([this] { RunAt("./"); });
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err,
              "[DdrComparator] Can't get real path\n"
              "[DdrComparator] Failed to initialize file path!\n");
    EXPECT_EQ(captured.out, "[DdrComparator] DdrComparator Start.\n");
}

TEST_F(DdrComparatorTest, AFullDiskIsTold) {
    tree.MakeFolder("csv/ddr");
    tree.MakeFull("csv/ddr/soc_ddr_comp_info.csv");
    const Captured captured = Run();
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err,
              "[DdrComparator] Error occurs when saving ddr comparison info: cannot write " +
                  std::filesystem::canonical(tree.Path()).string() +
                  "/csv/ddr/soc_ddr_comp_info.csv\n"
                  "[DdrComparator] Failed to save the ddr comparison file!\n"
                  "[DdrComparator] Failed to save ddr comparison info!\n");
}

TEST(DdrComparatorOptions, TheCheckHoldsToTheDeclaredKeys) {
    test::ExpectKeysHold(
        "DdrComparator", DdrComparator::Keys(), R"({"DdrComparator":{"job":["global"]}})",
        [](const JsonDocument& config) {
            return DdrComparator(DdrComparator::kName, {}).CheckOptions(config, "comparator");
        });
}

}  // namespace
}  // namespace zarn::test
