#include <gmock/gmock.h>

#include "tests/unit/collectors/system/sched/sched_collector_fixture.h"

// The job "priority_affinity".
namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// Times of the three steps.
const std::string kPriorityTime = "20230101120000000";
const std::string kAffinityTime = "20230101120000001";
const std::string kNamedTime = "20230101120000002";

const std::string kThreadHead = "  PID  SPID TTY          TIME CMD\n";
const std::string kLongHead = "F S UID PID SPID PPID C PRI NI ADDR SZ WCHAN TTY TIME CMD\n";

std::string Policy(const std::string& id, const std::string& policy) {
    return "pid " + id + "'s current scheduling policy: " + policy + "\npid " + id +
           "'s current scheduling priority: 0\n";
}

std::string Cores(const std::string& id, const std::string& cores) {
    return "pid " + id + "'s current affinity list: " + cores + "\n";
}

std::string DocumentOf(const std::string& time, const std::string& objectId,
                       const std::string& rows) {
    return R"({"eventId":"222200002","happenTime":")" + time + R"(","objectId":")" + objectId +
           R"(","content":[)" + rows + "]}\n";
}

std::string Skipped(const std::string& id, const std::string& command) {
    return "[SchedCollector] Get thread: " + id + " thread info failed with command: " + command +
           ", skipping this thread!\n";
}

class SetupJobTest : public SchedCollectorTest {
protected:
    SetupJobTest() { processes = R"(["worker"])"; }

    // What the tools print of the process 7 with the threads 7 and 9, and of the thread 21.
    void AnswerAll() {
        Print("ps -l 7 ", "F S UID PID PPID C PRI NI CMD\n4 S 0 7 1 0 80 0 worker\n");
        Print("ps -T -p 7 ", kThreadHead + " 7 7 ? 00:00:00 worker\n 7 9 ? 00:00:00 my loop\n");
        Print("ps -l -T 7 ", kLongHead + "4 S 0 7 7 1 0 80 0\n4 S 0 7 9 1 0 -40 -\n");
        Print("chrt -p 7 ", Policy("7", "SCHED_OTHER"));
        Print("chrt -p 9 ", Policy("9", "SCHED_FIFO"));
        Print("chrt -p 21 ", Policy("21", "SCHED_RR"));
        Print("taskset -pc 7 ", Cores("7", "0-3"));
        Print("taskset -pc 9 ", Cores("9", "0,2"));
        Print("taskset -pc 21 ", Cores("21", "1"));
        Print("grep 'loop'", " 21 root rt 0 1 2 3 S 0.0 0.1 0:00.22 loop\n");
    }

    [[nodiscard]] std::string Raw(const std::string& name, const std::string& time) const {
        return tree.PathOf("raw_data/sched/sched_" + name + "_" + time + ".log");
    }
    [[nodiscard]] std::string Json(const std::string& name, const std::string& time) const {
        return tree.Read("json/soc_sched_" + name + "_1_" + time + ".data");
    }
    [[nodiscard]] std::string Table() const { return tree.Read("csv/soc_sched_thread_info.csv"); }
};

const std::string kHeadRow = "ProcessName:PID,ThreadName:SPID,Priority,SchedPolicy,CoreList,\n";

TEST_F(SetupJobTest, TheToolsAreAskedInOrder) {
    AnswerAll();
    const Captured captured = Run(R"("priority_affinity")");
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    EXPECT_EQ(captured.out, std::string(kBegun) + kCollected + kSaved);
    const std::string priorities = "thread_priority_process_worker_all_thread";
    const std::string affinities = "thread_affinity_process_worker_all_thread";
    const std::string policyLog = Raw(priorities + "_schedPolicy", kPriorityTime);
    const std::string coresLog = Raw(affinities + "_affinity", kAffinityTime);
    EXPECT_THAT(Commands(),
                ElementsAre("ps -l 7 >> " + Raw("process_priority", kPriorityTime),
                            "ps -T -p 7 >> " + Raw(priorities, kPriorityTime),
                            "ps -l -T 7 >> " + Raw(priorities + "_priority", kPriorityTime),
                            "chrt -p 7 >> " + policyLog, "chrt -p 9 >> " + policyLog,
                            "taskset -pc 7 >> " + Raw("process_affinity", kAffinityTime),
                            "ps -T -p 7 >> " + Raw(affinities, kAffinityTime),
                            "taskset -pc 7 >> " + coresLog, "taskset -pc 9 >> " + coresLog,
                            "top -H -n 1 -b | grep 'loop' >> " +
                                Raw("thread_specified_priority", kNamedTime),
                            "taskset -pc 21 >> " + Raw("thread_specified_affinity", kNamedTime),
                            "chrt -p 21 >> " + Raw("thread_specified_schedPolicy", kNamedTime)));
}

