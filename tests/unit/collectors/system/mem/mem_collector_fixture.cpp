#include "tests/unit/collectors/system/mem/mem_collector_fixture.h"

#include <sstream>

#include "tests/support/section_config.h"

namespace zarn::test {

void MemCollectorTest::AddProcess(const std::string& pid, const std::string& pss,
                                  const std::string& name) {
    runner.On("grep Name -s /proc/" + pid + "/status", name + "\n")
        .On("-s /proc/" + pid + "/status", name + "\n64\n100\n200\n300\n400\n500\n600\n7\n")
        .On("cat /proc/" + pid + "/smaps ", "mappings of " + pid + "\n")
        .On("-s /proc/" + pid + "/smaps |", pss + "\n");
}

void MemCollectorTest::AnswerAsMachine() {
    runner.On("grep Pss -s /proc/[1-9]*/smaps", "1000\n")
        .On("grep PageTables", "200\n4\n")
        .On("/proc/slabinfo", "1.23457e+06\n")
        .On("grep Hugetlb", "0\n")
        .On("/proc/vmallocinfo", "27168.9\n")
        .On("grep KernelStack", "9512\n");
    for (int column = 2; column <= 7; ++column) {
        runner.On("{used+=$" + std::to_string(column) + "}", std::to_string(column * 100) + "\n");
    }
    runner.On("free -k", "total used\nMem: 1 2\n")
        .On("grep 'Spa", "Spa_total_num 1.\n")
        .On("grep -A 1000", "PID Group_ID\n11 1 512 0 512 900 800 8 RW\n-- guard --\n")
        .On("grep Name -s /proc/11/status", "node\n")
        .On("ps -ef", "PID\n11\n");
}

Captured MemCollectorTest::Run(const std::string& jobs, const std::string& process, unsigned count,
                               unsigned interval) {
    AnswerAsMachine();
    host.ticks = 0;  // the files bear the same time in each run
    const JsonDocument config =
        ParsedConfigOf("MemCollector", SectionText({{"job", jobs},
                                                    {"process", process},
                                                    {"count", std::to_string(count)},
                                                    {"interval", std::to_string(interval)}}));
    MemCollector collector(MemCollector::kName, host.Get());
    return Capture([&] {
        EXPECT_TRUE(collector.CheckOptions(config, "collector"));
        result = collector.Start(config, tree.Path(), &stopFlag);
    });
}

std::string MemCollectorTest::TextOrNothing(const std::string& name) const {
    return tree.Has(name) ? tree.Read(name) : std::string();
}

std::string MemCollectorTest::Log(const std::string& name) const {
    return TextOrNothing("raw_data/mem/" + name + "_1_" + kStart + ".log");
}

std::string MemCollectorTest::Documents(const std::string& name) const {
    return TextOrNothing("json/" + name + "_1_" + kStart + ".data");
}

std::string MemCollectorTest::LogRow(const std::string& cells) {
    std::istringstream words(cells);
    std::string row;
    for (std::string cell; words >> cell;) {
        cell.resize(cell.size() < 12 ? 12 : cell.size() + 1, ' ');
        row += cell;
    }
    return row + "\n";
}

}  // namespace zarn::test
