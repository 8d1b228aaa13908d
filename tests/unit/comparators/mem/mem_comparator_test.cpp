#include "comparators/mem/mem_comparator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

#include "formats/mem.h"
#include "tests/support/amounts.h"
#include "tests/support/captured_streams.h"
#include "tests/support/key_check.h"
#include "tests/support/mem_lines.h"
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
using testing::Not;
using testing::StartsWith;

const std::string kSystemFile = "/" + RunTree::NameOf(mem_files::kSystemSamples);
const std::string kProcessFile = "/" + RunTree::NameOf(mem_files::kRawProcessSamples);
const std::string kJsonProcessFile = "/" + RunTree::NameOf(mem_files::kProcessSamples);
constexpr const char* kOnlyOneSystem =
    "[MemComparator] Only one system mem data file should be used!\n";
constexpr const char* kOnlyOneProcess =
    "[MemComparator] Only one process mem data file should be used!\n";

class MemComparatorTest : public testing::Test {
protected:
    // A version whose tree holds the two folders and nothing else.
    void AddVersion(const std::string& name) {
        tree.MakeFolder(name + "/json");
        tree.MakeFolder(name + "/raw_data/mem");
        versions[name] = tree.Path() + name + "/";
    }

    void AddSystem(const std::string& version, const std::string& text) {
        AddVersion(version);
        tree.Write(version + kSystemFile, text);
    }

    void AddProcesses(const std::string& version, const std::string& text) {
        AddVersion(version);
        tree.Write(version + kProcessFile, text);
    }

    Captured Run(const std::string& jobs, const std::string& names = "") {
        return Capture([&] { RunUncaptured(jobs, names); });
    }

    // The same, its lines going where they go.
    void RunUncaptured(const std::string& jobs, const std::string& names) {
        const JsonDocument config = ParsedConfigOf(
            "MemComparator",
            SectionText({{"job", "[" + jobs + "]"}, {"process", "[" + names + "]"}}));
        MemComparator comparator(MemComparator::kName, versions);
        EXPECT_TRUE(comparator.CheckOptions(config, "comparator"));
        result = comparator.Start(config, tree.Path(), &stopFlag);
    }

    [[nodiscard]] std::string SystemTable() const {
        return tree.Read("csv/mem/mem_system_info.csv");
    }
    [[nodiscard]] std::string ProcessTable() const {
        return tree.Read("csv/mem/mem_process_info.csv");
    }

    static constexpr const char* kSystem = R"("system_mem")";
    static constexpr const char* kProcess = R"("process_mem")";

    RunTree tree;  // of the comparison; the versions are folders of it
    std::map<std::string, std::string> versions;
    StopFlag stopFlag{0};
    bool result = false;
};

TEST_F(MemComparatorTest, SetsTheSystemsSideBySide) {
    AddSystem("v1", MemSystemLines("used", {"10", "30", "20"}));
    AddSystem("v2", MemSystemLines("used", {"7"}));
    const Captured captured = Run(kSystem);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out + captured.err, "");
    std::string expected = "project,v1,,,v2,,,\n,min,avg,max,min,avg,max,\n";
    for (const char* field : {"total", "used", "free", "shared", "cache", "avail", "pss",
                              "pagetable", "slabInfo", "hugetlb", "kermod", "kernelStack", "sum"}) {
        const std::string name = field;
        expected +=
            name + (name == "used" ? ",10.000000,20.000000,30.000000,7.000000,7.000000,7.000000,\n"
                                   : ",1.000000,1.000000,1.000000,1.000000,1.000000,1.000000,\n");
    }
    EXPECT_EQ(SystemTable(), expected);
    EXPECT_FALSE(tree.Has("csv/mem/mem_process_info.csv"));
    EXPECT_THAT(tree.Read("env_info/time_cost.log"),
                MatchesRegex("\\[MemComparator\\] cost time: [0-9.]+s\n"));
}

TEST_F(MemComparatorTest, SetsEachProcessSideBySide) {
    AddProcesses("v1", MemProcessLine("a", {{"1", "app", {{"RSS", "4K"}}},
                                            {"2", "app", {{"RSS", "6K"}}},
                                            {"3", "db", {}}}));
    AddProcesses("v2", MemProcessLine("a", {{"1", "app", {}}}));
    const Captured captured = Run(kProcess, R"("db","app")");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out + captured.err, "");
    const std::string eights = "8.000000,8.000000,8.000000,";
    const std::string none = "N/A,N/A,N/A,";
    EXPECT_EQ(ProcessTable(),
              "process,v1(db),,,v2(db),,,\n,min,avg,max,min,avg,max,\n"
              "VSS," +
                  eights + none + "\nRSS," + eights + none + "\nPSS," + eights + none + "\nUSS," +
                  eights + none + "\nSP_ALLOC," + eights + none +
                  "\nprocess,v1(app),,,v2(app),,,\n,min,avg,max,min,avg,max,\n"
                  "VSS," +
                  eights + eights + "\nRSS,4.000000,5.000000,6.000000," + eights + "\nPSS," +
                  eights + eights + "\nUSS," + eights + eights + "\nSP_ALLOC," + eights + eights +
                  "\n");
    EXPECT_FALSE(tree.Has("csv/mem/mem_system_info.csv"));
}