TEST_F(SetupJobTest, TheAnswersBecomeDocumentsAndATable) {
    AnswerAll();
    (void)Run(R"("priority_affinity")");
    EXPECT_EQ(
        Json("priority_info", kPriorityTime),
        DocumentOf(kPriorityTime, "soc_sched_priority_info", R"({"worker:7":{"priority":"80"}})"));
    EXPECT_EQ(
        Json("affinity_info", kAffinityTime),
        DocumentOf(kAffinityTime, "soc_sched_affinity_info", R"({"worker:7":{"coreList":"0-3"}})"));
    EXPECT_EQ(Json("thread_priority_process_worker_all_thread_priority_info", kPriorityTime),
              DocumentOf(kPriorityTime, "soc_sched_thread_priority_info",
                         R"({"worker:7":[{"threadName":"worker","spid":"7","priority":"80",)"
                         R"("schedPolicy":"SCHED_OTHER"},{"threadName":"my loop","spid":"9",)"
                         R"("priority":"-40","schedPolicy":"SCHED_FIFO"}]})"));
    EXPECT_EQ(Json("thread_affinity_process_worker_all_thread_affinity__info", kAffinityTime),
              DocumentOf(kAffinityTime, "soc_sched_thread_affinity_info",
                         R"({"worker:7":[{"threadName":"worker","spid":"7","coreList":"0-3"},)"
                         R"({"threadName":"my loop","spid":"9","coreList":"0,2"}]})"));
    EXPECT_EQ(Json("thread_specified_thread_info", kNamedTime),
              DocumentOf(kNamedTime, "soc_sched_specified_thread_info",
                         R"({"specifiedThread:loop":[{"threadName":"loop","spid":"21",)"
                         R"("priority":"rt","schedPolicy":"SCHED_RR","coreList":"1"}]})"));
    EXPECT_EQ(Table(), kHeadRow +
                           "worker:7,worker:7,80,SCHED_OTHER,0-3,\n"
                           "worker:7,my loop:9,-40,SCHED_FIFO,\"0,2\",\n" +
                           kHeadRow + "specifiedThread:loop,loop:21,rt,SCHED_RR,1,\n");
}

TEST_F(SetupJobTest, ItRunsOnceWhateverTheCount) {
    AnswerAll();
    for (const char* passes : {"0", "3"}) {
        count = passes;
        const std::size_t before = Commands().size();
        tree.Remove("env_info/time_cost.log");
        (void)Run(R"("priority_affinity")");
        EXPECT_EQ(Commands().size() - before, 12U) << passes;
        EXPECT_THAT(tree.NamesIn("json"), testing::SizeIs(5)) << passes;
    }
}

TEST_F(SetupJobTest, ANameThatNoThreadBearsLeavesTheOthers) {
    AnswerAll();
    threads = R"(["nobody","loop"])";
    host.runner.On("grep 'nobody'", "", 1 << 8);
    const Captured captured = Run(R"("priority_affinity")");
    EXPECT_EQ(captured.err,
              "[SchedCollector] Thread name: nobody of SchedCollector [thread] at "
              "priority_affinity does not exist in device, skipping this thread!\n");
    EXPECT_THAT(Json("thread_specified_thread_info", kNamedTime),
                HasSubstr(R"("spid":"21","priority":"rt","schedPolicy":"SCHED_RR")"));
}

TEST_F(SetupJobTest, WithoutNamesThereIsNoThirdDocument) {
    AnswerAll();
    threads = "[]";
    EXPECT_EQ(Run(R"("priority_affinity")").err, "");
    EXPECT_THAT(
        tree.NamesIn("json"),
        Not(testing::Contains("soc_sched_thread_specified_thread_info_1_" + kNamedTime + ".data")));
    EXPECT_THAT(Table(), Not(HasSubstr("specifiedThread")));
}

TEST_F(SetupJobTest, AThreadThatCannotBeAskedHasNoValue) {
    AnswerAll();
    host.runner.On("chrt -p 9 ", "", 1 << 8).On("taskset -pc 21", "", 1 << 8);
    const Captured captured = Run(R"("priority_affinity")");
    EXPECT_TRUE(result);
    EXPECT_THAT(captured.err,
                HasSubstr(Skipped("9", "chrt -p 9 >> " + Raw("thread_priority_process_worker_all_"
                                                             "thread_schedPolicy",
                                                             kPriorityTime))));
    EXPECT_THAT(captured.err,
                HasSubstr(Skipped(
                    "21", "taskset -pc 21 >> " + Raw("thread_specified_affinity", kNamedTime))));
    // The fake prints although it fails; of the named thread nothing more was asked.
    EXPECT_THAT(captured.err,
                HasSubstr("[SchedCollector] The size of specified thread [priority, schedPolicy, "
                          "affinity] is not equal in rawData file, check your config about "
                          "processPriority.\n"));
    EXPECT_THAT(Table(), HasSubstr("specifiedThread:loop,loop:21,rt,NA,1,\n"));
}

