#include <gmock/gmock.h>
#include <sys/stat.h>

#include <string>

#include "formats/ai_core.h"
#include "tests/support/ordinary_rights.h"
#include "tests/unit/analyzers/correlation/correlation_analyzer_fixture.h"

namespace zarn::test {
namespace {

const std::string kJson = "[CorrelationAnalyzer] Error occurs when parsing json:";

// The AI cores are the only source.
class CorrelationAicoreTest : public CorrelationTest {
protected:
    // What is printed of them. `saved`: whether they have columns.
    std::string RunAicore(bool saved = true) {
        const Captured captured = Run();
        EXPECT_TRUE(result);
        const std::string behind = NoTable("cpu") + NoTable("ddr") + NoHistory() +
                                   (saved ? "" : CannotSave("aicore")) + CannotSave("cpu") +
                                   CannotSave("ddr") + CannotSave("sched");
        const std::string& err = captured.err;
        EXPECT_EQ(err.substr(err.size() - std::min(err.size(), behind.size())), behind);
        return err.substr(0, err.size() - std::min(err.size(), behind.size()));
    }

    void AddSample(const std::string& time, const std::string& aicore) const {
        WriteSample(time, SampleDocument(time, aicore));
    }
};

TEST_F(CorrelationAicoreTest, SamplesBecomeRowsAndTheGreatestAverageThePeak) {
    AddSample("20230101120001000", "1.500000 1.000000 2.000000 ");
    AddSample("20230101120002000", "9.500000 9.000000 10.000000 ");
    AddSample("20230101120003000", "9.500000 10.000000 9.000000 ");
    EXPECT_EQ(RunAicore(), "");
    EXPECT_EQ(Table(), Lines({"happen_time,aicore_average,aicore_aicore0,aicore_aicore1,"
                              "peak_aicore_average,",
                              "'20230101120001000000,1.500000,1.000000,2.000000,0,",
                              "'20230101120002000000,9.500000,9.000000,10.000000,1,",
                              "'20230101120003000000,9.500000,10.000000,9.000000,0,"}));
}

// Codes of cores without a figure are kept as they are; where no core has one the average is none.
TEST_F(CorrelationAicoreTest, AnAverageThatIsNoNumberIsNoPeak) {
    AddSample("20230101120001000", "-nan -1 -2 ");
    AddSample("20230101120002000", "nan -1 -1 ");
    AddSample("20230101120003000", "0.500000 1.000000 0.000000 ");
    AddSample("20230101120004000", "idle 9 ");
    EXPECT_EQ(RunAicore(), "");
    EXPECT_EQ(Table(),
              Lines({"happen_time,aicore_average,aicore_aicore0,aicore_aicore1,"
                     "peak_aicore_average,",
                     "'20230101120001000000,-nan,-1,-2,0,", "'20230101120002000000,nan,-1,-1,0,",
                     "'20230101120003000000,0.500000,1.000000,0.000000,1,",
                     "'20230101120004000000,idle,9,,0,"}));
}

TEST_F(CorrelationAicoreTest, WithoutAPositiveAverageThereIsNoPeak) {
    AddSample("20230101120001000", "0.000000 0.000000 ");
    AddSample("20230101120002000", "nan -1 ");
    EXPECT_EQ(RunAicore(), kNoSamples);
    EXPECT_EQ(Table(),
              Lines({"happen_time,aicore_average,aicore_aicore0,",
                     "'20230101120001000000,0.000000,0.000000,", "'20230101120002000000,nan,-1,"}));
}

TEST_F(CorrelationAicoreTest, ColumnsAreThoseOfTheWidestSample) {
    AddSample("20230101120001000", "1 1 1");
    AddSample("20230101120002000", "1");
    AddSample("20230101120003000", "1 1 1 1");
    EXPECT_EQ(RunAicore(), "");
    EXPECT_EQ(Table(),
              Lines({"happen_time,aicore_average,aicore_aicore0,aicore_aicore1,aicore_aicore2,"
                     "peak_aicore_average,",
                     "'20230101120001000000,1,1,1,,1,", "'20230101120002000000,1,,,,0,",
                     "'20230101120003000000,1,1,1,1,0,"}));
}

TEST_F(CorrelationAicoreTest, WithoutSamplesTheColumnsAreAbsent) {
    EXPECT_EQ(RunAicore(false), kNoSamples);
    EXPECT_EQ(Table(), "happen_time,\n");
}

TEST_F(CorrelationAicoreTest, ABadSampleIsToldAndLeftOut) {
    AddSample("20230101120005000", "1 2 ");
    struct Bad {
        const char* document;
        const char* words;
    };
    for (const Bad& bad : {
             Bad{"", "Parse error."},
             Bad{"{", "Parse error."},
             Bad{"[", "Parse error."},
             Bad{"7", "Json file lacks of required field [happenTime]."},
             Bad{"{}", "Json file lacks of required field [happenTime]."},
             Bad{R"({"happenTime":7,"content":[]})",
                 "Json file lacks of required field [happenTime]."},
             Bad{R"({"happenTime":"7"})", "Json file lacks of required field [content]."},
             Bad{R"({"happenTime":"7","content":[]})",
                 "Json file lacks of required field [aicore]."},
             Bad{R"({"happenTime":"7","content":{"aicore":"1"}})",
                 "Json file lacks of required field [aicore]."},
             Bad{R"({"happenTime":"7","content":[7]})",
                 "Json file lacks of required field [aicore]."},
             Bad{R"({"happenTime":"7","content":[{"aicore":7}]})",
                 "Json file lacks of required field [aicore]."},
             Bad{R"({"happenTime":"7","content":[{"aicore":""}]})", "Invalid aicore data."},
             Bad{R"({"happenTime":"7","content":[{"aicore":"  "}]})", "Invalid aicore data."},
         }) {
        WriteSample("20230101120004000", bad.document);
        EXPECT_EQ(RunAicore(), kJson + bad.words + "\n") << bad.document;
        EXPECT_EQ(Table(), Lines({"happen_time,aicore_average,aicore_aicore0,peak_aicore_average,",
                                  "'20230101120005000000,1,2,1,"}));
    }
}

TEST_F(CorrelationAicoreTest, OneBadAmongMany) {
    for (int i = 0; i < 2000; ++i) {
        AddSample(std::to_string(20230101120000000 + i), "1 2 ");
    }
    WriteSample("20230101120001000", "torn");
    EXPECT_EQ(RunAicore(), kJson + "Parse error.\n");
    const std::string table = Table();
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 2000);
}

TEST_F(CorrelationAicoreTest, ASampleThatCannotBeOpenedIsToldAsOneThatIsNoJson) {
    AddSample("20230101120005000", "1 2 ");
    AddSample("20230101120006000", "1 2 ");
    const std::string name = RunTree::NameOf(ai_core_files::kUsageDocuments, "20230101120005000");
    ASSERT_EQ(::chmod(tree.PathOf(name).c_str(), 0), 0);
    const OrdinaryRights rights;
    EXPECT_EQ(RunAicore(), kJson + "Parse error.\n");
}

TEST_F(CorrelationAicoreTest, ASampleWithoutAMomentIsPassedOver) {
    WriteSample("7", SampleDocument("", "1 2 "));
    WriteSample("8", SampleDocument("2023010112000000", "1 2 "));
    WriteSample("9", SampleDocument("2023010112000000x", "1 2 "));
    EXPECT_EQ(RunAicore(false), kNoSamples);
    EXPECT_EQ(Table(), "happen_time,\n");
}

// What would end a cell or a line is parted from what follows.
TEST_F(CorrelationAicoreTest, TextsDoNotBreakTheTable) {
    AddSample("20230101120005000", "1,2 3\\n4 ");
    EXPECT_EQ(RunAicore(), "");
    EXPECT_EQ(Table(), Lines({"happen_time,aicore_average,aicore_aicore0,aicore_aicore1,"
                              "aicore_aicore2,peak_aicore_average,",
                              "'20230101120005000000,1,2,3,4,1,"}));
}

TEST_F(CorrelationAicoreTest, OfSamplesOfOneMomentThatOfTheFirstNameCounts) {
    WriteSample("20230101120005000", SampleDocument("20230101120009000", "1 1 "));
    WriteSample("20230101120006000", SampleDocument("20230101120009000", "2 2 "));
    EXPECT_EQ(RunAicore(), "");
    EXPECT_EQ(Table(), Lines({"happen_time,aicore_average,aicore_aicore0,peak_aicore_average,",
                              "'20230101120009000000,1,1,1,"}));
}

}  // namespace
}  // namespace zarn::test
