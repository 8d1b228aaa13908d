#pragma once

#include <gtest/gtest.h>

#include <string>

#include "analyzers/mem/mem_analyzer.h"
#include "formats/mem.h"
#include "tests/support/captured_streams.h"
#include "tests/support/mem_lines.h"
#include "tests/support/run_tree.h"

namespace zarn::test {

// A MemAnalyzer on a run tree of its own that holds a good sample of the system and one of a
// process.
class MemAnalyzerTest : public testing::Test {
protected:
    inline static const std::string kSystemName = RunTree::NameOf(mem_files::kSystemSamples);
    inline static const std::string kProcessName = RunTree::NameOf(mem_files::kProcessSamples);
    inline static const std::string kSystemResult = RunTree::NameOf(mem_files::kSystemAnalysis);
    inline static const std::string kProcessResult = RunTree::NameOf(mem_files::kProcessAnalysis);

    MemAnalyzerTest();

    // Starts an analyzer with both jobs, or with the one called; what it printed.
    Captured Run(const std::string& jobs = R"("system_mem","process_mem")",
                 const std::string& threshold = "0.1", const std::string& names = "");
    // The same with a section as it stands.
    Captured RunSection(const std::string& section);
    // With both jobs, its lines going where they go.
    void RunUncaptured();

    // A section of both jobs, or of the one called.
    [[nodiscard]] static std::string Section(const std::string& jobs, const std::string& threshold,
                                             const std::string& names);

    RunTree tree;
    StopFlag stopFlag{0};
    bool result = false;

private:
    void Start(const std::string& section);
};

inline constexpr const char* kSystemOnly = R"("system_mem")";
inline constexpr const char* kProcessOnly = R"("process_mem")";

}  // namespace zarn::test
