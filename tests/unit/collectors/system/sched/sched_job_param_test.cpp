#include "collectors/system/sched/sched_job_param.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>

#include "tests/support/captured_streams.h"
#include "tests/support/fake_runner.h"
#include "tests/support/key_check.h"

namespace zarn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string kTag = "[SchedCollector] ";
const std::string kJobList = kTag + "Failed to set SchedCollector job list!\n";
const std::string kCheck = kTag + "Failed to check SchedCollector job param!\n";
const std::string kSet = kTag + "Failed to set SchedCollector job param!\n";
const std::string kPublic = kTag + "Invalid SchedCollector public param!\n" + kCheck;

// The groups of the section; an empty one is left out.
struct Groups {
    std::string job = R"(["global"])";
    std::string sched =
        R"({"is_call_record":true,"duration":5,"topN":7,"sorted":"avg","coreID":[0,1],)"
        R"("process":["worker"]})";
    std::string priority = R"({"process":["worker"],"thread":["loop"]})";
    std::string lite = R"({"lite_duration_second":20,"lite_threshold_ms":4})";
    std::string count;
};

std::string Config(const Groups& groups) {
    std::string text;
    for (const auto& [key, value] : {std::pair<std::string, std::string>{"job", groups.job},
                                     {"count", groups.count},
                                     {"sched", groups.sched},
                                     {"priority_affinity", groups.priority},
                                     {"lite", groups.lite}}) {
        if (!value.empty()) {
            text.append(text.empty() ? "\"" : ",\"").append(key).append("\":").append(value);
        }
    }
    return R"({"SchedCollector":{)" + text + "}}";
}

Groups OfJob(const std::string& job) {
    Groups groups;
    groups.job = "[\"" + job + "\"]";
    return groups;
}

Groups WithSched(const std::string& job, const std::string& sched) {
    Groups groups = OfJob(job);
    groups.sched = sched;
    return groups;
}

Groups WithPriority(const std::string& priority) {
    Groups groups = OfJob("priority_affinity");
    groups.priority = priority;
    return groups;
}

Groups WithLite(const std::string& lite) {
    Groups groups = OfJob("lite");
    groups.lite = lite;
    return groups;
}

std::string Sched(const std::string& callRecord, const std::string& duration,
                  const std::string& topN, const std::string& sorted) {
    return R"({"is_call_record":)" + callRecord + R"(,"duration":)" + duration + R"(,"topN":)" +
           topN + R"(,"sorted":)" + sorted + R"(,"coreID":[0],"process":["worker"]})";
}

class SchedJobParamTest : public testing::Test {
protected:
    SchedJobParamTest() {
        runner.On("pidof worker", "123\n").On("pidof other", "7\n").On("/proc/cpuinfo", "4\n");
    }

    test::Captured Read(const std::string& text) {
        JsonDocument config;
        EXPECT_TRUE(ParseJson(text, config)) << text;
        return test::Capture([&] { good = ReadSchedJobParam(config, runner, param); });
    }

    void ExpectRefused(const std::string& text, const std::string& words) {
        const test::Captured captured = Read(text);
        EXPECT_FALSE(good) << text;
        EXPECT_EQ(captured.err, words) << text;
        EXPECT_EQ(captured.out, "") << text;
    }

    test::FakeRunner runner;
    SchedJobParam param;
    bool good = false;
};

TEST_F(SchedJobParamTest, ABadListOfJobsIsRefusedFirst) {
    const std::string noJob = kTag + "SchedCollector job param not exist!\n" + kJobList;
    ExpectRefused("{}", noJob);
    ExpectRefused(R"({"SchedCollector":{}})", noJob);
    Groups groups;
    groups.job = "\"global\"";
    ExpectRefused(Config(groups),
                  kTag + "Invalid SchedCollector job type, it should be an array!\n" + kJobList);
    groups.job = R"(["lite",1])";
    ExpectRefused(Config(groups),
                  kTag + "Invalid SchedCollector job element, it should be a string!\n" + kJobList);
    groups.job = R"(["Global"])";
    ExpectRefused(Config(groups),
                  kTag +
                      "Invalid SchedCollector job name:Global, it should be global, core, "
                      "process, priority_affinity or lite!\n" +
                      kJobList);
}

