#include "board/server/event_texts.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "board/server/event_truth.h"

namespace zarn::board {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::uint64_t kSecondUs = 1000000;

std::vector<std::string> Pieces(const std::string& text, char mark) {
    std::istringstream stream(text);
    std::vector<std::string> pieces;
    for (std::string piece; std::getline(stream, piece, mark);) {
        pieces.push_back(piece);
    }
    return pieces;
}

std::vector<std::string> Lines(const std::string& text) {
    return Pieces(text, '\n');
}

double All(std::uint64_t /*tickMs*/) {
    return 1.0;
}

// Two programs with threads on cores 1 and 2, of which planner_0 is slow, and a camera that
// publishes.
EventPlan Plan() {
    EventPlan plan;
    plan.thresholdUs = {2500, 30, 6000, 100, 100};
    plan.groupCount = 3;
    plan.groups[0] = {0, 31, 2};
    plan.groups[1] = {0, 32, 4};
    plan.groups[2] = {1, 12, 5};
    plan.threadCount = 3;
    plan.threads[0] = {0, 0, 1, 1.0};
    plan.threads[1] = {1, 1, 2, 1.0};
    plan.threads[2] = {2, 0, 2, 6.0};
    plan.kindCount = 3;
    plan.kinds[0] = {4, 0, EventKind::kByKernel, 500, 800.0};
    plan.kinds[1] = {5, 1, 2, 400, 500.0};
    plan.kinds[2] = {17, 2, 0, 300, 200.0};
    return plan;
}

class EventTexts : public testing::Test {
protected:
    EventTexts() {
        programs_.count = 3;
        const std::array<std::string, 3> names{"perception", "planner", "camera"};
        for (std::size_t i = 0; i < names.size(); ++i) {
            std::copy(names[i].begin(), names[i].end(), programs_.plans[i].name.begin());
        }
    }

    [[nodiscard]] std::string Text(const std::string& attribute,
                                   const EventSelection& selection = {}) const {
        return EventAttributeText(attribute, {scheduler_, programs_, pids_}, selection);
    }
    [[nodiscard]] std::vector<std::string> Rows(const std::string& attribute,
                                                const EventSelection& selection = {}) const {
        return Lines(Text(attribute, selection));
    }
    // The number behind the first line with such a begin, from a place on.
    static std::uint64_t Number(const std::vector<std::string>& lines, const std::string& name,
                                std::size_t from = 0) {
        const auto line =
            std::find_if(lines.begin() + static_cast<std::ptrdiff_t>(from), lines.end(),
                         [&](const std::string& text) { return text.rfind(name, 0) == 0; });
        return line == lines.end() ? 0 : std::stoull(line->substr(name.size()));
    }

