#pragma once

#include <gtest/gtest.h>

#include <string>

#include "analyzers/mem/mem_analyzer.h"
#include "tests/support/captured_streams.h"
#include "tests/support/mem_lines.h"
#include "tests/support/temp_dir.h"

namespace zarn::test {

// A MemAnalyzer on a run tree of its own that holds a good sample of the system and one of a
// process.
class MemAnalyzerTest : public testing::Test {
protected:
    static constexpr const char* kSystemName = "json/soc_gea_memory_info_1_20230101120000000.data";
    static constexpr const char* kProcessName =
        "json/soc_gea_process_mem_rawdata_info_1_20230101120000000.data";
    static constexpr const char* kSystemResult = "json/soc_gea_memory_ana_1_20230101120000000.data";
    static constexpr const char* kProcessResult =
        "json/soc_gea_process_ana_1_20230101120000000.data";

    MemAnalyzerTest();

    // Starts an analyzer with both jobs, or with the one called; what it printed.
    Captured Run(const std::string& jobs = R"("system_mem","process_mem")",
                 const std::string& threshold = "0.1", const std::string& names = "");
    // The same with a section as it stands.
    Captured RunSection(const std::string& section);
    // With both jobs, its lines going where they go.
    void RunUncaptured();

    [[nodiscard]] bool Exists(const std::string& name) const;
    [[nodiscard]] std::string PathOf(const std::string& name) const { return dir.Path() + name; }

    // A section of both jobs, or of the one called.
    [[nodiscard]] static std::string Section(const std::string& jobs, const std::string& threshold,
                                             const std::string& names);

    TempDir dir;
    StopFlag stopFlag{0};
    bool result = false;

private:
    void Start(const std::string& section);
};

inline constexpr const char* kSystemOnly = R"("system_mem")";
inline constexpr const char* kProcessOnly = R"("process_mem")";

}  // namespace zarn::test
