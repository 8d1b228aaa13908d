#include "analyzers/aicpu/aicpu_analyzer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/unit/analyzers/aicpu/aicpu_analyzer_fixture.h"

namespace zarn::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

constexpr const char* kCost = "\\[AicpuAnalyzer\\] cost time: [0-9.]+s\n";
constexpr const char* kConfigFailed =
    "[AicpuAnalyzer] Get aicpu set info failed.\n"
    "[AicpuAnalyzer] Failed to parse aicpu analyzer config!\n";

std::string Head() {
    return R"({"eventId":"222210030","happenTime":"20230101120000000","objectId":"soc_aicpu_ana",)"
           R"("content":{)";
}

constexpr const char* kTimes = R"("collect_time":["20230101120001001","20230101120002001"])";
constexpr const char* kPool =
    R"("soc_resource_total":"4096","soc_cur_use":"212","soc_max_use":"655","soc_fail_appli":"1")";
constexpr const char* kSeries =
    R"("soc_publish_events":["10","20"],"soc_sched_events":["10","20"],)"
    R"("soc_wakeup_events":["10","20"],"soc_pub_sys_call_ave_time":["9","9"],)"
    R"("soc_pub_sys_call_max_time":["90","90"],"soc_pub_in_kernel_ave_time":["8","8"],)"
    R"("soc_pub_in_kernel_max_time":["80","80"],"soc_wakeup_ave_time":["6","6"],)"
    R"("soc_wakeup_max_time":["60","60"],"soc_sched_ave_time":["7","7"],)"
    R"("soc_sched_max_time":["70","70"])";
constexpr const char* kCoreRows =
    R"("proc_list":[{"pid":"1201","name":"perception","publish_events":"30","sched_events":"29"},)"
    R"({"pid":"77","name":"other","publish_events":"5","sched_events":"5"}],)"
    R"("soc_aicpu":[{"cpu":"1","resource_total":"1024","cur_use":"61","max_use":"180",)"
    R"("fail_appli":"2"},{"cpu":"2","resource_total":"1024","cur_use":"92","max_use":"301",)"
    R"("fail_appli":"0"}])";
constexpr const char* kEventRows =
    R"("soc_event_info":[{"event_id":"4","publish_events":"20","sched_events":"20"}])";

std::string Rankings(const std::string& pid) {
    const std::string threads = R"([{"pid:thread_name":")" + pid +
                                R"(:busy","times":2},{"pid:thread_name":"77:other","times":2}])";
    return R"("topN_abnormal_thread_proc":)" + threads + R"(,"topN_abnormal_subs_proc":)" +
           threads + R"(,"topN_abnormal_wakeup_proc":)" + threads;
}

// Of a process with that name and two passes.
std::string ProcessContent(const std::string& name, bool abnormal) {
    const std::string own = R"({"num":2,"start_time":["1000","2000"]})";
    return R"("name":")" + name +
           R"(","priority":"5","status":"running","group_num":"1",)"
           R"("publish_events":["10","20"],"sched_events":["9","18"],)"
           R"("thread_group":[{"gid":"31","sched_type":"1","thread_num":"3","event_num":"2"},)"
           R"({"gid":"32","sched_type":"1","thread_num":"1","event_num":"1"}])" +
           (abnormal ? R"(,"soc_proc_info":{"thread_proc":)" + own + R"(,"kernel_proc":)" + own +
                           R"(,"subs_proc":)" + own + R"(,"syscall_proc":)" + own +
                           R"(,"wakeup_proc":)" + own +
                           R"(},"thread_proc_threshold":"2400","kernel_proc_threshold":"2400",)"
                           R"("subs_proc_threshold":"2400","syscall_proc_threshold":"2400",)"
                           R"("wakeup_proc_threshold":"2400")"
                     : "");
}

TEST_F(AicpuAnalyzerTest, WritesTheComplexAndTheProcess) {
    Collect({AicpuProcessOf("perception", 1201, 2)});
    const Captured captured = Run();
    EXPECT_TRUE(result);
    EXPECT_EQ(captured.err, "");
    EXPECT_THAT(captured.out, MatchesRegex(kCost));
    EXPECT_EQ(dir.Read("env_info/time_cost.log"), captured.out);
    EXPECT_EQ(Soc(), Head() + kTimes + "," + kPool + "," + kSeries + "," + kCoreRows + "," +
                         kEventRows + "," + Rankings("1201") + "}}\n");
    EXPECT_EQ(Document("perception"), Head() + ProcessContent("perception", true) + "}}\n");
}

