#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "formats/cpu.h"
#include "formats/ddr.h"
#include "tests/unit/report/shown.h"

// Trees that no run of zarn left so.
namespace zarn::report {
namespace {

using test::DocumentLine;
using test::RunTree;
using test::Shown;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

const std::string kBandwidth = RunTree::NameOf(ddr_files::kBandwidth);
const std::string kLoading = RunTree::NameOf(cpu_files::kLoadingTable);

TEST(HostileTreeTest, NeverWaitsForAFifo) {
    const RunTree tree;
    ASSERT_EQ(::mkfifo(tree.PathOf(kBandwidth).c_str(), 0600), 0);
    ASSERT_EQ(::mkfifo(tree.PathOf("env_info/zarn_config.json").c_str(), 0600), 0);
    EXPECT_THAT(Shown(tree).Troubles(),
                ElementsAre("env_info/zarn_config.json: it cannot be opened",
                            kBandwidth + ": it cannot be opened"));
}

TEST(HostileTreeTest, PassesOverLinksToNothingAndFolders) {
    const RunTree tree;
    ASSERT_EQ(::symlink("/none", tree.PathOf(kBandwidth).c_str()), 0);
    tree.MakeFolder(RunTree::NameOf(ddr_files::kAnalysis));
    EXPECT_THAT(Shown(tree).Troubles(), ElementsAre(kBandwidth + ": it cannot be opened"));
}

TEST(HostileTreeTest, PassesOverALineOfSixteenMegabytes) {
    const RunTree tree;
    tree.Write(kLoading,
               "happen_time,total,\n" + std::string(16 << 20, ',') + "\n'20260101000000000,7,\n");
    const Shown shown(tree);
    EXPECT_THAT(shown.Lines("cpu", "Load of the system and of each core", 1767225600000.0),
                ElementsAre("total: 0=7"));
    EXPECT_THAT(shown.Troubles(), ElementsAre(kLoading + ": line 2 is too long to be read"));
}

TEST(HostileTreeTest, StandsNestingWithoutEnd) {
    const RunTree tree;
    tree.Write(kBandwidth, std::string(1000000, '[') + "\n" + std::string(1000000, '[') +
                               std::string(1000000, ']') + "\n");
    EXPECT_THAT(Shown(tree).Troubles(), ElementsAre(kBandwidth + ": line 1 is no JSON"));
}

TEST(HostileTreeTest, WritesNoNameAsMarkup) {
    const RunTree tree;
    const std::string name = "</script><script>alert(1)</script>\xff\x01";
    tree.Write(kLoading, "happen_time," + name + ",\n'20260101000000000,7,\n");
    tree.Write("env_info/" + std::string("<img src=x onerror=y>"), name + "\n");
    const Shown shown(tree);
    EXPECT_THAT(shown.Text(), Not(HasSubstr("<")));
    EXPECT_THAT(shown.Text(), HasSubstr(R"(\u003c/script>\u003cscript>alert(1))"));
    EXPECT_THAT(shown.Text(), HasSubstr(R"(\ufffd\u0001)"));
}

TEST(HostileTreeTest, ThinsLongSeriesAndSaysSo) {
    std::string table = "happen_time,total,\n";
    for (int i = 0; i < 20000; ++i) {
        // Hours, minutes and seconds of a day.
        const int clock = 1000000 + i / 3600 * 10000 + i / 60 % 60 * 100 + i % 60;
        table += "'20260101" + std::to_string(clock).substr(1) + "000," +
                 std::to_string(i == 12345 ? 1000 : i % 100) + ",\n";
    }
    const RunTree tree;
    tree.Write(kLoading, table);
    const Shown shown(tree);
    const JsonValue& block = shown.Block("cpu", "Load of the system and of each core");
    EXPECT_EQ(block["total"].GetInt(), 20000);
    const JsonValue& line = block["series"][0];
    EXPECT_LE(line["v"].Size(), 4000U);
    EXPECT_EQ(line["v"].Size(), line["t"].Size());
    EXPECT_EQ(line["v"].Size(), line["src"]["lines"].Size());
    ASSERT_EQ(line["v"].Size(), line["counts"].Size());
    std::uint64_t count = 0;
    double sum = 0.0;
    for (rapidjson::SizeType i = 0; i < line["v"].Size(); ++i) {
        count += line["counts"][i].GetUint64();
        sum += line["means"][i].GetDouble() * line["counts"][i].GetDouble();
    }
    EXPECT_EQ(count, 20000U);
    EXPECT_NEAR(sum / 20000.0, (200.0 * 4950.0 - 45.0 + 1000.0) / 20000.0, 1e-5);
    double greatest = 0.0;
    for (const JsonValue& value : line["v"].GetArray()) {
        greatest = std::max(greatest, value.GetDouble());
    }
    EXPECT_EQ(greatest, 1000.0);
}

TEST(HostileTreeTest, TellsNoMeansBeyondAllNumbers) {
    std::string table = "happen_time,total,\n";
    for (int i = 0; i < 20000; ++i) {
        const int clock = 1000000 + i / 3600 * 10000 + i / 60 % 60 * 100 + i % 60;
        table += "'20260101" + std::to_string(clock).substr(1) + "000," + "1.7e308,\n";
    }
    const RunTree tree;
    tree.Write(kLoading, table);
    const Shown shown(tree);
    EXPECT_FALSE(
        shown.Block("cpu", "Load of the system and of each core")["series"][0].HasMember("means"));
}

TEST(HostileTreeTest, StandsWrongTypesEverywhere) {
    for (const char* content :
         {"null", "3", "\"x\"", "[]", "{}", "[null]", "[[]]", "[{\"mpam_name\":3}]",
          "[{\"mpam_name\":\"cpu\",\"peak\":{},\"trough\":[3,{\"Value\":[],\"timeStamp\":7}]}]",
          "{\"us\":3}", "{\"us\":{\"peak\":[{\"cpuValue\":\"1\",\"timeStamp\":\"1\"}]}}",
          "{\"top10ProcInfo\":3}", "{\"top10ProcInfo\":{\"Top_1\":[]}}", "{\"cpuTotalInfo\":[]}",
          "{\"cpuUsage\":3,\"coresUsageSorted\":[{},3]}", "{\"cpuUsage\":[{\"coreID\":{}},[]]}",
          "{\"procSetInfo\":[]}", "{\"procSetInfo\":{\"a\":3,\"a\":{\"procInfo\":[[]]}}}"}) {
        const RunTree tree;
        const std::string line = DocumentLine("x", "1", content) + content + "\n";
        for (const NumberedFile& kind :
             {cpu_files::kGlobalAnalysis, cpu_files::kCoreAnalysis, cpu_files::kSelectedAnalysis,
              ddr_files::kAnalysis, ddr_files::kBandwidth, ddr_files::kQosSettings}) {
            tree.Write(RunTree::NameOf(kind), line);
        }
        EXPECT_FALSE(Shown(tree).Titles("summary").empty()) << content;
    }
}

}  // namespace
}  // namespace zarn::report
