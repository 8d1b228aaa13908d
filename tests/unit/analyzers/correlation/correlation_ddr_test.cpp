#include "analyzers/correlation/correlation_ddr.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "formats/ddr.h"
#include "tests/support/ordinary_rights.h"
#include "tests/unit/analyzers/correlation/correlation_analyzer_fixture.h"

namespace zarn::test {
namespace {

using testing::HasSubstr;

constexpr const char* kDdrTable =
    "happen_time,total,cpu,\n"
    "'20230101120000000,10,5,\n"
    "'20230101120001000,90,6,\n";
const std::string kWithoutPeaks =
    Lines({"happen_time,ddr_total,ddr_cpu,", "'20230101120000000000,10,5,",
           "'20230101120001000000,90,6,"});

// The DDR is the only source.
class CorrelationDdrTest : public CorrelationTest {
protected:
    // What is printed of the DDR; the lines of the sources that are missing must be there.
    std::string RunDdr() {
        const Captured captured = Run();
        EXPECT_TRUE(result);
        const std::string before = kNoSamples + NoTable("cpu");
        const std::string behind =
            NoHistory() + CannotSave("aicore") + CannotSave("cpu") + CannotSave("sched");
        const std::string& err = captured.err;
        EXPECT_EQ(err.substr(0, before.size()), before);
        EXPECT_EQ(err.substr(err.size() - std::min(err.size(), behind.size())), behind);
        out = captured.out;
        return err.substr(before.size(), err.size() - before.size() - behind.size());
    }

    // The words of a document that gives no peaks, before the last line of them.
    void ExpectNoPeaks(const std::string& document, const std::string& words) {
        WriteDdr(kDdrTable, document);
        EXPECT_EQ(RunDdr(), words + "[CorrelationAnalyzer] Failed to get ddr peak time.\n")
            << document;
        EXPECT_EQ(Table(), kWithoutPeaks);
    }

