#include "tests/unit/collectors/device/aicpu/aicpu_collector_fixture.h"

#include <algorithm>
#include <filesystem>

namespace zarn::test {

namespace fs = std::filesystem;

namespace {

constexpr const char* kSelection[] = {"node_id", "pid", "cpuid_in_node", "proc_gid"};

}  // namespace

int NotingShell::Run(const std::string& command) {
    commands.push_back(command);
    const int status = instead(command);
    return status == -2 ? SystemCommandRunner().Run(command) : status;
}

bool NotingShell::Capture(const std::string& command, std::string& output) {
    ADD_FAILURE() << "captured: " << command;
    output.clear();
    return false;
}

AicpuCollectorTest::AicpuCollectorTest() {
    host.otherRunner = &shell;
    host.sysRoot = dir.Path() + "sys/";
    fs::create_directories(dir.Path() + "json");
    fs::create_directories(dir.Path() + "env_info");
    fs::create_directories(Node());
    for (const AicpuList* list : {&aicpuDeviceList, &aicpuCoreList, &aicpuEventList,
                                  &aicpuAbnormalList, &aicpuProcessList}) {
        for (const std::string& attribute : list->attributes) {
            SetAttribute(attribute, attribute + "\n");
        }
    }
    for (const char* file : kSelection) {
        SetAttribute(file, "untouched");
    }
    SetAttribute("proc_list", "1201,perception,3,2,1\n1204,planning,6,5,4\n");
    SetAttribute("cpu_thread_info", "1,1201,31,perception_0,idle\n3,1204,12,planning_0,idle\n");
    RemoveAttribute("proc_status");
    fs::create_symlink("pid", Node() + "proc_status");
    SetCoreSet("1-3\n");
}

void AicpuCollectorTest::SetAttribute(const std::string& name, const std::string& text) const {
    dir.Write(Node().substr(dir.Path().size()) + name, text);
}

void AicpuCollectorTest::RemoveAttribute(const std::string& name) const {
    fs::remove_all(Node() + name);
}

void AicpuCollectorTest::SetCoreSet(const std::string& text) const {
    dir.Write("sys/fs/cgroup/cpuset/AICPU/cpuset.cpus", text);
}

std::string AicpuCollectorTest::Attribute(const std::string& name) const {
    return ReadText(Node() + name);
}

std::string AicpuCollectorTest::Node() const {
    return dir.Path() + "sys/devices/virtual/event_sched/event_sched/node/";
}

Captured AicpuCollectorTest::Run(const std::string& jobs, const std::string& processes,
                                 const std::string& cores, unsigned count, unsigned interval) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(R"({"AicpuCollector":{"aicpu_job":[)" + jobs + R"(],"aicpu_process":[)" +
                              processes + R"(],"aicpu_cid":[)" + cores + R"(],"count":)" +
                              std::to_string(count) + R"(,"interval":)" + std::to_string(interval) +
                              "}}",
                          config));
    AicpuCollector collector(AicpuCollector::kName, host.Get());
    return Capture([&] {
        EXPECT_TRUE(collector.CheckOptions(config, "collector"));
        result = collector.Start(config, dir.Path(), &stopFlag);
    });
}

std::vector<std::string> AicpuCollectorTest::RawNames() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(RawDir())) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string AicpuCollectorTest::Record() const {
    return dir.Read("json/soc_aicpu_info_1_" + std::string(FakeHost::kStart) + ".data");
}

void AicpuCollectorTest::ExpectCleared() const {
    for (const char* file : kSelection) {
        EXPECT_EQ(Attribute(file), "0\n") << file;
    }
}

std::string AicpuCollectorTest::ClearCommand() const {
    const std::string between = " &&" + std::string(37, ' ');
    return "echo 0 > " + Node() + "node_id" + between + "echo 0 > " + Node() + "cpuid_in_node" +
           between + "echo 0 > " + Node() + "pid" + between + "echo 0 > " + Node() + "proc_gid";
}

}  // namespace zarn::test