TEST_F(SetupJobTest, ThreadsAreJoinedByTheirIds) {
    Print("ps -l 7 ", "garbage\n");
    Print("ps -T -p 7 ", kThreadHead + " 7 7 ? 0 worker\n 7 9 ? 0 loop\n 7 9\n");
    Print("ps -l -T 7 ", kLongHead + "4 S 0 7 9 1 0 -40 -\n");
    Print("chrt -p 9 ", Policy("9", "SCHED_FIFO"));
    Print("taskset -pc 7 ", "pid 7's current affinity list:\n");
    Print("taskset -pc 9 ", Cores("9", "1"));
    threads = "[]";
    const Captured captured = Run(R"("priority_affinity")");
    const std::string tag = "[SchedAnalyzer] Error occurs in ";
    const std::string row = "1 row has too few fields\n";
    EXPECT_EQ(captured.err,
              tag + "GetProcessPriorityRawData: " + row +  // the list, as it is asked
                  tag + "GetProcessAffinityRawData: " + row + tag +
                  "GetProcessPriorityRawData: " + row +  // "garbage"
                  tag + "FillProcessPriorityInfo: " + row +
                  "[SchedCollector] The size of [name, priority, schedPolicy] is not equal in "
                  "worker process rawData file, check your config about processPriority.\n" +
                  tag + "GetProcessAffinityRawData: " + row + tag +
                  "FillProcessAffinityInfo: " + row + tag + "FillProcessAffinityInfo: " + row +
                  "[SchedCollector] The size of [name, affinity] is not equal in worker process "
                  "rawData file, check your config about processAffinity.\n");
    EXPECT_EQ(
        Json("priority_info", kPriorityTime),
        DocumentOf(kPriorityTime, "soc_sched_priority_info", R"({"worker:7":{"priority":"NA"}})"));
    EXPECT_EQ(Table(), kHeadRow +
                           "worker:7,worker:7,NA,NA,NA,\n"
                           "worker:7,loop:9,-40,SCHED_FIFO,1,\n");
}

// Thread 9 ends between the two lists, thread 11 begins, and chrt says nothing of thread 7.
TEST_F(SetupJobTest, ThreadsThatComeAndGoBetweenTheStepsAreToldAsFarAsTheyAreKnown) {
    threads = "[]";
    Print("ps -l 7 ", "F S UID PID PPID C PRI NI CMD\n4 S 0 7 1 0 80 0 worker\n");
    Print(" >> " + Raw("thread_priority_process_worker_all_thread", kPriorityTime),
          kThreadHead + " 7 7 ? 0 worker\n 7 9 ? 0 gone\n");
    Print("ps -l -T 7 ", kLongHead + "4 S 0 7 7 1 0 80 0\n4 S 0 7 9 1 0 -40 -\n");
    Print("chrt -p 9 ", Policy("9", "SCHED_FIFO"));
    Print(" >> " + Raw("thread_affinity_process_worker_all_thread", kAffinityTime),
          kThreadHead + " 7 7 ? 0 worker\n 7 11 ? 0 new\n");
    Print("taskset -pc 7 ", Cores("7", "0-3"));
    Print("taskset -pc 11 ", Cores("11", "2"));
    const Captured captured = Run(R"("priority_affinity")");
    EXPECT_EQ(captured.err,
              "[SchedCollector] The size of [name, priority, schedPolicy] is not equal in worker "
              "process rawData file, check your config about processPriority.\n");
    EXPECT_EQ(Table(), kHeadRow +
                           "worker:7,worker:7,80,NA,0-3,\n"
                           "worker:7,gone:9,-40,SCHED_FIFO,NA,\n"
                           "worker:7,new:11,NA,NA,2,\n");
}

