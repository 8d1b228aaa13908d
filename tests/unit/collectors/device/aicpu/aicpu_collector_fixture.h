#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "collectors/device/aicpu/aicpu_collector.h"
#include "foundation/command_runner.h"
#include "tests/support/captured_streams.h"
#include "tests/support/fake_host.h"
#include "tests/support/temp_dir.h"

namespace zarn::test {

// The real shell, which notes its lines.
class NotingShell final : public CommandRunner {
public:
    int Run(const std::string& command) override;
    bool Capture(const std::string& command, std::string& output) override;

    // Gives the status of a line instead of running it; -2: it is run.
    std::function<int(const std::string& command)> instead = [](const std::string&) { return -2; };
    std::vector<std::string> commands;
};

// An AicpuCollector in a run tree of its own, with the event scheduler's files below a root of its
// own, and the real shell. The complex has the cores 1 to 3; "perception" (1201) has group 31 on
// core 1 and "planning" (1204) group 12 on core 3. All other attributes hold their name, but that
// `proc_status` shows the pid that is selected.
class AicpuCollectorTest : public testing::Test {
protected:
    AicpuCollectorTest();

    // Writes an attribute of the node; the core set.
    void SetAttribute(const std::string& name, const std::string& text) const;
    void RemoveAttribute(const std::string& name) const;
    void SetCoreSet(const std::string& text) const;
    [[nodiscard]] std::string Attribute(const std::string& name) const;

    // Checks the options and starts the collector; what it printed. `processes` and `cores` are
    // the elements of the section's arrays, as JSON.
    Captured Run(const std::string& jobs, const std::string& processes, const std::string& cores,
                 unsigned count = 1, unsigned interval = 1);
    // The job "event" on perception.
    Captured RunEvent(unsigned count = 1) {
        return Run(R"("event")", R"("perception")", "1", count);
    }

    // Places of the run: the node, the raw files, and one of them by its name without the time.
    [[nodiscard]] std::string Node() const;
    [[nodiscard]] std::string RawDir() const { return dir.Path() + "raw_data/aicpu/"; }
    [[nodiscard]] std::string Raw(const std::string& name) const {
        return RawDir() + name + "_" + FakeHost::kStart;
    }
    [[nodiscard]] std::string RawText(const std::string& name) const { return ReadText(Raw(name)); }
    // Names in the raw folder, sorted; the text of the record.
    [[nodiscard]] std::vector<std::string> RawNames() const;
    [[nodiscard]] std::string Record() const;
    // What all four files of the selection hold, if it is the same.
    void ExpectCleared() const;
    [[nodiscard]] std::string ClearCommand() const;

    TempDir dir;
    NotingShell shell;
    FakeHost host;
    StopFlag stopFlag{0};
    bool result = false;
};

}  // namespace zarn::test
