#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "tests/support/amounts.h"
#include "tests/support/memory_limit.h"
#include "tests/support/ordinary_rights.h"
#include "tests/unit/analyzers/mem/mem_analyzer_fixture.h"

namespace zarn::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

std::string Nested(std::size_t depth) {
    return std::string(depth, '[') + std::string(depth, ']');
}

// Documents that are torn, empty, huge or binary.
class HostileMemFiles : public MemAnalyzerTest {
protected:
    // Each text in the samples of the system fails that job with its words.
    void ExpectSystemWords(const std::string& text, const std::string& words) {
        tree.Write(kSystemName, text);
        const Captured captured = Run(kSystemOnly);
        EXPECT_FALSE(result) << text.substr(0, 100);
        EXPECT_EQ(captured.err, words + "[MemAnalyzer]: Failed to analy system mem!\n")
            << text.substr(0, 100);
        EXPECT_FALSE(tree.Has(kSystemResult));
    }

    void ExpectProcessWords(const std::string& text, const std::string& words) {
        tree.Write(kProcessName, text);
        const Captured captured = Run(kProcessOnly);
        EXPECT_FALSE(result) << text.substr(0, 100);
        EXPECT_EQ(captured.err, words + "[MemAnalyzer]: Failed to analy process mem!\n")
            << text.substr(0, 100);
        EXPECT_FALSE(tree.Has(kProcessResult));
    }

    // The words of a file that is no JSON.
    [[nodiscard]] std::string Illegal(const std::string& name) const {
        return "[MemAnalyzer]: Illegal json file: \"" + tree.PathOf(name) + "\"\n";
    }
};

constexpr const char* kNoSystem =
    "[MemAnalyzer]: Error occurs system json: Invalid MemAnalyzer josn file\n";
constexpr const char* kNoMax =
    "[MemAnalyzer] Invalid inputs when calculate local max frame.\n"
    "[MemAnalyzer]: Failed to get local max frame!\n";

TEST_F(HostileMemFiles, SystemDocumentsThatAreNone) {
    const std::string good = MemSystemLine("20230101120000001");
    for (const std::string& text :
         {std::string("\n"), good + "\n" + good, good.substr(0, 60), std::string(100, '\0'),
          std::string("\x7f"
                      "ELF\x02\x01\xff\xfe"),
          std::string(test::Amount(16U << 20U), 'q'), std::string(test::Amount(1000000), '['),
          good + std::string(test::Amount(16U << 20U), '{')}) {
        ExpectSystemWords(text, Illegal(kSystemName));
    }
    ExpectSystemWords(Nested(test::Amount(1000000)), kNoSystem);
    ExpectSystemWords(R"({"happenTime":"1","content":)" + Nested(test::Amount(1000000)) + "}",
                      kNoSystem);
}

TEST_F(HostileMemFiles, AnEmptyFileHasNoFrames) {
    ExpectSystemWords("", kNoMax);
    tree.Write(kProcessName, "");
    EXPECT_EQ(Run(kProcessOnly).err,
              "[MemAnalyzer]: the peak trought threshold is too high, select a new one!\n");
    EXPECT_TRUE(result);
}

TEST_F(HostileMemFiles, ProcessDocumentsThatAreNone) {
    for (const std::string& text : {std::string("{"), std::string(test::Amount(16U << 20U), '['),
                                    MemProcessLine("1", {{"9", "x", {}}}).substr(0, 100)}) {
        ExpectProcessWords(text, Illegal(kProcessName));
    }
    ExpectProcessWords(
        R"({"happenTime":"1","content":[{"process":)" + Nested(test::Amount(1000000)) + "}]}",
        "[MemAnalyzer]: Error occurs: Invalid MemAnalyzer josn file\n");
}

TEST_F(HostileMemFiles, ValuesThatAreNoNumbers) {
    const std::string range = "[MemAnalyzer]: mem key information out of int32 range. \n";
    for (const char* value : {"", "K", "-1", "1.23457e+06"}) {
        ExpectSystemWords(MemSystemLines("used", {"1", value}), kNoMax);
    }
    ExpectSystemWords(MemSystemLines("used", {"1", std::string(40, '9')}), range + kNoMax);
    ExpectProcessWords(MemProcessLines({"9", "x", {}}, "PSS", {"1K", "K"}), kNoMax);
    ExpectProcessWords(MemProcessLines({"9", "x", {}}, "PSS", {"1K", std::string(40, '9')}),
                       range + kNoMax);
}

