#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "collectors/system/ddr/ddr_collector.h"
#include "formats/ddr.h"
#include "tests/support/captured_streams.h"
#include "tests/support/fake_host.h"
#include "tests/support/run_tree.h"

namespace zarn::test {

// A DdrCollector in a run tree of its own, on a fake host whose runner carries the two commands
// of a sample out itself: `table` is the kernel's file.
class DdrCollectorTest : public testing::Test {
protected:
    static constexpr const char* kStart = FakeHost::kStart;

    DdrCollectorTest();
    void TearDown() override;

    // Checks the options for `count` samples and starts the collector; what it printed.
    Captured Run(unsigned count = 1, unsigned interval = 1);
    DdrCollector MakeCollector(CommandRunner& commands, DeviceLibrary& library);
    // The options' document.
    static JsonDocument Options(unsigned count, unsigned interval);

    [[nodiscard]] std::string RawLogPath() const;
    [[nodiscard]] std::string RawLog() const { return ReadText(RawLogPath()); }
    [[nodiscard]] static std::string DataName() { return RunTree::NameOf(ddr_files::kBandwidth); }
    [[nodiscard]] static std::string QosName() { return RunTree::NameOf(ddr_files::kQosSettings); }

    // A table of ten rows, the bandwidth of each master being `bandwidth`.
    static std::string Table(const std::string& bandwidth);
    // All masters configured, with these bounds.
    void ConfigureDevice(std::uint32_t high, std::uint32_t low);

    RunTree tree;
    FakeHost host;
    FakeRunner& runner = host.runner;
    FakeDevice& device = host.device;
    std::string table = Table("5222");
    StopFlag stopFlag{0};
    bool result = false;

private:
    // Appends to the file that the command names after ">> ".
    static void Append(const std::string& command, const std::string& text);
};

}  // namespace zarn::test
