#include "tests/unit/analyzers/ddr/ddr_analyzer_fixture.h"

#include <filesystem>

#include "analyzers/ddr/ddr_master_info.h"

namespace zarn::test {

DdrAnalyzerTest::DdrAnalyzerTest() {
    ddrInfoMap.clear();
    std::filesystem::create_directories(dir.Path() + "env_info");
    std::filesystem::create_directories(dir.Path() + "raw_data/ddr");
    dir.Write(kBandwidthName, BandwidthLine("20230101120000001", "1.500000"));
    dir.Write(kQosName, QosLines("0", "51"));
}

void DdrAnalyzerTest::TearDown() {
    ddrInfoMap.clear();
}

Captured DdrAnalyzerTest::Run(const std::string& section) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(R"({"DdrAnalyzer":)" + section + "}", config));
    return Capture([&] {
        DdrAnalyzer analyzer(DdrAnalyzer::kName);
        result = analyzer.Start(config, dir.Path(), &stopFlag);
    });
}

bool DdrAnalyzerTest::Exists(const std::string& name) const {
    return std::filesystem::exists(dir.Path() + name);
}

std::string DdrAnalyzerTest::LoadLines() const {
    return "[DdrAnalyzer] DdrAnalyzer Start.\n[DdrAnalyzer] Successfully load qos info from " +
           PathOf(kQosName) + "\n[DdrAnalyzer] Successfully load ddr info from " +
           PathOf(kBandwidthName) + "\n";
}

}  // namespace zarn::test
