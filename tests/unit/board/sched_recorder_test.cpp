#include "board/model/sched_recorder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

namespace zarn::board {
namespace {

using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr std::uint64_t kSecondUs = 1000000;
constexpr std::uint64_t kSeed = 5;

// One core with more to do than it can, and a lock.
SchedPlan BusyPlan() {
    SchedPlan plan;
    plan.cores = 1;
    plan.processCount = 1;
    plan.processes[0].taskCount = 3;
    plan.taskCount = 3;
    const std::vector<std::uint32_t> runUs{4000, 6000, 9000};
    for (std::uint32_t i = 0; i < plan.taskCount; ++i) {
        plan.tasks[i].name = {'t', static_cast<char>('0' + i)};
        plan.tasks[i].periodUs = 20000 + 7000 * i;
        plan.tasks[i].runUs = runUs[i];
        plan.tasks[i].jitter = 0.3;
        plan.tasks[i].nice = static_cast<std::int32_t>(i) * 5;
    }
    for (const std::uint32_t task : {0U, 2U}) {
        plan.tasks[task].lockUseCount = 1;
        plan.tasks[task].lockUses[0] = {0, 500, 2500};
    }
    return plan;
}

using Row = std::vector<std::uint64_t>;

Row RowOf(const SchedDelay& delay) {
    return {delay.task, delay.core, delay.fromUs, delay.toUs};
}

std::vector<Row> RowsOf(const SchedRecorder& recorder) {
    std::vector<Row> rows;
    for (const RecordedDelay& noted : recorder.Notes().last) {
        rows.push_back(RowOf(noted.delay));
    }
    return rows;
}

// The delays of a time that are longer than a threshold, by the model.
std::vector<Row> TrueRows(const SchedSpan& span, std::uint64_t thresholdUs) {
    std::vector<Row> rows;
    for (const SchedDelay& delay : DelaysIn(BusyPlan(), kSeed, span)) {
        if (delay.toUs - delay.fromUs > thresholdUs) {
            rows.push_back(RowOf(delay));
        }
    }
    return rows;
}

TEST(SchedRecorderTest, NotesNothingUnlessItIsArmed) {
    SchedRecorder recorder(BusyPlan(), kSeed);
    recorder.Advance(2 * kSecondUs, {});
    EXPECT_THAT(RowsOf(recorder), IsEmpty());
    EXPECT_EQ(recorder.Notes().sums[1].delays, 0U);
}

TEST(SchedRecorderTest, NotesTheLongDelaysThatEndWhileItIsArmed) {
    SchedRecorder recorder(BusyPlan(), kSeed);
    SchedRecording recording;
    recorder.Advance(kSecondUs, recording);
    Rearm(recording, kSecondUs, 3000000);
    for (std::uint64_t timeUs = kSecondUs; timeUs < 3 * kSecondUs; timeUs += 77777) {
        recorder.Advance(timeUs, recording);
    }
    recorder.Advance(3 * kSecondUs, recording);
    const std::vector<Row> expected = TrueRows({kSecondUs, 3 * kSecondUs}, 3000);
    ASSERT_THAT(expected, testing::Not(IsEmpty()));
    EXPECT_THAT(RowsOf(recorder), ElementsAreArray(expected));
}

TEST(SchedRecorderTest, KeepsWhatItHasWhenItIsDisarmedAndArmedAnew) {
    SchedRecorder recorder(BusyPlan(), kSeed);
    SchedRecording recording;
    Rearm(recording, 0, 5000000);
    recorder.Advance(kSecondUs, recording);
    Rearm(recording, kSecondUs, std::nullopt);
    recorder.Advance(2 * kSecondUs, recording);
    Rearm(recording, 2 * kSecondUs, 1000000);
    recorder.Advance(3 * kSecondUs, recording);
    std::vector<Row> expected = TrueRows({0, kSecondUs}, 5000);
    const std::vector<Row> later = TrueRows({2 * kSecondUs, 3 * kSecondUs}, 1000);
    ASSERT_THAT(expected, testing::Not(IsEmpty()));
    expected.insert(expected.end(), later.begin(), later.end());
    EXPECT_THAT(RowsOf(recorder), ElementsAreArray(expected));
}

// Another server, which knows when the recorder was armed, knows what it has noted.
TEST(SchedRecorderTest, KnowsTheSameHoweverOftenItIsAsked) {
    SchedRecording recording;
    Rearm(recording, kSecondUs / 2, 2000000);
    Rearm(recording, kSecondUs, std::nullopt);
    SchedRecorder often(BusyPlan(), kSeed);
    for (std::uint64_t timeUs = 0; timeUs <= 2 * kSecondUs; timeUs += 10000) {
        often.Advance(timeUs, recording);
    }
    SchedRecorder once(BusyPlan(), kSeed);
    once.Advance(2 * kSecondUs, recording);
    EXPECT_THAT(RowsOf(often), ElementsAreArray(RowsOf(once)));
    EXPECT_THAT(RowsOf(once), testing::Not(IsEmpty()));
}

TEST(SchedRecorderTest, AddsUpWhatItHasNoted) {
    SchedRecorder recorder(BusyPlan(), kSeed);
    SchedRecording recording;
    Rearm(recording, 0, 0);
    recorder.Advance(kSecondUs, recording);
    std::vector<RecordedSum> sums(3);
    for (const RecordedDelay& noted : recorder.Notes().last) {
        const std::uint64_t lengthUs = noted.delay.toUs - noted.delay.fromUs;
        RecordedSum& sum = sums[noted.delay.task];
        ++sum.delays;
        sum.totalUs += lengthUs;
        sum.greatestUs = std::max(sum.greatestUs, lengthUs);
    }
    for (std::uint32_t i = 0; i < 3; ++i) {
        EXPECT_EQ(recorder.Notes().sums[i].delays, sums[i].delays) << i;
        EXPECT_EQ(recorder.Notes().sums[i].totalUs, sums[i].totalUs) << i;
        EXPECT_EQ(recorder.Notes().sums[i].greatestUs, sums[i].greatestUs) << i;
    }
}

// What a task waited for before is that of the switch that took its core, or of its sleep; who had
// the core until then that of the switch that gave it back.
TEST(SchedRecorderTest, KnowsWhyATaskHadLeftAndWhoWasBeforeIt) {
    SchedRecorder recorder(BusyPlan(), kSeed);
    SchedRecording recording;
    Rearm(recording, 0, 0);
    recorder.Advance(kSecondUs, recording);
    std::vector<SwitchReason> left(3, SwitchReason::kSlept);
    std::vector<std::vector<std::uint64_t>> comes;
    for (const SchedEvent& event : EventsIn(BusyPlan(), kSeed, {0, kSecondUs})) {
        if (event.kind == SchedEventKind::kSwitch && event.task != SchedEvent::kIdleTask) {
            comes.push_back({event.timeUs, event.task, event.current,
                             static_cast<std::uint64_t>(left[event.task])});
        }
        if (event.kind == SchedEventKind::kSwitch && event.current != SchedEvent::kIdleTask) {
            left[event.current] = event.reason;
        }
    }
    std::vector<std::uint64_t> reasons(3);
    for (const RecordedDelay& noted : recorder.Notes().last) {
        const std::vector<std::uint64_t> row{noted.delay.toUs, noted.delay.task, noted.before,
                                             static_cast<std::uint64_t>(noted.left)};
        EXPECT_THAT(comes, testing::Contains(row));
        ++reasons[static_cast<std::size_t>(noted.left)];
    }
    EXPECT_THAT(reasons, testing::Each(testing::Gt(0U)));
}

TEST(SchedRecorderTest, ForgetsTheOldestDelays) {
    SchedPlan plan = BusyPlan();
    for (std::uint32_t i = 0; i < plan.taskCount; ++i) {
        plan.tasks[i].periodUs = 300 + 20 * i;
        plan.tasks[i].runUs = 90;
        plan.tasks[i].lockUseCount = 0;
    }
    SchedRecorder recorder(plan, kSeed);
    SchedRecording recording;
    Rearm(recording, 0, 0);
    recorder.Advance(3 * kSecondUs, recording);
    std::vector<Row> rows;
    for (const SchedDelay& delay : DelaysIn(plan, kSeed, {0, 3 * kSecondUs})) {
        if (delay.toUs > delay.fromUs) {
            rows.push_back(RowOf(delay));
        }
    }
    ASSERT_GT(rows.size(), SchedRecorder::kMostKept);
    rows.erase(rows.begin(), rows.end() - SchedRecorder::kMostKept);
    EXPECT_EQ(RowsOf(recorder), rows);
}

}  // namespace
}  // namespace zarn::board
