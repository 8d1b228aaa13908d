#include <gmock/gmock.h>

#include <string>

#include "formats/cpu.h"
#include "tests/unit/analyzers/correlation/correlation_analyzer_fixture.h"

namespace zarn::test {
namespace {

constexpr const char* kCpuTable =
    "happen_time,total,Cpu0,Cpu1,\n"
    "'20230101120000000,10,5,15,\n"
    "'20230101120001000,90,80,,\n";
const std::string kJson = "[CorrelationAnalyzer] Error occurs when parsing json:";

// The load of the processors is the only source.
class CorrelationCpuTest : public CorrelationTest {
protected:
    // What is printed of it.
    std::string RunCpu() {
        const Captured captured = Run();
        EXPECT_TRUE(result);
        const std::string& before = kNoSamples;
        const std::string behind = NoTable("ddr") + NoHistory() + CannotSave("aicore") +
                                   CannotSave("ddr") + CannotSave("sched");
        const std::string& err = captured.err;
        EXPECT_EQ(err.substr(0, before.size()), before);
        EXPECT_EQ(err.substr(err.size() - std::min(err.size(), behind.size())), behind);
        return err.substr(before.size(), err.size() - before.size() - behind.size());
    }

    // The first line, and the heads of the columns of peaks.
    [[nodiscard]] std::string Heads() const {
        const std::string table = Table();
        const std::string known = "happen_time,cpu_total,cpu_Cpu0,cpu_Cpu1,";
        EXPECT_EQ(table.substr(0, known.size()), known);
        return table.substr(known.size(), table.find('\n') - known.size());
    }

    // What a global document prints, the one of the cores being whole.
    std::string WordsOfGlobal(const std::string& document) {
        WriteCpu(kCpuTable, document, CpuCoreDocument({{"20230101120000000"}}));
        const std::string words = RunCpu();
        EXPECT_EQ(Heads(), "peak_cpu_cpu0,") << document;
        return words;
    }

