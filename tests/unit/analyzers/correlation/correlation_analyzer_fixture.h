#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "analyzers/correlation/correlation_analyzer.h"
#include "foundation/command_runner.h"
#include "tests/support/captured_streams.h"
#include "tests/support/fake_host.h"
#include "tests/support/run_tree.h"

namespace zarn::test {

// Does what "mv" does, without a shell.
class MovingRunner final : public CommandRunner {
public:
    int Run(const std::string& command) override;
    [[nodiscard]] bool Capture(const std::string& command, std::string& output) override;

    std::vector<std::string> commands;
    int failing = -1;  // the command that fails, counted from 0
    bool allFail = false;
};

// A CorrelationAnalyzer on a run tree of its own, empty so far.
class CorrelationTest : public testing::Test {
protected:
    static constexpr const char* kTime = "20230101115900000";  // in the names of the inputs
    inline static const std::string kTable =
        "csv/correlation/soc_correlation_ana_info_20230101120000000.csv";

    CorrelationTest();

    // Starts an analyzer; what it printed.
    Captured Run(const std::string& sched = "global", const std::string& interval = "1000");
    Captured RunSection(const std::string& section);
    // The same, its lines going where they go.
    void RunUncaptured(const std::string& section);
    [[nodiscard]] static std::string Section(const std::string& sched, const std::string& interval);
    // The table that it made.
    [[nodiscard]] std::string Table() const { return tree.Read(kTable); }
    // What the analyzer prints when it finds nothing of a source.
    [[nodiscard]] std::string NoTable(const std::string& source) const;
    [[nodiscard]] std::string NoHistory() const;
    inline static const std::string kNoSamples =
        "[CorrelationAnalyzer] Aicore peak time is empty.\n";
    // And when such a source is asked to save.
    [[nodiscard]] static std::string CannotSave(const std::string& source);

    // The sources' files, as their missions name them.
    void WriteDdr(const std::string& table, const std::string& document) const;
    void WriteCpu(const std::string& table, const std::string& global,
                  const std::string& core) const;
    void WriteSample(const std::string& time, const std::string& document) const;
    void WriteGlobalHistory(const std::string& rows, const std::string& document) const;
    void WriteHistory(const std::string& target, const std::string& rows) const;
    // `label`: such as "core3".
    void WriteAnalysis(const std::string& job, const std::string& label,
                       const std::string& document) const;

    RunTree tree;
    FakeHost host;
    MovingRunner runner;
    StopFlag stopFlag{0};
    bool result = false;
};

// The DDR analyzer's document of a total with these peaks.
[[nodiscard]] std::string DdrDocument(const std::vector<std::string>& peaks);
// The CPU analyzer's of the idle share, and of the cores "Cpu0" and so on.
[[nodiscard]] std::string CpuGlobalDocument(const std::vector<std::string>& peaks);
[[nodiscard]] std::string CpuCoreDocument(const std::vector<std::vector<std::string>>& peaks);
[[nodiscard]] std::string SampleDocument(const std::string& time, const std::string& aicore);
// The scheduler analyzer's of rows at these seconds; the machine came up at 12:00:00.
[[nodiscard]] std::string SchedDocument(const std::vector<std::string>& seconds);
// A row of a history.
[[nodiscard]] std::string HistoryRow(const std::string& seconds, const std::string& task = "a[1]");

// The lines of a table.
[[nodiscard]] std::string Lines(const std::vector<std::string>& lines);

}  // namespace zarn::test