    std::string out;
};

const std::string kJson = "[CorrelationAnalyzer] Error occurs when parsing json:";
const std::string kNoContent = "[CorrelationAnalyzer] Failed to get json content. \n";

TEST_F(CorrelationDdrTest, SharesAndPeaksBecomeColumns) {
    WriteDdr(kDdrTable, DdrDocument({"20230101120001000"}));
    EXPECT_EQ(RunDdr(), "");
    EXPECT_EQ(Table(), Lines({"happen_time,ddr_total,ddr_cpu,peak_ddr_total,",
                              "'20230101120000000000,10,5,0,", "'20230101120001000000,90,6,1,"}));
    EXPECT_THAT(out, HasSubstr("[CorrelationAnalyzer] Save ddr data successfully\n"));
}

TEST_F(CorrelationDdrTest, RowsNearAPeakAreMarkedUpToTheInterval) {
    WriteDdr(
        "happen_time,total,\n'20230101120000999,1,\n'20230101120001000,2,\n"
        "'20230101120001001,3,\n'20230101120001002,4,\n",
        DdrDocument({"20230101120001000"}));
    EXPECT_EQ(RunDdr(), "");
    EXPECT_EQ(Table(), Lines({"happen_time,ddr_total,peak_ddr_total,", "'20230101120000999000,1,1,",
                              "'20230101120001000000,2,1,", "'20230101120001001000,3,1,",
                              "'20230101120001002000,4,0,"}));
}

// The moment before 12:00:00 by the digits is 11:99:99: a row a second before the minute is far
// from it.
TEST_F(CorrelationDdrTest, ASpanAcrossTheMinuteIsOneOfDigits) {
    WriteDdr("happen_time,total,\n'20230101115959500,1,\n'20230101120000000,2,\n",
             DdrDocument({"20230101120000000"}));
    (void)Run("global", "10000000");
    EXPECT_EQ(Table(), Lines({"happen_time,ddr_total,peak_ddr_total,", "'20230101115959500000,1,0,",
                              "'20230101120000000000,2,1,"}));
}

TEST_F(CorrelationDdrTest, WithoutPeaksThereIsNoColumnOfThem) {
    WriteDdr(kDdrTable, DdrDocument({}));
    EXPECT_EQ(RunDdr(), "");
    EXPECT_EQ(Table(), kWithoutPeaks);
}

TEST_F(CorrelationDdrTest, APeakWhoseStampIsNoneIsPassedOver) {
    WriteDdr(kDdrTable, DdrDocument({"", "2023", "x", "20230101120000000"}));
    EXPECT_EQ(RunDdr(), "");
    EXPECT_THAT(Table(), HasSubstr("'20230101120000000000,10,5,1,\n"));
    EXPECT_THAT(Table(), HasSubstr("'20230101120001000000,90,6,0,\n"));
}

TEST_F(CorrelationDdrTest, WithoutADocumentTheColumnsStay) {
    tree.Write(RunTree::NameOf(ddr_files::kAnalysisTable, kTime), kDdrTable);
    EXPECT_EQ(RunDdr(), "[CorrelationAnalyzer] Failed to get ddr analyzer data in dir:" +
                            tree.PathOf("json/") +
                            "\n[CorrelationAnalyzer] Failed to get ddr analyzer data.\n");
    EXPECT_EQ(Table(), kWithoutPeaks);
}

TEST_F(CorrelationDdrTest, ADocumentThatCannotBeReadGivesNoPeaks) {
    WriteDdr(kDdrTable, DdrDocument({"20230101120001000"}));
    ASSERT_EQ(::chmod(tree.PathOf(RunTree::NameOf(ddr_files::kAnalysis, kTime)).c_str(), 0), 0);
    const OrdinaryRights rights;
    EXPECT_EQ(RunDdr(),
              "[CorrelationAnalyzer] Ddr json file not exist. \n"
              "[CorrelationAnalyzer] Failed to get ddr peak time.\n");
    EXPECT_EQ(Table(), kWithoutPeaks);
}

TEST_F(CorrelationDdrTest, DocumentsWithoutContent) {
    for (const char* text : {"", "\n", "{", "[1,", "x", "{}x", "\xff\xfe"}) {
        ExpectNoPeaks(text, kJson + "Parse error.\n" + kNoContent);
    }
    for (const char* text : {"{}", "7", "[]", "null", R"({"Content":[]})"}) {
        ExpectNoPeaks(text, kJson + "Json file lacks of required field [content].\n" + kNoContent);
    }
}

TEST_F(CorrelationDdrTest, DocumentsWithoutTheTotalsPeaks) {
    for (const char* content :
         {"[]", "{}", "7", "null", "[7]", R"([{"mpam_name":"cpu","peak":[]}])", R"([{"peak":[]}])",
          R"([{"mpam_name":7,"peak":[]}])", R"([{"mpam_name":"total"}])",
          R"([{"mpam_name":"total","peak":{}}])", R"([{"mpam_name":"total","peak":7}])",
          R"([{},{"mpam_name":"total","peak":[]}])"}) {
        ExpectNoPeaks(std::string(R"({"content":)") + content + "}",
                      kJson + "ddr json file lacks of required field.\n");
    }
}

TEST_F(CorrelationDdrTest, PeaksWithoutAStamp) {
    for (const char* peak :
         {"{}", "7", "null", "[]", R"({"timeStamp":7})", R"({"timestamp":"7"})"}) {
        ExpectNoPeaks(
            std::string(
                R"({"content":[{"mpam_name":"total","peak":[{"timeStamp":"20230101120001000"},)") +
                peak + "]}]}",
            kJson + "ddr json file lacks of timeStamp.\n");
    }
}

TEST_F(CorrelationDdrTest, TheFirstLineOfADocumentCounts) {
    WriteDdr(kDdrTable, DdrDocument({"20230101120001000"}) + DdrDocument({"20230101120000000"}));
    EXPECT_EQ(RunDdr(), "");
    EXPECT_THAT(Table(), HasSubstr("'20230101120000000000,10,5,0,\n"));
    WriteDdr(kDdrTable, DdrDocument({"20230101120001000"}) + "torn");
    EXPECT_EQ(RunDdr(), "");
}

// Of several, as a tree has that was collected into twice.
TEST_F(CorrelationDdrTest, TheFirstTableInTheOrderOfNamesCounts) {
    WriteDdr(kDdrTable, DdrDocument({}));
    tree.Write(RunTree::NameOf(ddr_files::kAnalysisTable, "20230101115900001"), "happen_time,x,\n");
    EXPECT_EQ(RunDdr(), "");
    EXPECT_EQ(Table(), kWithoutPeaks);
}

TEST_F(CorrelationDdrTest, WithoutATableTheSourceIsSkipped) {
    tree.MakeFolder("raw_data/ddr");
    const std::string folder = tree.PathOf("raw_data/ddr/");
    EXPECT_EQ(Run().err, kNoSamples + NoTable("cpu") +
                             "[CorrelationAnalyzer] ddr raw data not exist in dir:" + folder +
                             "\n[CorrelationAnalyzer] Failed to get ddr raw data, skip ddr.\n" +
                             NoHistory() + CannotSave("aicore") + CannotSave("cpu") +
                             CannotSave("ddr") + CannotSave("sched"));
    EXPECT_TRUE(result);
    EXPECT_EQ(Table(), "happen_time,\n");
}

TEST_F(CorrelationDdrTest, ATableThatCannotBeOpenedIsTold) {
    WriteDdr(kDdrTable, DdrDocument({}));
    const std::string path = tree.PathOf(RunTree::NameOf(ddr_files::kAnalysisTable, kTime));
    ASSERT_EQ(::chmod(path.c_str(), 0), 0);
    const OrdinaryRights rights;
    EXPECT_EQ(Run().err, kNoSamples + NoTable("cpu") +
                             "[CorrelationAnalyzer] Failed to open ddr raw data: " + path +
                             "\n[CorrelationAnalyzer] Failed to get ddr time stamp, skip ddr.\n" +
                             NoHistory() + CannotSave("aicore") + CannotSave("cpu") +
                             CannotSave("ddr") + CannotSave("sched"));
    EXPECT_EQ(Table(), "happen_time,\n");
}

// The memory of a process is a regular file that cannot be read at its beginning.
TEST_F(CorrelationDdrTest, ATableThatCannotBeReadToItsEndIsKept) {
    WriteDdr(kDdrTable, DdrDocument({}));
    const std::string path = tree.PathOf("table.csv");
    std::filesystem::create_symlink("/proc/self/mem", path);
    CorrelationDdr source({tree.Path(), runner});
    TimeSet times;
    ASSERT_TRUE(source.Collect({7, "global"}, times));
    const Captured captured = Capture([&] { result = source.Save(path); });
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err, "[CorrelationAnalyzer] Failed to save ddr data.\n");
    EXPECT_FALSE(tree.Has("table.csv.tmp"));
    EXPECT_THAT(runner.commands, testing::IsEmpty());
}

// Nor has it any rows, as a source.
TEST_F(CorrelationDdrTest, ASourceThatCannotBeReadToItsEndIsSkipped) {
    WriteDdr("", DdrDocument({}));
    const std::string path = tree.PathOf(RunTree::NameOf(ddr_files::kAnalysisTable, kTime));
    std::filesystem::remove(path);
    std::filesystem::create_symlink("/proc/self/mem", path);
    EXPECT_THAT(Run().err, HasSubstr("[CorrelationAnalyzer] Failed to open ddr raw data: " + path +
                                     "\n[CorrelationAnalyzer] Failed to get ddr time stamp, skip "
                                     "ddr.\n"));
    EXPECT_EQ(Table(), "happen_time,\n");
}

}  // namespace
}  // namespace zarn::test
