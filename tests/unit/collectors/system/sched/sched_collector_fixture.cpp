#include "tests/unit/collectors/system/sched/sched_collector_fixture.h"

#include <filesystem>
#include <fstream>
#include <regex>

namespace zarn::test {
namespace {

void Append(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::app) << text;
}

}  // namespace

SchedCollectorTest::SchedCollectorTest() {
    host.runner.On("date \"+%Y", "20230101000000\n").On("/proc/cpuinfo", "4\n");
    host.runner.On("pidof worker", "7\n").On("pidof other", "8\n");
}

Captured SchedCollectorTest::Run(const std::string& jobs) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(
        R"({"SchedCollector":{"job":[)" + jobs + R"(],"count":)" + count +
            R"(,"sched":{"is_call_record":false,"duration":5,"topN":)" + topN + R"(,"sorted":")" +
            sorted + R"(","coreID":)" + cores + R"(,"process":)" + processes +
            R"(},"priority_affinity":{"process":)" + processes + R"(,"thread":)" + threads +
            R"(},"lite":{"lite_duration_second":)" + liteSeconds + R"(,"lite_threshold_ms":150}}})",
        config));
    host.ticks = 0;
    SchedCollector collector(SchedCollector::kName, host.Get());
    Captured captured = Capture([&] {
        EXPECT_TRUE(collector.CheckOptions(config, "collector"));
        result = collector.Start(config, tree.Path(), &stopFlag);
    });
    if (result) {
        const std::size_t cost = captured.out.rfind("[SchedCollector] cost time: ");
        EXPECT_NE(cost, std::string::npos) << captured.out;
        EXPECT_EQ(tree.Read("env_info/time_cost.log"), captured.out.substr(cost));
        captured.out.erase(cost);
    }
    return captured;
}

void SchedCollectorTest::Print(const std::string& text, const std::string& output) {
    host.runner.Before(text, [output](const std::string& command) {
        Append(command.substr(command.rfind(">> ") + 3), output);
    });
}

void SchedCollectorTest::LeaveReports(const std::string& latency) {
    host.runner.Before("perf sched record", [latency](const std::string& command) {
        static const std::regex shape("record -o (\\S+) .*>> (\\S+) .*>> (\\S+)");
        std::smatch paths;
        ASSERT_TRUE(std::regex_search(command, paths, shape)) << command;
        Append(paths[1], "record");
        Append(paths[2], latency);
        Append(paths[3], "timehist");
    });
}

void SchedCollectorTest::StopAt(const std::string& text) {
    host.runner.Before(text, [this](const std::string&) { stopFlag = 1; });
}

std::vector<std::string> SchedCollectorTest::Commands() const {
    std::vector<std::string> commands;
    for (const std::string& command : host.runner.Commands()) {
        if (command.find("pidof ") != 0 && command.find("/proc/cpuinfo") == std::string::npos &&
            command.find("date ") != 0) {
            commands.push_back(command);
        }
    }
    return commands;
}

}  // namespace zarn::test