TEST_F(MemComparatorTest, AVersionWithoutAFileShowsNoValues) {
    AddVersion("v1");
    AddSystem("v2", MemSystemLine("a"));
    const Captured captured = Run(kSystem);
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, std::string(kOnlyOneSystem) +
                                "[MemComparator] Failed to compare [v1] system mem data!\n");
    EXPECT_THAT(SystemTable(), HasSubstr("\nsum,N/A,N/A,N/A,1.000000,1.000000,1.000000,\n"));
}

// Half a run must not look like one.
TEST_F(MemComparatorTest, AVersionThatFailsShowsNothingOfWhatItHas) {
    AddSystem("v", MemSystemLine("a") + "torn");
    AddProcesses("v", MemProcessLine("a", {{"1", "app", {}}}) + "torn");
    const Captured captured = Run(R"("system_mem","process_mem")", R"("app")");
    EXPECT_TRUE(result);
    const std::string json = "[MemComparator] Exception occurs while parsing json file.\n";
    EXPECT_EQ(captured.err, json + "[MemComparator] Failed to compare [v] system mem data!\n" +
                                json + "[MemComparator] Failed to compare [v] process mem data!\n");
    EXPECT_THAT(SystemTable(), Not(HasSubstr("1.000000")));
    EXPECT_THAT(ProcessTable(), EndsWith("SP_ALLOC,N/A,N/A,N/A,\n"));
}

// A version that fails as a process still has its system.
TEST_F(MemComparatorTest, TheTablesFailApart) {
    AddSystem("v", MemSystemLine("a"));
    const Captured captured = Run(R"("process_mem","system_mem")", R"("app")");
    EXPECT_EQ(captured.err, std::string(kOnlyOneProcess) +
                                "[MemComparator] Failed to compare [v] process mem data!\n");
    EXPECT_THAT(SystemTable(), HasSubstr("total,1.000000,"));
    EXPECT_THAT(ProcessTable(), HasSubstr("VSS,N/A,N/A,N/A,\n"));
}

// Documents that are torn, huge, deep or binary.
TEST_F(MemComparatorTest, HostileDocumentsFailTheVersion) {
    const std::string deep =
        std::string(test::Amount(1000000), '[') + std::string(test::Amount(1000000), ']');
    const std::string json = "[MemComparator] Exception occurs while parsing json file.\n";
    const std::pair<std::string, std::string> rows[] = {
        {std::string(test::Amount(16U << 20U), 'q'), json},
        {std::string(test::Amount(1000000), '['), json},
        {std::string(100, '\0'), json},
        {"\x7f"
         "ELF\x02\x01\xff\xfe",
         json},
        {deep, "[MemComparator] Json lack of required field [content].\n"},
        {"{\"content\":" + deep + "}", "[MemComparator] Invalid format in [content].\n"},
    };
    for (const auto& [text, words] : rows) {
        AddSystem("v", text);
        EXPECT_EQ(Run(kSystem).err,
                  words + "[MemComparator] Failed to compare [v] system mem data!\n");
        EXPECT_THAT(SystemTable(), EndsWith("sum,N/A,N/A,N/A,\n"));
    }
}

TEST_F(MemComparatorTest, NumbersOfAnySizeAreShown) {
    AddSystem("v", MemSystemLines("used", {"-1", "-3"}) +
                       MemSystemLine("c", {{"used", "1"}, {"free", std::string(40, '9')}}));
    EXPECT_EQ(Run(kSystem).err, "");
    EXPECT_THAT(SystemTable(), HasSubstr("used,-3.000000,-1.000000,1.000000,\n"));
    EXPECT_THAT(SystemTable(), HasSubstr(",10000000000000000303786028427003666890752.000000,\n"));
}

using MemComparatorDeathTest = MemComparatorTest;