TEST_F(SetupJobTest, AProcessThatCannotBeAskedLeavesTheOthers) {
    AnswerAll();
    processes = R"(["other","worker"])";
    host.runner.On("ps -l 8 ", "", 1 << 8).On("taskset -pc 8 ", "", 1 << 8);
    const Captured captured = Run(R"("priority_affinity")");
    EXPECT_TRUE(result);
    const auto missing = [this](const std::string& name, const std::string& time) {
        return "[SchedCollector] Cannot find rawData file: " + Raw(name, time) +
               ", check your config about [thread] at priority_affinity.\n";
    };
    EXPECT_EQ(captured.err,
              "[SchedCollector] Fail to generate process priority raw data!\n"
              "[SchedCollector] Fail to generate process affinity raw data!\n" +
                  missing("thread_priority_process_other_all_thread", kPriorityTime) +
                  missing("thread_affinity_process_other_all_thread", kAffinityTime));
    EXPECT_EQ(Json("priority_info", kPriorityTime),
              DocumentOf(kPriorityTime, "soc_sched_priority_info",
                         R"({"other:8":{"priority":"NA"}},{"worker:7":{"priority":"80"}})"));
    EXPECT_EQ(Table().substr(0, 2 * kHeadRow.size()), kHeadRow + kHeadRow);
}

TEST_F(SetupJobTest, ListsThatCannotBeTakenAreTold) {
    host.runner.On("ps -T", "", 1 << 8);
    Captured captured = Run(R"("priority_affinity")");
    EXPECT_THAT(captured.err,
                HasSubstr("[SchedCollector] Fail to generate process: worker all thread raw "
                          "data!\n[SchedCollector] Fail to generate process: worker all thread raw "
                          "data!\n"));
}

TEST_F(SetupJobTest, PrioritiesThatCannotBeTakenAreTold) {
    host.runner.On("ps -l -T", "", 1 << 8);
    EXPECT_THAT(Run(R"("priority_affinity")").err,
                HasSubstr("[SchedCollector] Fail to generate process: worker all thread priority "
                          "raw data!\n"));
}

TEST_F(SetupJobTest, WithoutAnyAnswerEveryLogIsMissed) {
    const Captured captured = Run(R"("priority_affinity")");
    EXPECT_TRUE(result);
    const auto missing = [this](const std::string& name, const std::string& time) {
        return "[SchedCollector] Cannot find rawData file: " + Raw(name, time) +
               ", check your config about [thread] at priority_affinity.\n";
    };
    const std::string lists = missing("thread_priority_process_worker_all_thread", kPriorityTime);
    const std::string affinities =
        missing("thread_affinity_process_worker_all_thread", kAffinityTime);
    const std::string named = missing("thread_specified_priority", kNamedTime);
    EXPECT_EQ(captured.err,
              lists + affinities + named +
                  "[SchedCollector] Cannot find processPriority rawData file, check your config "
                  "about processPriority.\n" +
                  lists +
                  "[SchedCollector] Cannot find processAffinity rawData file, check your config "
                  "about processAffinity.\n" +
                  affinities + named);
    EXPECT_THAT(tree.NamesIn("json"), IsEmpty());
    EXPECT_EQ(Table(), kHeadRow + kHeadRow);
}

TEST_F(SetupJobTest, ATableThatCannotBeWrittenLeavesTheDocuments) {
    AnswerAll();
    tree.MakeFull("csv/soc_sched_thread_info.csv");
    EXPECT_EQ(Run(R"("priority_affinity")").err,
              "[SchedCollector] Error occurs when saving all thread info in csv: " +
                  tree.PathOf("csv/soc_sched_thread_info.csv") + "\n");
    EXPECT_THAT(tree.NamesIn("json"), testing::SizeIs(5));
}

TEST_F(SetupJobTest, AnInterruptKeepsItFromRunning) {
    AnswerAll();
    StopAt("date ");
    const Captured captured = Run(R"("priority_affinity")");
    EXPECT_FALSE(result);
    EXPECT_EQ(captured.err,
              "[SchedCollector] Failed to process [priority_affinity] info because of stopFlag!\n"
              "[SchedCollector] Failed to process once job info because of stopFlag!\n" +
                  std::string(kFailed));
    EXPECT_EQ(captured.out, kBegun);
    EXPECT_THAT(Commands(), IsEmpty());
}

TEST_F(SetupJobTest, AThreadOfTwoNamesIsAskedOnce) {
    AnswerAll();
    threads = R"(["loop","oo"])";
    Print("grep 'oo'", " 21 root rt 0 1 2 3 S 0.0 0.1 0:00.22 loop\n");
    EXPECT_EQ(Run(R"("priority_affinity")").err, "");
    EXPECT_EQ(Table().substr(Table().rfind(kHeadRow)),
              kHeadRow + "specifiedThread:loop,loop:21,rt,SCHED_RR,1,\n");
}

}  // namespace
}  // namespace zarn::test