TEST_F(SchedJobParamTest, MissingPublicKeysAreToldInGroups) {
    const std::string begin = kTag +
                              "SchedCollector global, core and process job must include public "
                              "parameters ";
    const std::string end =
        " in config!\n" + kTag +
        "SchedCollector global, core and process job does not include public parameters "
        "is_call_record, duration, topN, sorted at [sched] in config!\n" +
        kCheck;
    for (const char* job : {"global", "core", "process"}) {
        const std::pair<std::string, std::string> rows[] = {
            {"", "[sched]"},
            {"{}", "is_call_record, duration at [sched]"},
            {R"({"is_call_record":1,"topN":1,"sorted":1})", "is_call_record, duration at [sched]"},
            {R"({"duration":1,"topN":1,"sorted":1})", "is_call_record, duration at [sched]"},
            {R"({"is_call_record":1,"duration":1,"sorted":1})", "topN, sorted at [sched]"},
            {R"({"is_call_record":1,"duration":1,"topN":1})", "topN, sorted at [sched]"},
        };
        for (const auto& [sched, what] : rows) {
            ExpectRefused(Config(WithSched(job, sched)), begin + what + end);
        }
    }
}

TEST_F(SchedJobParamTest, MissingKeysOfAJobAreTold) {
    const std::string sched = R"({"is_call_record":1,"duration":1,"topN":1,"sorted":1})";
    const std::string summary =
        kTag + "SchedCollector core or process job does not include its parameters in config!\n" +
        kCheck;
    ExpectRefused(
        Config(WithSched("core", sched)),
        kTag + "SchedCollector core job must include coreID at [sched] in config!\n" + summary);
    ExpectRefused(
        Config(WithSched("process", sched)),
        kTag + "SchedCollector process job must include process at [sched] in config!\n" + summary);
    ExpectRefused(Config(WithPriority("")),
                  kTag +
                      "SchedCollector priority_affinity job must include parameter "
                      "[priority_affinity] in config!\n" +
                      kCheck);
    for (const char* priority : {"{}", R"({"process":1})", R"({"thread":1})"}) {
        ExpectRefused(Config(WithPriority(priority)),
                      kTag +
                          "SchedCollector priority_affinity job must include parameter process "
                          "and thread at [priority_affinity] in config!\n" +
                          kCheck);
    }
    ExpectRefused(
        Config(WithLite("")),
        kTag + "SchedCollector lite job must include parameters [lite] in config!\n" + kCheck);
    for (const char* lite : {"{}", R"({"lite_duration_second":1})", R"({"lite_threshold_ms":1})"}) {
        ExpectRefused(Config(WithLite(lite)),
                      kTag +
                          "SchedCollector lite job must include parameters lite_duration_second "
                          "and lite_threshold_ms at [lite] in config!\n" +
                          kCheck);
    }
}

TEST_F(SchedJobParamTest, PublicValuesAreCheckedWhicheverJobsAreListed) {
    const std::string invalid = kTag + "Invalid SchedCollector ";
    const std::string topN =
        invalid + "topN type at [sched], it should be unsigned integer and less than 1000!\n" +
        kPublic;
    const std::pair<std::string, std::string> rows[] = {
        {Sched("1", "5", "7", "\"max\""),
         invalid + "is_call_record type at [sched], it should be a bool!\n" + kPublic},
        {Sched("true", "-5", "7", "\"max\""),
         invalid + "duration type at [sched], it should be unsigned integer!\n" + kPublic},
        {Sched("true", "601", "7", "\"max\""),
         invalid + "duration value: 601 at [sched], it should less than 600 !\n" + kPublic},
        {Sched("true", "5", "1.5", "\"max\""), topN},
        {Sched("true", "5", "1001", "\"max\""), topN},
        {Sched("true", "5", "7", "1"),
         invalid + "sorted at [sched], it should be a string!\n" + kPublic},
        {Sched("true", "5", "7", "\"min\""),
         invalid + "sorted:  min at [sched], it should be max or avg and be a string!\n" + kPublic},
    };
    for (const char* job : {"global", "lite", "priority_affinity"}) {
        for (const auto& [sched, words] : rows) {
            ExpectRefused(Config(WithSched(job, sched)), words);
        }
    }
}

TEST_F(SchedJobParamTest, TheLimitsThemselvesAreAllowed) {
    (void)Read(Config(WithSched("global", Sched("false", "600", "1000", "\"max\""))));
    EXPECT_TRUE(good);
    EXPECT_EQ(param.duration, 600U);
    EXPECT_EQ(param.topN, 1000U);
    EXPECT_EQ(param.sorted, "max");
}

