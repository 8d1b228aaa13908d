#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "collectors/profiling/topdown/topdown_collector.h"
#include "tests/support/captured_streams.h"
#include "tests/support/fake_host.h"
#include "tests/support/run_tree.h"

namespace zarn::test {

// A TopdownCollector in a run tree of its own, on a fake host whose perf leaves a counter file.
class TopdownCollectorTest : public testing::Test {
protected:
    // The moments of the first, second and third job of a run.
    static constexpr const char* kFirst = FakeHost::kStart;
    static constexpr const char* kSecond = "20230101120000001";
    static constexpr const char* kThird = "20230101120000002";

    // A perf that is asked for what the command holds leaves this text; the last such call counts.
    void PerfLeaves(const std::string& text, const std::string& commandHolds = "perf stat");

    // Checks the options and starts the collector, values as JSON; what it printed.
    Captured Run(const std::string& jobs, const std::string& cores = "[]",
                 const std::string& processes = "[]", const std::string& duration = "3");

    // The command that measures `target`, such as "-C 3 ", into a file of the raw data.
    [[nodiscard]] std::string PerfCommand(const std::string& target, const std::string& file,
                                          const std::string& duration = "3") const;
    // The text of a document; empty if there is none.
    [[nodiscard]] std::string Document(const std::string& name) const;
    // What is printed on standard output if these raw files are analyzed.
    [[nodiscard]] std::string OutputFor(const std::vector<std::string>& rawFiles) const;

    RunTree tree;
    FakeHost host;
    FakeRunner& runner = host.runner;
    StopFlag stopFlag{0};
    bool checked = false;
    bool result = false;
};

}  // namespace zarn::test
