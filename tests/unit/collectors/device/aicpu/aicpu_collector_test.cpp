#include "collectors/device/aicpu/aicpu_collector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "tests/support/aicpu_lines.h"
#include "tests/unit/collectors/device/aicpu/aicpu_collector_fixture.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

constexpr const char* kCost = "\\[AicpuCollector\\] cost time: [0-9.]+s\n";

// The sections of a list whose attributes hold their names.
std::string Sections(const AicpuList& list, std::size_t passes) {
    std::string text;
    for (const std::string& attribute : list.attributes) {
        text += AicpuSection(attribute, std::vector<std::string>(passes, attribute + "\n"));
    }
    return text;
}

std::string ProcessSections(const std::string& pid, std::size_t passes) {
    std::string text;
    for (const std::string& attribute : aicpuProcessList.attributes) {
        const std::string shown = attribute == "proc_status" ? pid : attribute;
        text += AicpuSection(attribute, std::vector<std::string>(passes, shown + "\n"));
    }
    return text;
}

std::string Document(const std::string& cores, const std::string& jobs, const std::string& sampling,
                     const std::string& processes) {
    return R"({"eventId":"222200004","happenTime":"20230101120000000","objectId":"soc_aicpu_info",)"
           R"("content":{"soc_id":0,)" +
           cores + "," + jobs + "," + sampling + R"(,"process_info":[)" + processes + "]}}\n";
}

constexpr const char* kCores = R"("deMin":1,"deMax":3,"aicpu_num":3)";
constexpr const char* kEventJob = R"("core":false,"event":true,"abnormal":false)";

TEST_F(AicpuCollectorTest, RunsTheseLinesInThisOrder) {
    EXPECT_EQ(RunEvent().err, "");
    EXPECT_TRUE(result);
    const std::string node = Node();
    const std::string raw = RawDir() + "aicpu_";
    const std::string time = std::string("_") + FakeHost::kStart;
    const auto select = [&node](const std::string& group) {
        return "echo 0 > " + node + "node_id && echo 1201 > " + node + "pid && echo 1 > " + node +
               "cpuid_in_node && echo " + group + " > " + node + "proc_gid";
    };
    const auto each = [](const std::vector<std::string>& attributes, auto make) {
        std::string line;
        for (const std::string& attribute : attributes) {
            line += (line.empty() ? "" : " && ") + make(attribute);
        }
        return line;
    };
    const auto copy = [&](const std::string& attribute) {
        return "cat " + node + attribute + " >> " + raw + attribute + time;
    };
    const auto mark = [&](const std::string& attribute) {
        return "echo '\n@zarn-new:' >> " + raw + attribute + time;
    };
    const auto remove = [&](const std::string& attribute) {
        return "rm " + raw + attribute + time;
    };
    std::string target;
    const auto merge = [&](const std::string& attribute) {
        return "echo '\n" + attribute + " START' >> " + target + " && cat " + raw + attribute +
               time + " >> " + target + " && echo '" + attribute + " END\n' >> " + target;
    };
    const auto mergeInto = [&](const std::string& name, const std::vector<std::string>& list) {
        target = raw + name + time;
        return each(list, merge);
    };
    const std::vector<std::string> base = {"node_list", "cpu_list", "sched_cpu_mask"};
    const std::vector<std::string> device = {"node_list", "cpu_list", "sched_cpu_mask", "cpuset"};
    const std::vector<std::string> event = {"event_trace", "node_event_summary"};
    const std::vector<std::string> process = {"proc_pri",        "proc_status",
                                              "proc_event_num",  "proc_group_event_list",
                                              "proc_group_list", "proc_group_thread"};
    EXPECT_THAT(shell.commands,
                ElementsAre("cat " + dir.Path() + "sys/fs/cgroup/cpuset/AICPU/cpuset.cpus > " +
                                raw + "cpuset" + time,
                            "cat " + node + "proc_list > " + raw + "proc_list_tmp",
                            "rm " + raw + "proc_list_tmp", select("0"),
                            "cat " + node + "cpu_thread_info > " + raw + "cpu_thread_info_tmp",
                            "rm " + raw + "cpu_thread_info_tmp", ClearCommand(), each(base, copy),
                            mergeInto("device", device), each(device, remove), select("31"),
                            each(event, mark) + " && " + each(process, mark), each(event, copy),
                            each(process, copy), ClearCommand(),
                            mergeInto("event_perception", event), each(event, remove),
                            mergeInto("process_perception", process), each(process, remove)));
    ExpectCleared();
}

