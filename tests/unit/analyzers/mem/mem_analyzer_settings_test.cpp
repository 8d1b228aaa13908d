#include "analyzers/mem/mem_analyzer_settings.h"

#include <gmock/gmock.h>

#include <string>

#include "tests/support/captured_streams.h"
#include "tests/support/key_check.h"
#include "tests/support/mem_lines.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;

constexpr const char* kValid =
    R"({"S":{"job":["system_mem"],"peak_trought_threshold":0.25,"system_field":"sum",)"
    R"("process_field":"USS","process":["a","b"]}})";

constexpr const char* kChoose =
    "[MemAnalyzer]: Please correct choice job: [\"system_mem\", \"process_mem\"]\n";

bool Read(const std::string& text, MemAnalyzerSettings& settings) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(text, config)) << text;
    return ReadMemAnalyzerSettings(config, "S", settings);
}

// The words of a section that is refused; "taken" for one that is not.
std::string Words(const std::string& text) {
    MemAnalyzerSettings settings;
    bool good = false;
    const Captured captured = Capture([&] { good = Read(text, settings); });
    EXPECT_EQ(captured.out, "");
    return good ? "taken" : captured.err;
}

TEST(MemAnalyzerSettingsTest, AGoodSectionIsTaken) {
    MemAnalyzerSettings settings;
    ASSERT_TRUE(Read(kValid, settings));
    EXPECT_TRUE(settings.Wants(kSystemMemJob));
    EXPECT_FALSE(settings.Wants(kProcessMemJob));
    EXPECT_EQ(settings.peakTroughtThreshold, 0.25F);
    EXPECT_EQ(settings.systemField, "sum");
    EXPECT_EQ(settings.processField, "USS");
    EXPECT_THAT(settings.processNames, ElementsAre("a", "b"));
}

TEST(MemAnalyzerSettingsTest, FaultsAreToldInTheirOrder) {
    const std::string missing =
        "[MemAnalyzer] Error occurs: [MemAnalyzer] MemAnalyzer param is missing!\n";
    const std::string type = "[MemAnalyzer] Error occurs: Invalid MemAnalyzer param type\n";
    EXPECT_EQ(Words("{}"), missing);
    EXPECT_EQ(Words(With(kValid, "peak_trought", "peak_trough")), missing);
    EXPECT_EQ(Words(With(kValid, "0.25", "\"0.25\"")), type);
    EXPECT_EQ(Words(With(kValid, R"(["system_mem"])", R"("system_mem")")), type);
    EXPECT_EQ(Words(With(kValid, R"("system_mem")", "")), kChoose);
    EXPECT_EQ(Words(With(With(kValid, R"("a")", "1"), R"("system_mem")", "")), kChoose);
    EXPECT_EQ(Words(With(With(kValid, R"("a")", "1"), R"("system_mem")", "1")),
              "[MemAnalyzer]: Illegal process!\n");
    EXPECT_EQ(Words(With(kValid, R"("system_mem")", "1")), "[MemAnalyzer]: Illegal job type!\n");
    EXPECT_EQ(Words(With(kValid, "system_mem", "System_mem")),
              std::string("[MemAnalyzer]: Illegal job name: \"System_mem\"\n") + kChoose);
}

TEST(MemAnalyzerSettingsTest, TheThresholdLiesAboveZero) {
    const std::string words =
        "[MemAnalyzer] peakTroughtThreshold should greater than 0. Please check.\n";
    for (const char* value : {"0", "0.0", "-1", "-0.5", "1e-60"}) {  // the last is 0 as a float
        EXPECT_EQ(Words(With(kValid, "0.25", value)), words) << value;
    }
    for (const char* value : {"1", "1e-6", "20000", "1e300"}) {
        EXPECT_EQ(Words(With(kValid, "0.25", value)), "taken") << value;
    }
}

TEST(MemAnalyzerSettingsTest, AllFieldsOfTheDocumentsMayBeChosen) {
    for (const char* field : {"total", "used", "free", "shared", "cache", "avail", "pss",
                              "pagetable", "slabInfo", "hugetlb", "kermod", "kernelStack", "sum"}) {
        EXPECT_EQ(Words(With(kValid, "\"sum\"", std::string("\"") + field + "\"")), "taken");
    }
    for (const char* field : {"HugePages", "RSS", "PSS", "USS", "SP_ALLOC", "VSS", "VmData",
                              "VmStk", "VmExe", "VmLib", "VmPTE", "Threads", "FDSize"}) {
        EXPECT_EQ(Words(With(kValid, "USS", field)), "taken");
    }
}

TEST(MemAnalyzerSettingsTest, OtherFieldsAreRefused) {
    EXPECT_EQ(Words(With(kValid, "\"sum\"", "\"available\"")),
              "[MemAnalyzer] available This field is not in the file.\n"
              "[MemAnalyzer] Please correct choice system_field: total, used, free, shared, cache, "
              "avail,\n"
              "pss, pagetable, slabInfo, hugetlb, kermod, kernelStack, sum\n");
    for (const std::string field : {"COMMAND", "PID", "pss"}) {
        EXPECT_EQ(Words(With(kValid, "USS", field)),
                  "[MemAnalyzer] " + field +
                      " This field is not in the file.\n"
                      "[MemAnalyzer] Please correct choice process_field: HugePages, RSS, PSS, "
                      "USS, SP_ALLOC, VSS,\n"
                      "VmData, VmStk, VmExe, VmLib, VmPTE, Threads, FDSize\n");
    }
}

TEST(MemAnalyzerSettingsTest, TheCheckHoldsToTheDeclaredKeys) {
    ExpectKeysHold("S", MemAnalyzerKeys(), kValid, [](const JsonDocument& config) {
        MemAnalyzerSettings settings;
        return ReadMemAnalyzerSettings(config, "S", settings);
    });
}

}  // namespace
}  // namespace zarn::test