TEST_F(SchedJobParamTest, ShapesOfListedJobsAreCheckedLast) {
    const std::string invalid = kTag + "Invalid SchedCollector ";
    const std::string sched = R"({"is_call_record":true,"duration":1,"topN":1,"sorted":"max",)"
                              R"("coreID":1,"process":"worker"})";
    ExpectRefused(Config(WithSched("core", sched)),
                  invalid + "coreID type at [sched], it should be an array!\n" + invalid +
                      "core param!\n" + kCheck);
    ExpectRefused(Config(WithSched("process", sched)),
                  invalid + "process type at [sched], it should be an array!\n" + invalid +
                      "process param!\n" + kCheck);
    const std::string priority = invalid + "priority_affinity param!\n" + kCheck;
    ExpectRefused(
        Config(WithPriority(R"({"process":"worker","thread":[]})")),
        invalid + "process type at [priority_affinity], it should be an array!\n" + priority);
    ExpectRefused(
        Config(WithPriority(R"({"process":[],"thread":"loop"})")),
        invalid + "thread type at [priority_affinity], it should be an array!\n" + priority);
    ExpectRefused(
        Config(WithPriority(R"({"process":[],"thread":["loop",1]})")),
        invalid + "thread element at [priority_affinity], it should be a string!\n" + priority);
    const std::string lite = invalid + "lite param!\n" + kCheck;
    ExpectRefused(Config(WithLite(R"({"lite_duration_second":-1,"lite_threshold_ms":-1})")),
                  invalid + "lite_duration_second type, it should be unsigned integer!\n" + lite);
    ExpectRefused(Config(WithLite(R"({"lite_duration_second":1,"lite_threshold_ms":1.5})")),
                  invalid + "lite_threshold_ms type, it should be unsigned integer!\n" + lite);
}

TEST_F(SchedJobParamTest, TheCountIsReadFirst) {
    Groups groups = OfJob("process");
    groups.count = "-1";
    ExpectRefused(Config(groups),
                  kTag + "Invalid SchedCollector count type, it should be unsigned integer!\n" +
                      kTag + "Invalid SchedCollector optional parameter!\n" + kSet);
    EXPECT_THAT(runner.Commands(), IsEmpty());
}

TEST_F(SchedJobParamTest, CoresMustBeOnTheMachine) {
    const std::string behind = kTag + "Invalid SchedCollector coreID element at [sched]!\n" + kTag +
                               "Failed to set SchedCollector [core] job param!\n" + kSet;
    const auto config = [](const std::string& cores) {
        return Config(WithSched("core", R"({"is_call_record":true,"duration":1,"topN":1,)"
                                        R"("sorted":"max","coreID":)" +
                                            cores + "}"));
    };
    ExpectRefused(config("[0,-1]"), kTag +
                                        "Invalid SchedCollector coreID element, it should be a "
                                        "unsigned integer!\n" +
                                        behind);
    ExpectRefused(config("[3,4]"),
                  "[zarn_utils] Invalid coreID value: 4, it should less than 4 !\n" + kTag +
                      "Invalid SchedCollector coreID value 4 !\n" + behind);
    EXPECT_EQ(runner.Commands().back(), R"(cat /proc/cpuinfo| grep "processor"| wc -l)");
    EXPECT_EQ(Read(config("[3,0,3]")).err, "");
    EXPECT_TRUE(good);
    EXPECT_THAT(param.cores, ElementsAre(3, 0, 3));
    (void)Read(config("[]"));
    EXPECT_TRUE(good);
    EXPECT_THAT(param.cores, IsEmpty());
}

TEST_F(SchedJobParamTest, ProcessesThatDoNotRunOnceArePassedOver) {
    runner.On("pidof two", "5 6\n").On("pidof empty", "").On("pidof huge", "99999999999\n");
    runner.On("pidof line", "\n").On("pidof lines", "").Refuse("pidof refused");
    const test::Captured captured = Read(Config(WithSched(
        "process", R"({"is_call_record":true,"duration":1,"topN":1,"sorted":"max","process":)"
                   R"(["two","empty",1,"worker","refused","huge","line","other"]})")));
    EXPECT_TRUE(good);
    EXPECT_THAT(param.processes.names, ElementsAre("worker", "other"));
    EXPECT_THAT(param.processes.pids, ElementsAre(123, 7));
    EXPECT_THAT(param.priorityProcesses.names, IsEmpty());
    const std::string gone = " process, skipping this process in sched_process!\n";
    EXPECT_EQ(captured.err,
              kTag +
                  "two process of SchedCollector sched_process does not exist in device, "
                  "skipping this process!\n" +
                  kTag + "Failed to get the pid of empty" + gone + kTag +
                  "Invalid SchedCollector sched_process element, it should be a string!\n" +
                  "[zarn_utils] Failed to popen command!\n" + kTag +
                  "Failed to get the pid of refused" + gone + kTag +
                  "Error occurs when get and save pid of process: stoi\n" + kTag +
                  "Error occurs when get and save pid of process: stoi\n");
    EXPECT_EQ(captured.out, "");
}