TEST(AicpuCommandsTest, TheSelectionIsClearedByThisLine) {
    EXPECT_EQ(ClearLine({"/sys/", "/run/", "1"}),
              "echo 0 > /sys/devices/virtual/event_sched/event_sched/node/node_id &&"
              "                                     "
              "echo 0 > /sys/devices/virtual/event_sched/event_sched/node/cpuid_in_node &&"
              "                                     "
              "echo 0 > /sys/devices/virtual/event_sched/event_sched/node/pid &&"
              "                                     "
              "echo 0 > /sys/devices/virtual/event_sched/event_sched/node/proc_gid");
}

TEST_F(AicpuCollectorTest, WithTheJobEventThereAreTheEventsAndTheProcess) {
    const Captured captured = RunEvent(2);
    EXPECT_EQ(captured.err, "");
    EXPECT_THAT(captured.out, MatchesRegex(kCost));
    EXPECT_EQ(dir.Read("env_info/time_cost.log"), captured.out);
    const std::string time = std::string("_") + FakeHost::kStart;
    EXPECT_THAT(RawNames(), ElementsAre("aicpu_device" + time, "aicpu_event_perception" + time,
                                        "aicpu_process_perception" + time));
    EXPECT_EQ(RawText("aicpu_event_perception"), Sections(aicpuEventList, 2));
    EXPECT_EQ(RawText("aicpu_process_perception"), ProcessSections("1201", 2));
    EXPECT_EQ(RawText("aicpu_device"),
              "\nnode_list START\nnode_list\nnode_list END\n\n"
              "\ncpu_list START\ncpu_list\ncpu_list END\n\n"
              "\nsched_cpu_mask START\nsched_cpu_mask\nsched_cpu_mask END\n\n"
              "\ncpuset START\n1-3\ncpuset END\n\n");
}

TEST_F(AicpuCollectorTest, EachJobAddsItsFile) {
    EXPECT_EQ(Run(R"("abnormal","core","event")", R"("planning")", "3", 1, 60).err, "");
    EXPECT_EQ(RawText("aicpu_abnormal_planning"), Sections(aicpuAbnormalList, 1));
    EXPECT_EQ(RawText("aicpu_event_planning"), Sections(aicpuEventList, 1));
    EXPECT_THAT(RawText("aicpu_core_planning"),
                HasSubstr("\nproc_list START\n\n@zarn-new:\n1201,perception,3,2,1\n1204,"));
    EXPECT_EQ(RawNames().size(), 5U);
    EXPECT_THAT(host.sleeps, ElementsAre(60U));
    EXPECT_THAT(host.sleepFlags, ElementsAre(&stopFlag));
}

TEST_F(AicpuCollectorTest, TheRecordTellsWhatWasCollected) {
    EXPECT_EQ(Run(R"("event")", R"("perception","planning")", "1,3", 2, 7).err, "");
    EXPECT_EQ(Record(),
              Document(kCores, kEventJob, R"("interval":7,"count":2)",
                       R"({"valid":true,"name":"perception","pid":1201,"bind_cpu_id":1,)"
                       R"("group_id":31,"collect_time":["20230101120000001",)"
                       R"("20230101120000002"]},{"valid":true,"name":"planning","pid":1204,)"
                       R"("bind_cpu_id":3,"group_id":12,"collect_time":["20230101120000003",)"
                       R"("20230101120000004"]})"));
}

TEST_F(AicpuCollectorTest, EachProcessHasItsOwnSelectionAndFreshCopies) {
    EXPECT_EQ(Run("", R"("perception","planning")", "1,3", 2).err, "");
    EXPECT_EQ(RawText("aicpu_process_perception"), ProcessSections("1201", 2));
    EXPECT_EQ(RawText("aicpu_process_planning"), ProcessSections("1204", 2));
    ExpectCleared();
}

TEST_F(AicpuCollectorTest, ANameGivenTwiceAppendsItsSections) {
    EXPECT_EQ(Run("", R"("perception","perception")", "1,1").err, "");
    EXPECT_EQ(RawText("aicpu_process_perception"),
              ProcessSections("1201", 1) + ProcessSections("1201", 1));
}