TEST_F(AicpuAnalyzerTest, WhatAJobThatIsOffWouldFindIsNotThere) {
    Collect({AicpuProcessOf("perception", 1201, 2)});
    EXPECT_EQ(Run("").err, "");
    EXPECT_EQ(Soc(), Head() + kTimes + "}}\n");
    EXPECT_EQ(Document("perception"), Head() + ProcessContent("perception", false) + "}}\n");
    EXPECT_EQ(Run(R"("core")").err, "");
    EXPECT_EQ(Soc(), Head() + kTimes + "," + kPool + "," + kCoreRows + "}}\n");
    EXPECT_EQ(Run(R"("event")").err, "");
    EXPECT_EQ(Soc(), Head() + kTimes + "," + kSeries + "," + kEventRows + "}}\n");
    EXPECT_EQ(Run(R"("abnormal")").err, "");
    EXPECT_EQ(Soc(), Head() + kTimes + "," + Rankings("1201") + "}}\n");
}

TEST_F(AicpuAnalyzerTest, ARecordThatIsNotValidHasTheDocumentOfTheComplexAlone) {
    Collect({AicpuProcessOf("noone", 0, 2, false)});
    EXPECT_EQ(Run().err, "");
    EXPECT_THAT(Soc(), HasSubstr(Rankings("0")));
    EXPECT_EQ(Document("noone"), "");
    RemoveRaw("process", "noone");
    EXPECT_EQ(Run().err, "") << "it is not read";
}

TEST_F(AicpuAnalyzerTest, EachProcessWritesTheComplexAnewAndItsOwnDocumentBehindTheLast) {
    Collect({AicpuProcessOf("perception", 1201, 3), AicpuProcessOf("planning", 1204, 2)});
    EXPECT_EQ(Run().err, "");
    EXPECT_EQ(Soc(), Head() + kTimes + "," + kPool + "," + kSeries + "," + kCoreRows + "," +
                         kEventRows + "," + Rankings("1204") + "}}\n");
    const std::string once = Document("planning");
    EXPECT_EQ(once, Head() + ProcessContent("planning", true) + "}}\n");
    EXPECT_EQ(Run().err, "");
    EXPECT_EQ(Document("planning"), once + once);
    EXPECT_THAT(Soc(), Not(HasSubstr("\n{")));
}

TEST_F(AicpuAnalyzerTest, ANameGivenTwiceReadsItsNthSections) {
    Collect({AicpuProcessOf("twin", 1, 3), AicpuProcessOf("twin", 2, 2)});
    EXPECT_EQ(Run().err, "");
    EXPECT_THAT(Soc(), HasSubstr(kTimes));
    EXPECT_THAT(Soc(), HasSubstr(Rankings("2")));
    EXPECT_THAT(Document("twin"), HasSubstr(R"("publish_events":["10","20","30"])"));
    EXPECT_THAT(Document("twin"), EndsWith(Head() + ProcessContent("twin", true) + "}}\n"));
}

// An interrupt before its first pass leaves a process without sections.
TEST_F(AicpuAnalyzerTest, AProcessWithoutPassesHasNoSectionsToRead) {
    Collect({AicpuProcessOf("twin", 1, 2)});
    std::filesystem::remove(dir.Path() + RecordName());
    AicpuProcess none = AicpuProcessOf("none", 3, 0);
    dir.Write("json/record", "");
    const auto raw = AicpuRawFilesOf(AicpuProcessOf("twin", 1, 2));
    Collect({none, AicpuProcessOf("twin", 9, 0), AicpuProcessOf("twin", 1, 2)});
    SetRaw("core", "twin", raw.core);
    SetRaw("event", "twin", raw.event);
    SetRaw("abnormal", "twin", raw.abnormal);
    SetRaw("process", "twin", raw.process);
    for (const char* list : {"core", "event", "abnormal", "process"}) {
        RemoveRaw(list, "none");
    }
    EXPECT_EQ(Run().err,
              "[AicpuAnalyzer] parse core info file failed.\n"
              "[AicpuAnalyzer] Failed to analyze aicpu info of none.\n"
              "[AicpuAnalyzer] Fail to analyze proc pri content.\n"
              "[AicpuAnalyzer] Failed to analyze aicpu info of twin.\n");
    EXPECT_EQ(Document("twin"), Head() + ProcessContent("twin", true) + "}}\n");
}

