#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "analyzers/aicpu/aicpu_analyzer.h"
#include "tests/support/aicpu_lines.h"
#include "tests/support/captured_streams.h"
#include "tests/support/temp_dir.h"

namespace zarn::test {

// An AicpuAnalyzer in a run tree of its own.
class AicpuAnalyzerTest : public testing::Test {
protected:
    static constexpr const char* kTime = "20230101120000000";

    AicpuAnalyzerTest();

    // Writes the record and the raw files of these processes; those of one name after each other.
    void Collect(const std::vector<AicpuProcess>& processes);
    // Writes a raw file, by its list.
    void SetRaw(const std::string& list, const std::string& process, const std::string& text) const;
    void RemoveRaw(const std::string& list, const std::string& process) const;
    [[nodiscard]] static std::string RecordName() {
        return std::string("json/soc_aicpu_info_1_") + kTime + ".data";
    }

    // Runs the analyzer; what it printed. `jobs` are the elements of the array, as JSON.
    Captured Run(const std::string& jobs = R"("core","event","abnormal")");

    // Documents; empty if there is none.
    [[nodiscard]] std::string Soc() const { return Document("soc"); }
    [[nodiscard]] std::string Document(const std::string& process) const;

    TempDir dir;
    StopFlag stopFlag{0};
    bool result = false;
};

}  // namespace zarn::test