TEST_F(AicpuCollectorTest, WithoutProcessesTheDeviceIsCopiedAlone) {
    EXPECT_EQ(Run(R"("core")", "", "").err, "");
    EXPECT_TRUE(result);
    EXPECT_EQ(RawNames().size(), 1U);
    EXPECT_EQ(Attribute("pid"), "untouched");
    EXPECT_THAT(Record(), HasSubstr(R"("process_info":[])"));
}

TEST_F(AicpuCollectorTest, TheCoreSetIsARangeOrACore) {
    SetCoreSet("3\n");
    EXPECT_EQ(Run("", R"("planning")", "3").err, "");
    EXPECT_THAT(Record(), HasSubstr(R"("deMin":3,"deMax":3,"aicpu_num":1,)"));
    SetCoreSet("0-3\n");
    host.ticks = 1000;  // files of its own
    EXPECT_EQ(Run("", R"("planning")", "3").err, "");
    EXPECT_THAT(dir.Read("json/soc_aicpu_info_1_20230101120001000.data"),
                HasSubstr(R"("deMin":0,"deMax":3,"aicpu_num":4,)"));
}

TEST_F(AicpuCollectorTest, AProcessThatDoesNotRunIsCopiedWithoutASelection) {
    EXPECT_EQ(Run("", R"("noone")", "2").err,
              "[AicpuCollector] aicpu_process: noone is invalid, please confirm aicpu_process is "
              "a deterministic process.\n");
    EXPECT_TRUE(result);
    EXPECT_EQ(RawText("aicpu_process_noone"), ProcessSections("0", 1));
    EXPECT_THAT(Record(), HasSubstr(R"([{"valid":false,"name":"noone","pid":0,"bind_cpu_id":2,)"
                                    R"("group_id":0,"collect_time":["20230101120000001"]}])"));
}

TEST_F(AicpuCollectorTest, AProcessThatIsNotBoundKeepsItsPidInTheRecordAlone) {
    EXPECT_EQ(Run("", R"("planning")", "2").err,
              "[AicpuCollector] please confirm aicpu_process is bind to aicpu_cid.\n");
    EXPECT_TRUE(result);
    EXPECT_EQ(RawText("aicpu_process_planning"), ProcessSections("0", 1));
    EXPECT_THAT(shell.commands,
                testing::Contains("echo 0 > " + Node() + "node_id && echo 0 > " + Node() +
                                  "pid && echo 2 > " + Node() + "cpuid_in_node && echo 0 > " +
                                  Node() + "proc_gid"));
    EXPECT_THAT(Record(), HasSubstr(R"("valid":false,"name":"planning","pid":1204,)"));
    ExpectCleared();
}

TEST_F(AicpuCollectorTest, BlanksAroundTheLinesOfTheListsDoNotCount) {
    SetAttribute("proc_list", "  1201,perception,3,2,1  \n");
    SetAttribute("cpu_thread_info", " 1,1201,31,perception_0,idle \n");
    EXPECT_EQ(Run("", R"("perception")", "1").err, "");
    EXPECT_THAT(Record(), HasSubstr(R"("valid":true,"name":"perception","pid":1201,)"
                                    R"("bind_cpu_id":1,"group_id":31,)"));
}

TEST_F(AicpuCollectorTest, ANameGoesIntoTheExpressionAsItStands) {
    EXPECT_EQ(Run("", R"("perc.*n")", "1").err, "");
    EXPECT_THAT(Record(), HasSubstr(R"("valid":true,"name":"perc.*n","pid":1201,)"));
    EXPECT_EQ(RawText("aicpu_process_perc.*n"), ProcessSections("1201", 1));
}

TEST_F(AicpuCollectorTest, LimitsOfIntervalAndCount) {
    const std::string head = "[AicpuCollector] Check aicpu collector config failed!\n";
    const std::string interval =
        "[AicpuCollector] Aicpu collect interval cannot be 0s or larger than 60s!\n" + head;
    const std::string count = "[AicpuCollector] Aicpu collect count should in (0, 2000]!\n" + head;
    stopFlag = 1;  // no pass is needed
    EXPECT_EQ(Run("", R"("planning")", "3", 2000, 60).err, "");
    EXPECT_TRUE(result);
    EXPECT_EQ(Run("", R"("planning")", "3", 1, 61).err, interval);
    EXPECT_FALSE(result);
    EXPECT_EQ(Run("", R"("planning")", "3", 1, 0).err, interval);
    EXPECT_EQ(Run("", R"("planning")", "3", 2001, 1).err, count);
    EXPECT_FALSE(result);
    EXPECT_EQ(Run("", R"("planning")", "3", 0, 1).err, count);
}

