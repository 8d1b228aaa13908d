#include "tests/unit/collectors/system/ddr/ddr_collector_fixture.h"

#include <fstream>

#include "tests/support/section_config.h"

namespace zarn::test {
namespace {

constexpr const char* kEcho = "echo ";

}  // namespace

DdrCollectorTest::DdrCollectorTest() {
    ddrTimeStampQueue = {};
    ddrReadCommand.clear();
    ConfigureDevice(51, 0);
    runner.Before(kEcho, [](const std::string& command) {
        const std::string text = command.substr(5);
        Append(command, text.substr(0, text.find(' ')) + "\n");
    });
    runner.Before("cat ", [this](const std::string& command) { Append(command, table); });
}

void DdrCollectorTest::TearDown() {
    ddrTimeStampQueue = {};
    ddrReadCommand.clear();
}

DdrCollector DdrCollectorTest::MakeCollector(CommandRunner& commands, DeviceLibrary& library) {
    host.otherRunner = &commands;
    host.otherDevice = &library;
    return DdrCollector(DdrCollector::kName, host.Get());
}

JsonDocument DdrCollectorTest::Options(unsigned count, unsigned interval) {
    return ParsedConfigOf("DdrCollector", SectionText({{"job", R"(["global"])"},
                                                       {"count", std::to_string(count)},
                                                       {"interval", std::to_string(interval)}}));
}

Captured DdrCollectorTest::Run(unsigned count, unsigned interval) {
    DdrCollector collector = MakeCollector(runner, device);
    const JsonDocument config = Options(count, interval);
    EXPECT_TRUE(collector.CheckOptions(config, "collector"));
    return Capture([&] { result = collector.Start(config, tree.Path(), &stopFlag); });
}

std::string DdrCollectorTest::RawLogPath() const {
    return ddr_files::kBandwidthLog.Path(tree.Path(), kStart);
}

std::string DdrCollectorTest::Table(const std::string& bandwidth) {
    std::string text = "| mpamid | bandwidth(MB/s) | low | high | hard |\n";
    for (const std::uint32_t id : mbwuMpamIds) {
        text += "| " + std::to_string(id) + " | " + bandwidth + " | 0 | 51 | 1 |\n";
    }
    return text;
}

void DdrCollectorTest::ConfigureDevice(std::uint32_t high, std::uint32_t low) {
    for (const QosConfig& row : defaultQosConfigs) {
        device.bounds[row.mpamid] = {high, low, 1};
        device.masters[row.master] = {row.mpamid, 5};
    }
    device.masters.erase(kNoMaster);
}

void DdrCollectorTest::Append(const std::string& command, const std::string& text) {
    std::ofstream(command.substr(command.find(">> ") + 3), std::ios::app | std::ios::binary)
        << text;
}

}  // namespace zarn::test
