#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "analyzers/sched/sched_analyzer.h"
#include "formats/sched.h"
#include "foundation/command_runner.h"
#include "tests/support/captured_streams.h"
#include "tests/support/fake_host.h"
#include "tests/support/run_tree.h"

namespace zarn::test {

// Runs shell lines as they are, but for what they would ask of perf and of the machine: what perf
// would print of a recording stands in the files beside it called ".pids" and ".script".
class SchedShell final : public CommandRunner {
public:
    int Run(const std::string& command) override;
    [[nodiscard]] bool Capture(const std::string& command, std::string& output) override;

    std::vector<std::string> commands;  // those that were run
    std::function<void(const std::string&)> before = [](const std::string&) {};  // each of them
    std::string boot = "20230101110000\n";
    std::string pids = "42\n";  // of any process
};

// A SchedAnalyzer on a run tree of its own.
class SchedAnalyzerTest : public testing::Test {
protected:
    static constexpr const char* kStamp = "20230101120000000";

    SchedAnalyzerTest();

    // Starts an analyzer of these jobs; what it printed.
    Captured Run(const std::string& jobs, const std::string& threshold = "2.5");
    Captured RunConfig(const std::string& config);
    [[nodiscard]] std::string ConfigFor(const std::string& jobs,
                                        const std::string& threshold) const;

    // Writes the files that the collector leaves of `target`; an empty text leaves the file out.
    struct Raw {
        std::string latency;
        std::string pids;
        std::string timehist;
        std::string script;
    };
    void WriteRaw(const std::string& target, const Raw& raw) const;
    [[nodiscard]] std::string RawPath(const std::string& name) const;
    [[nodiscard]] std::string AnalysisPath(const std::string& name) const;

    RunTree tree;
    FakeHost host;
    SchedShell shell;
    StopFlag stopFlag{0};
    std::string topN = "10";
    bool result = false;
};

// A report of these rows, with head and end.
[[nodiscard]] std::string LatencyReport(const std::string& rows);
[[nodiscard]] std::string LatencyLine(const std::string& task, const std::string& delay,
                                      const std::string& at);
// A history of these rows, with its head.
[[nodiscard]] std::string Timehist(const std::string& rows);

}  // namespace zarn::test
