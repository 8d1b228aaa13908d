#pragma once

#include <gtest/gtest.h>

#include <string>

#include "analyzers/ddr/ddr_analyzer.h"
#include "tests/support/captured_streams.h"
#include "tests/support/ddr_lines.h"
#include "tests/support/temp_dir.h"

namespace zarn::test {

// A DdrAnalyzer on a run tree of its own that holds a good collection of one sample; the
// process-wide entries are empty.
class DdrAnalyzerTest : public testing::Test {
protected:
    static constexpr const char* kBandwidthName =
        "json/soc_ddr_bandwidth_usage_info_1_20230101120000000.data";
    static constexpr const char* kQosName = "json/soc_qos_mata_config_info_20230101120000000.data";
    static constexpr const char* kAnalysisName = "json/soc_ddr_ana_info_1_20230101120000000.data";
    static constexpr const char* kTableName =
        "raw_data/ddr/soc_ddr_ana_info_1_20230101120000000.csv";

    DdrAnalyzerTest();
    void TearDown() override;

    // Starts an analyzer with this section; what it printed.
    Captured Run(const std::string& section = R"({"job":["global"]})");

    [[nodiscard]] bool Exists(const std::string& name) const;
    [[nodiscard]] std::string PathOf(const std::string& name) const { return dir.Path() + name; }

    // The lines of a run that loads both files.
    [[nodiscard]] std::string LoadLines() const;

    TempDir dir;
    StopFlag stopFlag{0};
    bool result = false;
};

}  // namespace zarn::test
