#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "collectors/system/mem/mem_collector.h"
#include "tests/support/captured_streams.h"
#include "tests/support/fake_host.h"
#include "tests/support/run_tree.h"

namespace zarn::test {

// A MemCollector in a run tree of its own, on a fake host. A test's own answers to commands come
// before those of the machine that Run describes: one with memory, a share pool, and the processes
// that were added.
class MemCollectorTest : public testing::Test {
protected:
    static constexpr const char* kStart = FakeHost::kStart;

    // The process is there: its smaps sums are `pss` for HugePages, RSS and USS too.
    void AddProcess(const std::string& pid, const std::string& pss, const std::string& name);

    // Checks the options and starts the collector, `process` and `jobs` as JSON; what it printed.
    Captured Run(const std::string& jobs, const std::string& process = "[]", unsigned count = 1,
                 unsigned interval = 1);
    Captured RunSystem(unsigned count = 1) { return Run(R"(["system_mem"])", "[]", count); }
    // On the processes "node", which `pidof` finds if they were added by AddNode.
    Captured RunProcesses(unsigned count = 1) {
        return Run(R"(["process_mem"])", R"(["node"])", count);
    }
    void AddNode(const std::string& pids) { runner.On("pidof node", pids + "\n"); }

    // The text of a file of the run, by its name up to "_1_"; empty if there is none.
    [[nodiscard]] std::string Log(const std::string& name) const;
    [[nodiscard]] std::string Documents(const std::string& name) const;

    // A row of a log, of cells between blanks, and the line behind each table.
    [[nodiscard]] static std::string LogRow(const std::string& cells);
    [[nodiscard]] static std::string Separator() { return std::string(80, '-') + " \n"; }

    RunTree tree;
    FakeHost host;
    FakeRunner& runner = host.runner;
    StopFlag stopFlag{0};
    bool result = false;

private:
    void AnswerAsMachine();
    [[nodiscard]] std::string TextOrNothing(const std::string& name) const;
};

}  // namespace zarn::test