TEST_F(MemComparatorDeathTest, ALineBeyondMemoryFailsTheVersion) {
    if (!WhyNoMemoryLimit().empty()) {
        GTEST_SKIP() << WhyNoMemoryLimit();
    }
    AddSystem("v", "");
    ASSERT_EQ(::truncate((tree.Path() + "v" + kSystemFile).c_str(), off_t{1} << 33), 0);
    EXPECT_EXIT(ExitBelowAMemoryLimit([this] {
                    RunUncaptured(kSystem, "");
                    return result;
                }),
                testing::ExitedWithCode(0),
                testing::StrEq("[MemComparator] Failed to compare [v] system mem data!\n"));
}

TEST_F(MemComparatorTest, AnEmptyFileIsARunWithoutValues) {
    AddSystem("v", "");
    EXPECT_EQ(Run(kSystem).err, "");
    EXPECT_THAT(SystemTable(), HasSubstr("total,N/A,N/A,N/A,\n"));
}

TEST_F(MemComparatorTest, ProcessesAreFoundAmongTheRawDataOrElseTheDocuments) {
    const std::string one = MemProcessLine("a", {{"1", "app", {{"RSS", "1K"}}}});
    const std::string two = MemProcessLine("a", {{"1", "app", {{"RSS", "2K"}}}});
    AddVersion("v");
    tree.Write("v" + kJsonProcessFile, two);
    EXPECT_EQ(Run(kProcess, R"("app")").err, "");
    EXPECT_THAT(ProcessTable(), HasSubstr("RSS,2.000000,"));
    tree.Write("v" + kProcessFile, one);
    EXPECT_EQ(Run(kProcess, R"("app")").err, "");
    EXPECT_THAT(ProcessTable(), HasSubstr("RSS,1.000000,"));
    // Two in the first place are its error, whatever the second holds.
    tree.Write("v/raw_data/mem/soc_gea_process_mem_rawdata_info_1_2.data", one);
    EXPECT_THAT(Run(kProcess, R"("app")").err, StartsWith(kOnlyOneProcess));
    tree.Remove("v/raw_data/mem");
    tree.Write("v/json/soc_gea_process_mem_rawdata_info_1_2.data", two);
    EXPECT_EQ(Run(kProcess, R"("app")").err,
              "Can not open " + tree.Path() + "v//raw_data/mem/\n" + kOnlyOneProcess +
                  "[MemComparator] Failed to compare [v] process mem data!\n");
}

TEST_F(MemComparatorTest, SeveralFilesOfTheSystemAreAnError) {
    AddSystem("v", MemSystemLine("a"));
    tree.Write("v/json/soc_gea_memory_info_1_2.data", MemSystemLine("b"));
    EXPECT_EQ(Run(kSystem).err, std::string(kOnlyOneSystem) +
                                    "[MemComparator] Failed to compare [v] system mem data!\n");
}

TEST_F(MemComparatorTest, AFileThatCannotBeOpenedFailsTheVersion) {
    AddSystem("v", MemSystemLine("a"));
    const std::string path = tree.Path() + "v/" + kSystemFile;
    ASSERT_EQ(::chmod(path.c_str(), 0), 0);
    const OrdinaryRights rights;
    EXPECT_EQ(Run(kSystem).err,
              "[MemComparator] Could not open the file: \"" + path +
                  "\"!\n[MemComparator] Failed to compare [v] system mem data!\n");
}

// A version map may hold relative paths.
TEST_F(MemComparatorTest, AFileWhosePathCannotBeFoundFailsTheVersion) {
    const UnresolvableFolder folder;
    std::filesystem::create_directories("v/json");
    std::ofstream("v/json/soc_gea_memory_info_1_1.data") << MemSystemLine("a");
    versions["v"] = "v";
    EXPECT_EQ(Run(kSystem).err,
              "[MemComparator]: Illegal json file: \"v/json/soc_gea_memory_info_1_1.data\"!\n"
              "[MemComparator] Failed to compare [v] system mem data!\n");
    EXPECT_THAT(SystemTable(), HasSubstr("sum,N/A,N/A,N/A,\n"));
}

// Paths are joined by a slash of the comparator's own.
TEST_F(MemComparatorTest, ADirectoryNeedsNoFinalSlash) {
    AddSystem("v", MemSystemLine("a"));
    versions["v"].pop_back();
    EXPECT_EQ(Run(kSystem).err, "");
    versions["v"] = tree.Path() + "missing";
    EXPECT_THAT(Run(kSystem).err, StartsWith("Can not open " + tree.Path() + "missing/json/\n"));
}

TEST_F(MemComparatorTest, TwoVersionsOfOneDirectoryAreEqualColumns) {
    AddSystem("v", MemSystemLine("a"));
    versions["a"] = versions["v"];
    Run(kSystem);
    EXPECT_THAT(SystemTable(), StartsWith("project,a,,,v,,,\n"));
    EXPECT_THAT(SystemTable(),
                HasSubstr("used,1.000000,1.000000,1.000000,1.000000,1.000000,1.000000,\n"));
}