TEST_F(AicpuCollectorTest, WithoutCoresNothingIsCollectedAndNothingTouched) {
    for (const char* text : {"", "\n", " \n"}) {
        SetCoreSet(text);
        const Captured captured = Run(R"("core")", R"("planning")", "3", 0, 0);
        EXPECT_TRUE(result);
        EXPECT_EQ(captured.err,
                  "[AicpuCollector] Number of AICPU is configured as 0.\n"
                  "[AicpuCollector] No information about AICPU will be collected.\n");
        EXPECT_THAT(captured.out, MatchesRegex(kCost));
        EXPECT_EQ(shell.commands.size(), 1U);
        EXPECT_EQ(Attribute("node_id"), "untouched");
        EXPECT_FALSE(std::filesystem::exists(dir.Path() + "json/soc_aicpu_info_1_" +
                                             FakeHost::kStart + ".data"));
        shell.commands.clear();
        host.ticks = 0;
    }
}

TEST_F(AicpuCollectorTest, AMissingCoreSetLeavesAnEmptyCopy) {
    std::filesystem::remove_all(dir.Path() + "sys/fs");
    EXPECT_THAT(Run("", R"("planning")", "3").err,
                HasSubstr("[AicpuCollector] Number of AICPU is configured as 0.\n"
                          "[AicpuCollector] No information about AICPU will be collected.\n"));
    EXPECT_TRUE(result);
    EXPECT_EQ(RawText("aicpu_cpuset"), "");
}

TEST_F(AicpuCollectorTest, AnInterruptEndsThePassesAndKeepsWhatWasCopied) {
    host.duringSleep = [this] { stopFlag = host.sleeps.size() == 2 ? 1 : 0; };
    EXPECT_EQ(Run(R"("event")", R"("perception","planning")", "1,3", 5).err, "");
    EXPECT_TRUE(result);
    EXPECT_EQ(RawText("aicpu_event_perception"), Sections(aicpuEventList, 2));
    EXPECT_EQ(RawText("aicpu_process_perception"), ProcessSections("1201", 2));
    EXPECT_THAT(RawNames(), Not(testing::Contains(HasSubstr("planning"))));
    EXPECT_EQ(RawNames().size(), 3U);
    EXPECT_THAT(Record(), HasSubstr(R"("name":"planning","pid":1204,"bind_cpu_id":3,"group_id":12,)"
                                    R"("collect_time":[]})"));
    ExpectCleared();
}

// Those of one parallel list.
TEST_F(AicpuCollectorTest, TwoCollectorsTakeTurns) {
    JsonDocument config;
    ASSERT_TRUE(ParseJson(R"({"AicpuCollector":{"aicpu_job":[],"aicpu_process":["perception"],
        "aicpu_cid":[1],"count":3,"interval":1}})",
                          config));
    AicpuCollector first(AicpuCollector::kName, host.Get());
    AicpuCollector second(AicpuCollector::kName, host.Get());
    const Captured captured = Capture([&] {
        std::vector<std::thread> threads;
        for (AicpuCollector* collector : {&first, &second}) {
            EXPECT_TRUE(collector->CheckOptions(config, "parallelCollector"));
            threads.emplace_back([&config, collector, this] {
                EXPECT_TRUE(collector->Start(config, dir.Path(), &stopFlag));
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    });
    EXPECT_EQ(captured.err, "");
    // The lines of the second begin when the first is done with all of its own.
    const std::size_t half = shell.commands.size() / 2;
    std::vector<std::string> times;
    for (const auto& entry : std::filesystem::directory_iterator(dir.Path() + "json")) {
        times.push_back(entry.path().stem().string().substr(17));
    }
    std::sort(times.begin(), times.end());
    ASSERT_EQ(times.size(), 2U);
    for (std::size_t i = 0; i < shell.commands.size(); ++i) {
        EXPECT_THAT(shell.commands[i], Not(HasSubstr(times[i < half ? 1 : 0])));
    }
}

}  // namespace
}  // namespace zarn::test