    // And one of the cores.
    std::string WordsOfCores(const std::string& document) {
        WriteCpu(kCpuTable, CpuGlobalDocument({"20230101120000000"}), document);
        const std::string words = RunCpu();
        EXPECT_EQ(Heads(), "peak_cpu_total,") << document;
        return words;
    }
};

// They come from the idle share: the marked row is that of the least load.
TEST_F(CorrelationCpuTest, PeaksOfTheIdleShareMarkTheLeastLoad) {
    WriteCpu(kCpuTable, CpuGlobalDocument({"20230101120000000"}),
             CpuCoreDocument({{"20230101120000000"}, {"20230101120001000"}}));
    EXPECT_EQ(RunCpu(), "");
    EXPECT_EQ(
        Table(),
        Lines({"happen_time,cpu_total,cpu_Cpu0,cpu_Cpu1,peak_cpu_total,peak_cpu_cpu0,"
               "peak_cpu_cpu1,",
               "'20230101120000000000,10,5,15,1,1,0,", "'20230101120001000000,90,80,,0,0,1,"}));
}

TEST_F(CorrelationCpuTest, OnlyCoresWithPeaksHaveAColumn) {
    WriteCpu(kCpuTable, CpuGlobalDocument({}),
             CpuCoreDocument({{}, {"20230101120001000"}, {"none"}}));
    EXPECT_EQ(RunCpu(), "");
    EXPECT_EQ(Heads(), "peak_cpu_cpu1,");
}

TEST_F(CorrelationCpuTest, CoresStandInTheOrderOfTheirNumbers) {
    WriteCpu(kCpuTable, CpuGlobalDocument({}),
             R"({"content":{"cpuUsage":[{"coreID":"Cpu10","id":{"peak":[{"timeStamp":)"
             R"("20230101120000000"}]}},{"coreID":"Cpu9","id":{"peak":[{"timeStamp":)"
             R"("20230101120000000"}]}}]}})");
    EXPECT_EQ(RunCpu(), "");
    EXPECT_EQ(Heads(), "peak_cpu_cpu9,peak_cpu_cpu10,");
}

TEST_F(CorrelationCpuTest, OneDocumentCountsWithoutTheOther) {
    const std::string json = tree.PathOf("json/");
    const std::string last = "[CorrelationAnalyzer] Failed to get cpu analyzer data.\n";
    const std::string noGlobal =
        "[CorrelationAnalyzer] Failed to get cpu global json data in dir:" + json + "\n";
    const std::string noCore =
        "[CorrelationAnalyzer] Failed to get cpu core json data in dir:" + json + "\n";
    WriteCpu(kCpuTable, CpuGlobalDocument({"20230101120000000"}),
             CpuCoreDocument({{"20230101120000000"}}));
    tree.Remove(RunTree::NameOf(cpu_files::kCoreAnalysis, kTime));
    EXPECT_EQ(RunCpu(), noCore + last);
    EXPECT_EQ(Heads(), "peak_cpu_total,");
    tree.Remove(RunTree::NameOf(cpu_files::kGlobalAnalysis, kTime));
    EXPECT_EQ(RunCpu(), noGlobal + noCore + last);
    EXPECT_EQ(Heads(), "");
    tree.Write(RunTree::NameOf(cpu_files::kCoreAnalysis, kTime),
               CpuCoreDocument({{"20230101120000000"}}));
    EXPECT_EQ(RunCpu(), noGlobal + last);
    EXPECT_EQ(Heads(), "peak_cpu_cpu0,");
}

TEST_F(CorrelationCpuTest, AFaultInTheGlobalDocumentLeavesTheCores) {
    const std::string last = "[CorrelationAnalyzer] Cpu global peak not exist. \n";
    const std::string noContent =
        "[CorrelationAnalyzer] Failed to get cpu global json content. \n" + last;
    EXPECT_EQ(WordsOfGlobal("{"), kJson + "Parse error.\n" + noContent);
    EXPECT_EQ(WordsOfGlobal("7"),
              kJson + "Json file lacks of required field [content].\n" + noContent);
    for (const char* content : {"{}", "[]", "7", R"({"id":{}})", R"({"id":[]})",
                                R"({"id":{"peak":{}}})", R"({"peak":[]})"}) {
        EXPECT_EQ(WordsOfGlobal(std::string(R"({"content":)") + content + "}"),
                  kJson + "Cpu global json file lacks of required field.\n" + last);
    }
    for (const char* peak : {"{}", "7", R"({"timeStamp":null})"}) {
        EXPECT_EQ(WordsOfGlobal(std::string(R"({"content":{"id":{"peak":[)") + peak + "]}}}"),
                  kJson + "Cpu global json file lacks of timeStamp.\n" + last);
    }
}

TEST_F(CorrelationCpuTest, AFaultInTheDocumentOfTheCoresLeavesTheTotal) {
    const std::string last = "[CorrelationAnalyzer] Cpu core peak not exist. \n";
    EXPECT_EQ(WordsOfCores(""), kJson + "Parse error.\n" + last);
    EXPECT_EQ(WordsOfCores("{}"), kJson + "Json file lacks of required field [content].\n" + last);
    for (const char* content : {"{}", "[]", "7", R"({"cpuUsage":{}})"}) {
        EXPECT_EQ(WordsOfCores(std::string(R"({"content":)") + content + "}"),
                  kJson + "Cpu core json lacks of cpuUsage.\n" + last);
    }
    for (const char* core :
         {"{}", "7", R"({"coreID":"Cpu0"})", R"({"coreID":"Cpu0","id":{}})",
          R"({"coreID":"Cpu0","id":{"peak":7}})", R"({"id":{"peak":[]}})",
          R"({"coreID":0,"id":{"peak":[]}})", R"({"coreID":"Cpu","id":{"peak":[]}})"}) {
        EXPECT_EQ(WordsOfCores(std::string(R"({"content":{"cpuUsage":[)") + core + "]}}"),
                  kJson + "Cpu core json lacks of peak or id.\n" + last);
    }
    EXPECT_EQ(WordsOfCores(R"({"content":{"cpuUsage":[{"coreID":"Cpu0","id":{"peak":[{}]}}]}})"),
              kJson + "Cpu core json lacks of timeStamp.\n" + last);
}

// The global file has three documents, and one of a tree that was analysed twice six.
TEST_F(CorrelationCpuTest, TheFirstLineOfADocumentCounts) {
    WriteCpu(kCpuTable, CpuGlobalDocument({"20230101120000000"}) + "{}\ntorn",
             CpuCoreDocument({{"20230101120000000"}}) + "torn");
    EXPECT_EQ(RunCpu(), "");
    EXPECT_EQ(Heads(), "peak_cpu_total,peak_cpu_cpu0,");
}

TEST_F(CorrelationCpuTest, ATreeWithoutCoresHasTheTotalAlone) {
    WriteCpu("happen_time,total,\n'20230101120000000,10,\n", CpuGlobalDocument({}),
             CpuCoreDocument({}));
    EXPECT_EQ(RunCpu(), "");
    EXPECT_EQ(Table(), Lines({"happen_time,cpu_total,", "'20230101120000000000,10,"}));
}

TEST_F(CorrelationCpuTest, ATableAppendedTwiceCountsOnce) {
    const std::string table = kCpuTable;
    WriteCpu(table + table, CpuGlobalDocument({}), CpuCoreDocument({}));
    EXPECT_EQ(RunCpu(), "");
    EXPECT_EQ(Table(), Lines({"happen_time,cpu_total,cpu_Cpu0,cpu_Cpu1,",
                              "'20230101120000000000,10,5,15,", "'20230101120001000000,90,80,,"}));
}

}  // namespace
}  // namespace zarn::test
