#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "collectors/system/sched/sched_collector.h"
#include "tests/support/captured_streams.h"
#include "tests/support/fake_host.h"
#include "tests/support/run_tree.h"

namespace zarn::test {

// Collections into a tree of their own, with a fake runner that writes what tools would print.
class SchedCollectorTest : public testing::Test {
protected:
    static constexpr const char* kTime = "20230101120000000";  // of the first job
    static constexpr const char* kBegun = "[SchedCollector] Collecting SchedCollector raw data!\n";
    static constexpr const char* kCollected =
        "[SchedCollector] Success:: SchedCollector has completed raw data collection!\n";
    static constexpr const char* kSaved =
        "[SchedCollector] Success:: SchedCollector has completed JSON data storage!\n";
    static constexpr const char* kFailed = "[SchedCollector] Failed to process sched info!\n";

    SchedCollectorTest();

    // Collects by these jobs, as `"global","core"`. Standard output comes without the cost line,
    // which must be the last if the collector succeeds.
    Captured Run(const std::string& jobs);

    // The shell line that holds `text` appends `output` to the file of its last ">>".
    void Print(const std::string& text, const std::string& output);
    // perf leaves all its three files, the latency report being `latency`.
    void LeaveReports(const std::string& latency);
    void StopAt(const std::string& text);

    // The shell lines but for the question for the time of booting.
    [[nodiscard]] std::vector<std::string> Commands() const;

    RunTree tree;
    FakeHost host;
    StopFlag stopFlag{0};
    std::string count = "1";
    std::string topN = "10";
    std::string sorted = "max";
    std::string cores = "[0,2]";
    std::string processes = R"(["worker","other"])";
    std::string threads = R"(["loop"])";
    std::string liteSeconds = "20";
    bool result = false;
};

}  // namespace zarn::test