TEST_F(AicpuAnalyzerTest, AProcessThatFailsHasNoDocumentsAndTheOthersGoOn) {
    Collect({AicpuProcessOf("perception", 1201, 2), AicpuProcessOf("planning", 1204, 2)});
    const std::pair<const char*, const char*> rows[] = {
        {"core", "parse core info file failed."},
        {"event", "parse event info file failed."},
        {"abnormal", "parse abnormal info file failed."},
        {"process", "parse process info file failed."}};
    for (const auto& [list, words] : rows) {
        std::filesystem::remove_all(dir.Path() + "json");
        std::filesystem::create_directories(dir.Path() + "json");
        Collect({AicpuProcessOf("perception", 1201, 2), AicpuProcessOf("planning", 1204, 2)});
        RemoveRaw(list, "perception");
        const Captured captured = Run();
        EXPECT_TRUE(result);
        EXPECT_EQ(captured.err, "[AicpuAnalyzer] " + std::string(words) +
                                    "\n[AicpuAnalyzer] Failed to analyze aicpu info of "
                                    "perception.\n");
        EXPECT_THAT(captured.out, MatchesRegex(kCost));
        EXPECT_EQ(Document("perception"), "");
        EXPECT_THAT(Soc(), HasSubstr(Rankings("1204")));
        EXPECT_NE(Document("planning"), "");
    }
}

TEST_F(AicpuAnalyzerTest, ThereMustBeOneRecord) {
    const std::string words =
        std::string("[AicpuAnalyzer] Only one soc_aicpu_info file should be existed.\n") +
        kConfigFailed;
    EXPECT_EQ(Run().err, words);
    EXPECT_FALSE(result);
    Collect({AicpuProcessOf("perception", 1201, 1)});
    dir.Write("json/soc_aicpu_info_1_.txt", "");
    dir.Write("json/xsoc_aicpu_info_1_2.data", "");
    EXPECT_EQ(Run().err, "");
    dir.Write("json/soc_aicpu_info_1_x.data", "");
    EXPECT_EQ(Run().err, words);
    EXPECT_FALSE(result);
}

TEST_F(AicpuAnalyzerTest, AJobThatWasNotCollectedCannotBeAnalysed) {
    Collect({AicpuProcessOf("perception", 1201, 1)});
    for (const char* job : {"core", "event", "abnormal"}) {
        const std::string on = "\"" + std::string(job) + "\":true";
        std::string text = dir.Read(RecordName());
        text.replace(text.find(on), on.size(), "\"" + std::string(job) + "\":false");
        const std::string before = dir.Read(RecordName());
        dir.Write(RecordName(), text);
        EXPECT_EQ(Run("\"" + std::string(job) + "\"").err,
                  std::string("[AicpuAnalyzer] Cannot analyze because have not collect "
                              "correspond data.\n") +
                      kConfigFailed);
        EXPECT_FALSE(result);
        dir.Write(RecordName(), before);
    }
    EXPECT_EQ(Soc(), "");
}

TEST_F(AicpuAnalyzerTest, ASectionThatIsRefused) {
    JsonDocument config;
    ASSERT_TRUE(ParseJson("{}", config));
    AicpuAnalyzer analyzer(AicpuAnalyzer::kName);
    const Captured captured =
        Capture([&] { EXPECT_FALSE(analyzer.Start(config, dir.Path(), &stopFlag)); });
    EXPECT_EQ(
        captured.err,
        std::string("[AicpuAnalyzer] Error occurs: Lack of required fields.\n") + kConfigFailed);
}

TEST_F(AicpuAnalyzerTest, AnInterruptLeavesTheRestAlone) {
    Collect({AicpuProcessOf("perception", 1201, 1)});
    stopFlag = 1;
    EXPECT_EQ(Run().err, "");
    EXPECT_TRUE(result);
    EXPECT_EQ(Soc(), "");
}

}  // namespace
}  // namespace zarn::test
