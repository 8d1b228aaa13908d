#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "comparators/cpu/cpu_comparator.h"
#include "formats/cpu.h"
#include "tests/support/captured_streams.h"
#include "tests/support/run_tree.h"
#include "tests/support/section_config.h"

namespace zarn::test {

inline constexpr const char* kStopLine =
    "[CpuComparator] StopFlag received, CPU comparator has stopped.\n";

// Version trees and a run directory, and the comparison of the ones in the other.
class ComparisonFixture : public testing::Test {
protected:
    // Adds a raw log to a version's tree, which is made at the first.
    void AddLog(const std::string& version, const std::string& name, std::string_view text) {
        AddVersion(version);
        trees_.Write(version + "/" + cpu_files::kRawDir + name, text);
    }
    void AddVersion(const std::string& version) {
        trees_.MakeFolder(version);
        versions_[version] = trees_.Path() + version + "/";
    }

    // Checks the options and runs the comparison; `config` is the section's text.
    Captured Compare(const std::string& section) {
        const JsonDocument config = ParsedConfigOf("CpuComparator", section);
        CpuComparator comparator(CpuComparator::kName, versions_);
        EXPECT_TRUE(comparator.CheckOptions(config, "comparator"));
        return Capture([&] { passed_ = comparator.Start(config, run_.Path(), &stopFlag_); });
    }

    [[nodiscard]] std::string Table() const {
        return run_.Read(std::string(cpu_files::kCsvDir) + cpu_files::kComparison);
    }
    // The cells of a row, each with its comma; empty if the table has no such row.
    [[nodiscard]] std::string Row(const std::string& name) const {
        const std::string table = Table();
        const std::string head = "\n" + name + ",";
        const std::size_t start = table.find(head);
        if (start == std::string::npos) {
            return "";
        }
        const std::size_t cells = start + head.size();
        return table.substr(cells, table.find('\n', cells) - cells);
    }
    [[nodiscard]] bool HasCostLine() const { return run_.Has(run_tree::kCostLog); }

    RunTree run_;
    RunTree trees_{run_.PathOf("versions/")};
    std::map<std::string, std::string> versions_;
    StopFlag stopFlag_{0};
    bool passed_ = false;
};

// One sample of a global log whose figures are all derived from `tasks`, the total of tasks.
inline std::string GlobalSample(int tasks) {
    const std::string n = std::to_string(tasks);
    return "20260102104244123\n"
           "top - 20:42:44 up 27 min,  0 user,  load average: " +
           n +
           ".25, 2.00, 1.00\n"
           "Tasks:  " +
           n +
           " total,   1 running,  68 sleeping,   0 stopped,   0 zombie\n"
           "%Cpu(s):  5.0 us,  1.0 sy,  0.0 ni, 94.0 id,  0.0 wa,  0.0 hi,  0.0 si,  0.0 st \n"
           "MiB Mem :  100.0 total,  50.0 free,  30.0 used,  20.0 buff/cache\n"
           "MiB Swap:  4.0 total,  3.0 free,  1.0 used.  70.0 avail Mem\n"
           "\n";
}

// One sample of a usage log: its time line and the rows.
inline std::string UsageSample(const std::string& rows) {
    return "20260102104244123\n" + rows + "\n";
}
inline std::string UsageRow(const std::string& command, int cpu) {
    return "7 root 20 0 100 50 25 S " + std::to_string(cpu) + ".0 1.5 0:02.50 " + command + "\n";
}

}  // namespace zarn::test
