#include "tests/unit/analyzers/ddr/ddr_analyzer_fixture.h"

#include "analyzers/ddr/ddr_master_info.h"
#include "tests/support/section_config.h"

namespace zarn::test {

DdrAnalyzerTest::DdrAnalyzerTest() {
    ddrInfoMap.clear();
    tree.MakeFolder(ddr_files::kRawFolder);
    tree.Write(kBandwidthName, BandwidthLine("20230101120000001", "1.500000"));
    tree.Write(kQosName, QosLines("0", "51"));
}

void DdrAnalyzerTest::TearDown() {
    ddrInfoMap.clear();
}

Captured DdrAnalyzerTest::Run(const std::string& section) {
    const JsonDocument config = ParsedConfigOf("DdrAnalyzer", section);
    return Capture([&] {
        DdrAnalyzer analyzer(DdrAnalyzer::kName);
        result = analyzer.Start(config, tree.Path(), &stopFlag);
    });
}

std::string DdrAnalyzerTest::LoadLines() const {
    return "[DdrAnalyzer] DdrAnalyzer Start.\n[DdrAnalyzer] Successfully load qos info from " +
           tree.PathOf(kQosName) + "\n[DdrAnalyzer] Successfully load ddr info from " +
           tree.PathOf(kBandwidthName) + "\n";
}

}  // namespace zarn::test