TEST_F(MemComparatorTest, AStopEndsTheLoadingBehindTheVersion) {
    AddSystem("v1", MemSystemLine("a"));
    AddSystem("v2", MemSystemLine("a"));
    stopFlag = 1;
    const Captured captured = Run(R"("system_mem","process_mem")", R"("app")");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.out, "[MemComparator] Stop compare data, please wait for saving data.\n");
    EXPECT_THAT(SystemTable(), HasSubstr("sum,1.000000,1.000000,1.000000,N/A,N/A,N/A,\n"));
    EXPECT_THAT(ProcessTable(), StartsWith("process,v1(app),,,v2(app),,,\n"));
}

TEST_F(MemComparatorTest, WithoutJobsOrVersionsThereIsLittleToSay) {
    AddVersion("v");
    EXPECT_EQ(Run("").err, "");
    EXPECT_TRUE(result);
    EXPECT_FALSE(tree.Has("csv/mem/mem_system_info.csv"));
    versions.clear();
    Run(R"("system_mem","process_mem")");
    EXPECT_THAT(SystemTable(), StartsWith("project,\n,\ntotal,\n"));
    EXPECT_EQ(ProcessTable(), "");
}

TEST_F(MemComparatorTest, ADirectoryThatCannotBeMadeEndsTheMission) {
    tree.PutInTheWay("csv");
    const Captured captured = Run(kSystem);
    EXPECT_FALSE(result);
    EXPECT_THAT(captured.err, StartsWith("[zarn_utils] Failed to create directory : "));
    EXPECT_FALSE(tree.Has("env_info/time_cost.log"));
}

TEST_F(MemComparatorTest, TablesThatCannotBeWrittenAreTold) {
    tree.MakeFolder("csv/mem/mem_system_info.csv");
    tree.MakeFull("csv/mem/mem_process_info.csv");
    const Captured captured = Run(R"("system_mem","process_mem")", R"("app")");
    EXPECT_FALSE(result);
    EXPECT_THAT(captured.err,
                StartsWith("[MemComparator] Failed to open file " + tree.Path() +
                           "csv/mem/mem_system_info.csv\n"
                           "[MemComparator] Failed to save system comparison data.\n"));
    EXPECT_THAT(captured.err,
                EndsWith("[MemComparator] Failed to save process comparison data.\n"));
    EXPECT_FALSE(tree.Has("env_info/time_cost.log"));
}

// The words of a section that is refused; "taken" for one that is not.
std::string Words(const std::string& text) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(text, config)) << text;
    bool good = false;
    const Captured captured = Capture(
        [&] { good = MemComparator(MemComparator::kName, {}).CheckOptions(config, "comparator"); });
    return good ? "taken" : captured.err;
}

TEST(MemComparatorOptions, BadOptionsAreRefused) {
    const std::string missing = "[MemComparator] MemComparator param is missing!\n";
    const std::string type =
        "[MemComparator] Invalid MemComparator param type, [job] and [process] should be array!\n";
    EXPECT_EQ(Words("{}"), missing);
    EXPECT_EQ(Words(R"({"MemComparator":{"job":[]}})"), missing);
    EXPECT_EQ(Words(R"({"MemComparator":{"process":[]}})"), missing);
    EXPECT_EQ(Words(R"({"MemComparator":{"job":"x","process":[]}})"), type);
    EXPECT_EQ(Words(R"({"MemComparator":{"job":[],"process":{}}})"), type);
    EXPECT_EQ(Words(R"({"MemComparator":{"job":[1],"process":[1]}})"),
              "[MemComparator] Parameter in [process] should be String!\n");
    EXPECT_EQ(Words(R"({"MemComparator":{"job":[1],"process":[]}})"),
              "[MemComparator]: Parameter in [job] should be String!\n");
    EXPECT_EQ(Words(R"({"MemComparator":{"job":["System_mem"],"process":[]}})"),
              "[MemComparator]: Illegal job name: \"System_mem\"!\n"
              "[MemComparator]: Please correct choice job: [\"system_mem\", \"process_mem\"]\n");
    EXPECT_EQ(Words(R"({"MemComparator":{"job":[],"process":["a"]}})"), "taken");
}

TEST(MemComparatorOptions, TheCheckHoldsToTheDeclaredKeys) {
    ExpectKeysHold(
        "MemComparator", MemComparator::Keys(),
        R"({"MemComparator":{"job":["system_mem"],"process":["a"]}})",
        [](const JsonDocument& config) {
            return MemComparator(MemComparator::kName, {}).CheckOptions(config, "comparator");
        });
}

}  // namespace
}  // namespace zarn::test