    EventScheduler scheduler_{Plan(), 3, 0};
    BoardPrograms programs_;
    std::vector<pid_t> pids_{1201, 1204, 1300};
};

TEST_F(EventTexts, AtTheBeginNothingHasHappened) {
    EXPECT_EQ(Text("node_list"), "0\n");
    EXPECT_EQ(Text("cpu_list"), "1-3\n");
    EXPECT_EQ(Text("sched_cpu_mask"), "0xe\n");
    EXPECT_EQ(Text("node_event_resource"),
              "total:used:free:reserved:max_used:failed\n3072:0:3072:0:0:0\n");
    EXPECT_EQ(Text("cpu_event_resource"),
              "cpu,total:used:free:reserved:max_used:failed\n1,1024:0:1024:0:0:0\n"
              "2,1024:0:1024:0:0:0\n3,1024:0:1024:0:0:0\n");
    EXPECT_EQ(Text("proc_list"), "1201,perception,0,0,2\n1204,planner,0,0,1\n");
    EXPECT_EQ(Text("cpu_cur_thread"), "1,0,0,0,0,idle\n2,0,0,0,0,idle\n3,0,0,0,0,idle\n");
    EXPECT_EQ(Text("cpu_thread_info"),
              "1,1201,31,0,perception_0,idle\n2,1201,32,1,perception_1,idle\n"
              "2,1204,12,0,planner_0,idle\n");
    EXPECT_EQ(Text("event_trace"), "cpu,start_us,pid,gid,tid,event,thread\n");
    EXPECT_EQ(Text("node_event_summary"),
              "publish_event_num 0\nmax time(us) 0\nave time(us) 0\nmax time(us) 0\nave time(us) "
              "0\nsched_event_num 0\nmax time(us) 0\nave time(us) 0\nwakeup_event_num 0\nmax "
              "time(us) 0\nave time(us) 0\nwait_event_num 0\n"
              "event id,publish event num,sched event num\n4,0,0\n5,0,0\n17,0,0\n");
    EXPECT_EQ(Text("node_sched_wakeup_abnormal_event"),
              "event,start_us,from_pid,cpu,gid,pid,us,thread\n");
    EXPECT_EQ(Text("node_sched_wakeup_abnormal_time_in_microsecond"), "100\n");
    EXPECT_EQ(Text("no_attribute"), "");
}

TEST_F(EventTexts, EveryAttributeHasATextOnceEventsHaveRun) {
    scheduler_.Advance(kSecondUs, All);
    for (const std::string& attribute : EventAttributes()) {
        const std::string text = Text(attribute, {0, 1204, 2, 12});
        EXPECT_THAT(text, testing::EndsWith("\n")) << attribute;
        EXPECT_EQ(text.find("\n\n"), std::string::npos) << attribute;
    }
    EXPECT_THAT(EventAttributes(), SizeIs(27));
}

TEST_F(EventTexts, TheSelectedProcessIsShownAndNoOther) {
    scheduler_.Advance(kSecondUs, All);
    EXPECT_EQ(Text("proc_pri", {0, 1204, 0, 0}), "1204,planner,5\n");
    EXPECT_EQ(Text("proc_pri", {0, 1201, 0, 0}), "1201,perception,2\n");
    const std::vector<std::string> planner = Rows("proc_event_num", {0, 1204, 0, 0});
    EXPECT_EQ(Number(planner, "publish_event_num "), scheduler_.OfKind(2).published);
    EXPECT_EQ(Number(planner, "sched_event_num "), scheduler_.OfKind(2).run);
    const std::vector<std::string> status = Rows("proc_status", {0, 1201, 0, 0});
    EXPECT_EQ(Number(status, "group_num "), 2U);
    EXPECT_EQ(Number(status, "thread_num "), 2U);
    EXPECT_THAT(Rows("proc_group_list", {0, 1201, 0, 0}), SizeIs(3));
    EXPECT_THAT(Rows("proc_group_thread", {0, 1201, 0, 0}), SizeIs(3));
    EXPECT_THAT(Rows("proc_group_thread", {0, 1201, 0, 32}),
                ElementsAre("gid,tid,cpu,priority,publish_event_num,sched_event_num,state,thread",
                            AllOf(testing::StartsWith("32,1,2,4,"), HasSubstr("perception_1"))));
    EXPECT_THAT(Rows("proc_group_event_list", {0, 1201, 0, 31}),
                ElementsAre("gid,event,thread,publish_event_num,sched_event_num",
                            testing::StartsWith("31,4,perception_0,")));
    // The group of another process.
    EXPECT_THAT(Rows("proc_group_thread", {0, 1204, 0, 31}), SizeIs(1));
}

TEST_F(EventTexts, WithoutAProcessOfTheSchedulerThereIsNone) {
    scheduler_.Advance(kSecondUs, All);
    for (const std::uint32_t pid : {0U, 7U, 1300U}) {
        EXPECT_EQ(Text("proc_pri", {0, pid, 2, 12}), "");
        EXPECT_EQ(Text("proc_status", {0, pid, 2, 12}), "");
        EXPECT_EQ(Text("proc_event_num", {0, pid, 2, 12}), "");
        EXPECT_THAT(Rows("proc_group_list", {0, pid, 2, 12}), SizeIs(1));
    }
}

TEST_F(EventTexts, TheSelectedCoreIsShownAndNoOther) {
    scheduler_.Advance(kSecondUs, All);
    EXPECT_THAT(Rows("cpu_thread_info", {0, 0, 1, 0}), SizeIs(1));
    EXPECT_THAT(Rows("cpu_thread_info", {0, 0, 2, 0}), SizeIs(2));
    EXPECT_THAT(Rows("cpu_thread_info", {0, 0, 9, 0}), IsEmpty());
    EXPECT_THAT(Rows("cpu_cur_thread", {0, 0, 3, 0}), ElementsAre("3,0,0,0,0,idle"));
    EXPECT_THAT(Rows("cpu_sched_track", {0, 0, 1, 0}), SizeIs(17));
    EXPECT_THAT(Rows("cpu_event_resource", {0, 0, 1, 0}), SizeIs(4));
}

TEST_F(EventTexts, ThereIsNoOtherNode) {
    scheduler_.Advance(kSecondUs, All);
    EXPECT_EQ(Text("node_event_summary", {1, 1204, 2, 12}), "");
    EXPECT_EQ(Text("proc_pri", {1, 1204, 2, 12}), "");
    EXPECT_EQ(Text("node_list", {1, 1204, 2, 12}), "0\n");
}

TEST_F(EventTexts, AReadingAgreesWithItself) {
    for (std::uint64_t us = 0; us <= 60 * kSecondUs; us += 333333) {
        scheduler_.Advance(us, All);
        const std::vector<std::string> summary = Rows("node_event_summary");
        const std::uint64_t published = Number(summary, "publish_event_num ");
        const std::uint64_t run = Number(summary, "sched_event_num ");
        ASSERT_EQ(published, run + Number(summary, "wait_event_num "));
        ASSERT_EQ(Pieces(Rows("node_event_resource")[1], ':')[1], std::to_string(published - run));
        std::uint64_t ofEvents = 0;
        for (std::size_t i = 13; i < summary.size(); ++i) {
            ofEvents += std::stoull(Pieces(summary[i], ',')[1]);
        }
        ASSERT_EQ(published, ofEvents);
        std::uint64_t ofProcesses = 0;
        for (const std::string& row : Rows("proc_list")) {
            ofProcesses += std::stoull(Pieces(row, ',')[2]);
        }
        ASSERT_EQ(published, ofProcesses);
    }
}

TEST_F(EventTexts, MeanQueueIsRateTimesMeanWait) {
    std::uint64_t waiting = 0;
    std::uint64_t readings = 0;
    for (std::uint64_t us = 0; us <= 60 * kSecondUs; us += 1000) {
        scheduler_.Advance(us, All);
        waiting += scheduler_.OfNode().Waiting();
        ++readings;
    }
    const std::vector<std::string> summary = Rows("node_event_summary");
    const double rate = static_cast<double>(Number(summary, "publish_event_num ")) / 60e6;
    const auto wait = static_cast<double>(Number(summary, "ave time(us) ", 5));
    EXPECT_EQ(summary[5].rfind("sched_event_num ", 0), 0U);
    EXPECT_NEAR(rate * wait / (static_cast<double>(waiting) / static_cast<double>(readings)), 1.0,
                0.05);
}

// Where the pid stands in the rows of a list.
struct LateList {
    const char* name;
    const char* inTruth;
    std::size_t pid;
    // What stands between stamp and time in the rows of the events 4, 5 and 17.
    std::map<std::string, std::string> places;
};

class EventTextsLate : public EventTexts, public testing::WithParamInterface<LateList> {};

// As a reader does who looks once in a second: each row counted once by its second field.
TEST_P(EventTextsLate, DistinctRowsAreExactlyTheEventsOverTheThreshold) {
    const std::string name = GetParam().name;
    const std::string threshold = Rows(name + "_time_in_microsecond").front();
    std::map<std::string, std::size_t> counts;
    std::set<std::string> stamps;
    for (std::uint64_t us = 0; us <= 60 * kSecondUs; us += kSecondUs) {
        scheduler_.Advance(us, All);
        const std::vector<std::string> rows = Rows(name + "_event");
        for (auto row = rows.begin() + 1; row != rows.end(); ++row) {
            const std::vector<std::string> fields = Pieces(*row, ',');
            ASSERT_THAT(fields, SizeIs(8)) << *row;
            EXPECT_EQ(fields[2] + "," + fields[3] + "," + fields[4] + "," + fields[5],
                      GetParam().places.at(fields[0]))
                << *row;
            EXPECT_GT(std::stoull(fields[6]), std::stoull(threshold)) << *row;
            if (stamps.insert(fields[1]).second) {
                ++counts[GetParam().inTruth + ("," + threshold) + "," + fields[GetParam().pid] +
                         "," + fields.back()];
            }
        }
    }
    EXPECT_GT(stamps.size(), 5U);
    std::map<std::string, std::size_t> truth;
    for (const std::string& line : Lines(EventTruthText({scheduler_, programs_, pids_}))) {
        if (line.rfind(GetParam().inTruth, 0) == 0) {
            const std::size_t comma = line.rfind(',');
            truth[line.substr(0, comma)] = std::stoull(line.substr(comma + 1));
        }
    }
    EXPECT_EQ(counts, truth);
}

INSTANTIATE_TEST_SUITE_P(
    Lists, EventTextsLate,
    testing::Values(
        LateList{"node_sched_proc_abnormal",
                 "thread_proc",
                 2,
                 {{"4", "1201,0,31,1"}, {"5", "1201,1,32,2"}, {"17", "1204,0,12,2"}}},
        LateList{"node_sched_publish_in_kernel_abnormal", "kernel_proc", 3, {{"4", "1,1201,0,31"}}},
        LateList{"node_sched_publish_syscall_abnormal",
                 "syscall_proc",
                 3,
                 {{"5", "2,1300,1201,32"}, {"17", "2,1201,1204,12"}}},
        LateList{"node_sched_publish_subscribe_abnormal",
                 "subs_proc",
                 4,
                 {{"4", "0,1,1201,31"}, {"5", "1300,2,1201,32"}, {"17", "1201,2,1204,12"}}},
        LateList{"node_sched_wakeup_abnormal",
                 "wakeup_proc",
                 5,
                 {{"4", "0,1,31,1201"}, {"5", "1300,2,32,1201"}, {"17", "1201,2,12,1204"}}}),
    [](const auto& list) { return std::string(list.param.inTruth); });

TEST_F(EventTexts, TheSlowThreadIsTheOneWithLateRuns) {
    scheduler_.Advance(60 * kSecondUs, All);
    std::map<std::string, std::size_t> counts;
    for (const std::string& row : Rows("node_sched_proc_abnormal_event")) {
        ++counts[Pieces(row, ',').back()];
    }
    EXPECT_GE(counts["planner_0"], 60U);
}

TEST_F(EventTexts, ReadersFindTheRowsByTheirShape) {
    scheduler_.Advance(kSecondUs, All);
    const std::vector<std::string> rows = Rows("proc_list");
    EXPECT_TRUE(std::regex_match(rows[1], std::regex("^[0-9]+,planner,[0-9]+,[0-9]+,[0-9]+$")));
    EXPECT_TRUE(std::regex_match(Rows("cpu_thread_info", {0, 1204, 2, 0})[1],
                                 std::regex("^2,1204,[0-9]+,.+")));
    for (const std::string& row :
         {Rows("node_event_resource")[1], Pieces(Rows("cpu_event_resource")[3], ',')[1]}) {
        EXPECT_THAT(Pieces(row, ':'), SizeIs(6));
    }
}

}  // namespace
}  // namespace zarn::board