// A single sample passes the tests of frames unseen.
TEST_F(HostileMemFiles, ASingleValueThatIsNoNumber) {
    const std::string none = "[MemAnalyzer]: mem key information doesn't contain an integer. \n";
    ExpectSystemWords(
        MemSystemLines("used", {"K"}),
        none + "[MemAnalyzer]: Failed to create system ana json get frame min max avg!\n");
    ExpectProcessWords(
        MemProcessLines({"9", "x", {}}, "PSS", {"K"}),
        none + "[MemAnalyzer]: Failed to create process ana json get frame min max avg!\n");
}

TEST_F(HostileMemFiles, HugeTextsAndManyProcessesAreRead) {
    const std::string huge(test::Amount(16U << 20U), 'x');
    std::vector<MemRow> rows;
    for (int i = 0; i < 20000; ++i) {
        rows.push_back({std::to_string(i), "p", {}});
    }
    rows.push_back({huge, "q", {}});
    tree.Write(kProcessName, MemProcessLine("20230101120000001", rows));
    EXPECT_EQ(Run(kProcessOnly).err, "");
    EXPECT_TRUE(result);
    EXPECT_THAT(tree.Read(kProcessResult).size(), testing::Gt(huge.size()));
}

TEST_F(HostileMemFiles, AFileThatCannotBeOpenedIsTold) {
    ASSERT_EQ(::chmod(tree.PathOf(kSystemName).c_str(), 0), 0);
    const OrdinaryRights rights;
    EXPECT_EQ(Run(kSystemOnly).err, "[MemAnalyzer] Could not open the file: \"" +
                                        tree.PathOf(kSystemName) +
                                        "\"\n[MemAnalyzer]: Failed to analy system mem!\n");
}

// Case does not count in the search.
TEST_F(HostileMemFiles, AFileInCapitalsIsRead) {
    tree.Remove(kSystemName);
    tree.Write("json/SOC_GEA_MEMORY_INFO_1_5.DATA", MemSystemLine("1", {{"used", "3"}}));
    EXPECT_EQ(Run(kSystemOnly).err, "");
    EXPECT_THAT(tree.Read("json/soc_gea_memory_ana_1_5.data"), HasSubstr("\"maxMemValue\":\"3\""));
}

TEST_F(HostileMemFiles, AFaultInAnyFileEndsTheJob) {
    tree.Write("json/soc_gea_memory_info_1_1.data", MemSystemLine("1"));
    tree.Write("json/soc_gea_memory_info_1_2.data", "torn");
    EXPECT_EQ(Run(kSystemOnly).err, Illegal("json/soc_gea_memory_info_1_2.data") +
                                        "[MemAnalyzer]: Failed to analy system mem!\n");
    EXPECT_FALSE(tree.Has("json/soc_gea_memory_ana_1_1.data"));
}

using HostileMemFilesDeathTest = HostileMemFiles;

TEST_F(HostileMemFilesDeathTest, ALineBeyondMemoryFailsTheJob) {
    if (!WhyNoMemoryLimit().empty()) {
        GTEST_SKIP() << WhyNoMemoryLimit();
    }
    ASSERT_EQ(::truncate(tree.PathOf(kSystemName).c_str(), off_t{1} << 33), 0);
    ASSERT_EQ(::truncate(tree.PathOf(kProcessName).c_str(), off_t{1} << 33), 0);
    EXPECT_EXIT(ExitBelowAMemoryLimit([this] {
                    RunUncaptured();
                    return !result;
                }),
                testing::ExitedWithCode(0),
                testing::StrEq("[MemAnalyzer]: Error occurs system json: std::bad_alloc\n"
                               "[MemAnalyzer]: Failed to analy system mem!\n"
                               "[MemAnalyzer]: Error occurs: std::bad_alloc\n"
                               "[MemAnalyzer]: Failed to analy process mem!\n"));
}

TEST_F(HostileMemFiles, AFullDiskLeavesWhatWasThere) {
    tree.MakeFull(kSystemResult);
    EXPECT_THAT(Run(kSystemOnly).err,
                EndsWith("[zarn_utils] Cannot open outfile, check your filePath.\n"));
}

}  // namespace
}  // namespace zarn::test