TEST_F(SchedJobParamTest, WithoutAnyProcessTheSectionIsRefused) {
    ExpectRefused(
        Config(WithSched("process", R"({"is_call_record":true,"duration":1,"topN":1,)"
                                    R"("sorted":"max","process":["none"]})")),
        kTag + "Failed to get the pid of none process, skipping this process in sched_process!\n" +
            kTag + "Invalid SchedCollector process element at [sched]!\n" + kTag +
            "Failed to set SchedCollector [process] job param!\n" + kSet);
    // What was read before stays.
    EXPECT_TRUE(param.Has(kSchedProcessJob));
    EXPECT_EQ(param.topN, 1U);
    ExpectRefused(
        Config(WithPriority(R"({"process":["none"],"thread":["loop"]})")),
        kTag +
            "Failed to get the pid of none process, skipping this process in priority_affinity!\n" +
            kTag + "Invalid SchedCollector processPriority element!\n" + kSet);
}

TEST_F(SchedJobParamTest, ASectionIsReadWhole) {
    Groups groups;
    groups.job = R"(["global","core","process","priority_affinity","lite","global"])";
    groups.count = "3";
    const test::Captured captured = Read(Config(groups));
    EXPECT_TRUE(good);
    EXPECT_EQ(captured.out + captured.err, "");
    for (const auto& job : param.jobs) {
        EXPECT_TRUE(job.second) << job.first;
    }
    EXPECT_EQ(param.count, 3U);
    EXPECT_TRUE(param.isCallRecord);
    EXPECT_EQ(param.duration, 5U);
    EXPECT_EQ(param.topN, 7U);
    EXPECT_EQ(param.sorted, "avg");
    EXPECT_THAT(param.cores, ElementsAre(0, 1));
    EXPECT_THAT(param.processes.pids, ElementsAre(123));
    EXPECT_THAT(param.priorityProcesses.names, ElementsAre("worker"));
    EXPECT_THAT(param.priorityProcesses.pids, ElementsAre(123));
    EXPECT_THAT(param.priorityThreads, ElementsAre("loop"));
    EXPECT_EQ(param.liteDuration, 20U);
    EXPECT_EQ(param.liteThreshold, 4U);
}

TEST_F(SchedJobParamTest, WhatNoListedJobNeedsIsNotRead) {
    Groups groups = OfJob("lite");
    groups.lite = R"({"lite_duration_second":18446744073709551615,"lite_threshold_ms":0})";
    groups.priority = "1";
    (void)Read(Config(groups));
    EXPECT_TRUE(good);
    EXPECT_THAT(runner.Commands(), IsEmpty());
    EXPECT_EQ(param.count, 1U);
    EXPECT_EQ(param.topN, 10U);
    EXPECT_EQ(param.liteDuration, 18446744073709551615U);
    groups.job = "[]";
    (void)Read(Config(groups));
    EXPECT_TRUE(good);
    EXPECT_FALSE(param.Has(kSchedLiteJob));
    EXPECT_EQ(param.liteDuration, 300U);
}

using SchedJobParamDeathTest = SchedJobParamTest;

TEST_F(SchedJobParamDeathTest, PublicKeysThatAreMissingEndTheProcess) {
    for (const char* job : {"lite", "priority_affinity"}) {
        for (const char* sched : {"", "{}", R"({"is_call_record":true,"duration":1,"topN":1})"}) {
            JsonDocument config;
            ASSERT_TRUE(ParseJson(Config(WithSched(job, sched)), config));
            EXPECT_DEATH((void)ReadSchedJobParam(config, runner, param), "JSON assertion") << sched;
        }
    }
}

TEST_F(SchedJobParamTest, TheCheckHoldsToTheDeclaredKeys) {
    Groups groups;
    groups.job = R"(["global","core","process","priority_affinity","lite"])";
    groups.count = "2";
    test::ExpectKeysHold(
        "SchedCollector", SchedCollectorKeys(), Config(groups),
        [this](const JsonDocument& config) { return ReadSchedJobParam(config, runner, param); });
}

}  // namespace
}  // namespace zarn
