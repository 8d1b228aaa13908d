#pragma once

#include <gtest/gtest.h>

#include <string>

#include "analyzers/ddr/ddr_analyzer.h"
#include "formats/ddr.h"
#include "tests/support/captured_streams.h"
#include "tests/support/ddr_lines.h"
#include "tests/support/run_tree.h"

namespace zarn::test {

// A DdrAnalyzer on a run tree of its own that holds a good collection of one sample; the
// process-wide entries are empty.
class DdrAnalyzerTest : public testing::Test {
protected:
    inline static const std::string kBandwidthName = RunTree::NameOf(ddr_files::kBandwidth);
    inline static const std::string kQosName = RunTree::NameOf(ddr_files::kQosSettings);
    inline static const std::string kAnalysisName = RunTree::NameOf(ddr_files::kAnalysis);
    inline static const std::string kTableName = RunTree::NameOf(ddr_files::kAnalysisTable);

    DdrAnalyzerTest();
    void TearDown() override;

    // Starts an analyzer with this section; what it printed.
    Captured Run(const std::string& section = R"({"job":["global"]})");

    // The lines of a run that loads both files.
    [[nodiscard]] std::string LoadLines() const;

    RunTree tree;
    StopFlag stopFlag{0};
    bool result = false;
};

}  // namespace zarn::test
