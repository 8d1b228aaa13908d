#include "board/model/event_scheduler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <set>
#include <utility>
#include <vector>

namespace zarn::board {
namespace {

constexpr std::uint64_t kMinuteUs = 60000000;

double All(std::uint64_t /*tickMs*/) {
    return 1.0;
}

// A busy core 1 with two threads, a quiet core 2, a core 3 without any.
EventPlan TwoCores() {
    EventPlan plan;
    plan.groupCount = 1;
    plan.threadCount = 3;
    plan.threads[0] = {0, 0, 1, 1.0};
    plan.threads[1] = {0, 1, 1, 1.0};
    plan.threads[2] = {0, 2, 2, 1.0};
    plan.kindCount = 4;
    plan.kinds[0] = {7, 0, EventKind::kByKernel, 300, 1200.0};
    plan.kinds[1] = {8, 1, 0, 700, 500.0};
    plan.kinds[2] = {9, 2, 0, 400, 300.0};
    plan.kinds[3] = {10, 2, EventKind::kByKernel, 100, 50.0};
    return plan;
}

// One kind for one thread on core 1.
EventPlan OneKind(double ratePerS, std::uint32_t runUs) {
    EventPlan plan;
    plan.groupCount = 1;
    plan.threadCount = 1;
    plan.kindCount = 1;
    plan.kinds[0] = {7, 0, EventKind::kByKernel, runUs, ratePerS};
    return plan;
}

std::uint64_t LateOf(const EventScheduler& scheduler, EventList list) {
    const auto& counts = scheduler.Late(list).ofKind;
    return std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
}

TEST(EventSchedulerTest, WhatIsPublishedHasRunOrRunsOrWaits) {
    EventScheduler scheduler(TwoCores(), 3, 0);
    for (std::uint64_t us = 0; us <= kMinuteUs; us += 777) {
        scheduler.Advance(us, All);
        EventCounts ofKinds;
        for (std::size_t kind = 0; kind < scheduler.Plan().kindCount; ++kind) {
            ofKinds.published += scheduler.OfKind(kind).published;
            ofKinds.run += scheduler.OfKind(kind).run;
        }
        std::size_t waiting = 0;
        for (const EventCore& core : scheduler.Cores()) {
            ASSERT_EQ(core.counts.published, core.counts.run + core.queue.size()) << us;
            ASSERT_EQ(core.waits.count, core.counts.run);
            waiting += core.queue.size();
        }
        ASSERT_EQ(ofKinds.published, ofKinds.run + waiting) << us;
        ASSERT_EQ(scheduler.OfNode().published, ofKinds.published);
        ASSERT_LE(waiting, scheduler.MostWaiting());
    }
    EXPECT_NEAR(static_cast<double>(scheduler.OfNode().published), 2050.0 * 60.0, 1000.0);
    EXPECT_EQ(scheduler.Cores()[2].counts.published, 0U);
}

TEST(EventSchedulerTest, MeanQueueIsRateTimesMeanWait) {
    for (std::uint64_t seed = 1; seed <= 5; ++seed) {
        EventScheduler scheduler(TwoCores(), seed, 0);
        scheduler.Advance(kMinuteUs, All);
        for (std::size_t i = 0; i < 2; ++i) {
            const EventCore& core = scheduler.Cores()[i];
            const double queue = static_cast<double>(core.queueTimeUs) / kMinuteUs;
            const double rate = static_cast<double>(core.counts.published) / kMinuteUs;
            const double wait =
                static_cast<double>(core.waits.sumUs) / static_cast<double>(core.waits.count);
            EXPECT_NEAR(rate * wait / queue, 1.0, 0.05) << "seed " << seed << " core " << i;
        }
    }
}

// The mean wait of random arrivals with rate r at one server is r * E[S^2] / (2 * (1 - r * E[S])).
TEST(EventSchedulerTest, EventsWaitAsLongAsTheTheoryOfQueuesSays) {
    constexpr double kRate = 600.0;
    constexpr double kRunUs = 1000.0;
    EventPlan plan = OneKind(kRate, static_cast<std::uint32_t>(kRunUs));
    plan.wakeupUs = 0;
    const double mean = kRunUs * (511.0 + 4.0) / 512.0;
    const double meanSquare = kRunUs * kRunUs * 13.0 / 12.0 * (511.0 + 16.0) / 512.0;
    const double rate = kRate / 1e6;
    EventScheduler scheduler(plan, 11, 0);
    scheduler.Advance(20 * kMinuteUs, All);
    const TimeFigures waits = scheduler.WaitTimes();
    EXPECT_NEAR(static_cast<double>(waits.sumUs) / static_cast<double>(waits.count),
                rate * meanSquare / (2.0 * (1.0 - rate * mean)), 25.0);
}

TEST(EventSchedulerTest, WhenSomebodyLooksChangesNothing) {
    EventScheduler once(TwoCores(), 5, 1000);
    once.Advance(10000000, All);
    EventScheduler often(TwoCores(), 5, 1000);
    for (std::uint64_t us = 1000; us < 10000000; us += 1 + us % 9973) {
        often.Advance(us, All);
    }
    often.Advance(10000000, All);
    for (std::size_t i = 0; i < kAiCpus; ++i) {
        EXPECT_EQ(often.Cores()[i].counts.run, once.Cores()[i].counts.run);
        EXPECT_EQ(often.Cores()[i].waits.sumUs, once.Cores()[i].waits.sumUs);
        EXPECT_EQ(often.Cores()[i].queueTimeUs, once.Cores()[i].queueTimeUs);
    }
    EXPECT_EQ(often.Trace().back().startUs, once.Trace().back().startUs);
    EventScheduler other(TwoCores(), 6, 1000);
    other.Advance(10000000, All);
    EXPECT_NE(other.WaitTimes().sumUs, once.WaitTimes().sumUs);
}

// The times of the first runs of a plan, whose events are far apart.
std::vector<double> FirstRuns(const EventPlan& plan, const EventScheduler::ServedAt& served) {
    EventScheduler scheduler(plan, 9, 0);
    scheduler.Advance(kMinuteUs, served);
    std::vector<double> times;
    for (const EventRun& run : scheduler.Trace()) {
        times.push_back(static_cast<double>(run.us));
    }
    return times;
}

TEST(EventSchedulerTest, RunsTakeLongerWithLessMemoryAndOnASlowThread) {
    EventPlan plan = OneKind(1.0, 10000);
    plan.memoryPart = 0.5;
    const std::vector<double> times = FirstRuns(plan, All);
    const std::vector<double> starved =
        FirstRuns(plan, [](std::uint64_t /*tickMs*/) { return 0.25; });
    plan.threads[0].slow = 4.0;
    const std::vector<double> slow = FirstRuns(plan, All);
    ASSERT_GT(times.size(), 40U);
    ASSERT_EQ(starved.size(), times.size());
    ASSERT_EQ(slow.size(), times.size());
    for (std::size_t i = 0; i < times.size(); ++i) {
        EXPECT_NEAR(starved[i], times[i] * 2.5, 2.0);
        EXPECT_NEAR(slow[i], times[i] * 4.0, 3.0);
    }
}

TEST(EventSchedulerTest, TheMemoryIsAskedForOncePerTick) {
    std::vector<std::uint64_t> ticks;
    EventScheduler scheduler(TwoCores(), 1, 0);
    scheduler.Advance(1000000, [&ticks](std::uint64_t tickMs) {
        ticks.push_back(tickMs);
        return 1.0;
    });
    EXPECT_EQ(ticks, (std::vector<std::uint64_t>{0, 100, 200, 300, 400, 500, 600, 700, 800, 900}));
}

TEST(EventSchedulerTest, AnEventThatFindsNoPlaceIsNotPublished) {
    EventPlan plan = OneKind(1000.0, 3000);
    plan.pool = 100000;
    EventScheduler roomy(plan, 2, 0);
    roomy.Advance(10000000, All);
    plan.pool = 20;
    EventScheduler tight(plan, 2, 0);
    tight.Advance(10000000, All);
    const EventCore& core = tight.Cores()[0];
    EXPECT_EQ(roomy.Cores()[0].failures, 0U);
    EXPECT_EQ(core.mostWaiting, 20U);
    EXPECT_EQ(tight.MostWaiting(), 20U);
    EXPECT_GT(core.failures, 5000U);
    EXPECT_EQ(core.counts.published + core.failures, roomy.Cores()[0].counts.published);
}

// Looked at often enough, the lists show every event over the threshold, each by its own stamp.
TEST(EventSchedulerTest, TheListsShowExactlyWhatIsOverTheThreshold) {
    EventPlan plan = TwoCores();
    plan.thresholdUs = {900, 30, 4000, 60, 100};
    EventScheduler scheduler(plan, 4, 0);
    PerEventList<std::set<std::uint64_t>> stamps;
    for (std::uint64_t us = 0; us <= kMinuteUs; us += 50000) {
        scheduler.Advance(us, All);
        for (std::size_t list = 0; list < kEventLists; ++list) {
            const LateEvents& late = scheduler.Late(static_cast<EventList>(list));
            ASSERT_LE(late.last.size(), LateEvents::kKept);
            for (const LateEvent& event : late.last) {
                ASSERT_GT(event.us, plan.thresholdUs[list]);
                stamps[list].insert(event.startUs);
            }
        }
    }
    for (std::size_t list = 0; list < kEventLists; ++list) {
        EXPECT_GT(stamps[list].size(), 20U) << list;
        EXPECT_EQ(stamps[list].size(), LateOf(scheduler, static_cast<EventList>(list))) << list;
    }
    EXPECT_EQ(scheduler.Late(EventList::kSyscall).ofKind[0], 0U);
    EXPECT_EQ(scheduler.Late(EventList::kKernel).ofKind[1], 0U);
}

TEST(EventSchedulerTest, ASlowThreadIsFirstAmongTheLateRuns) {
    EventPlan plan = TwoCores();
    plan.thresholdUs[static_cast<std::size_t>(EventList::kRun)] = 1200;
    plan.threads[2].slow = 5.0;
    EventScheduler scheduler(plan, 8, 0);
    scheduler.Advance(kMinuteUs, All);
    const auto& counts = scheduler.Late(EventList::kRun).ofKind;
    EXPECT_GT(counts[2], 10 * (counts[0] + counts[1] + 1));
}

TEST(EventSchedulerTest, WithoutEventsNothingHappens) {
    EventScheduler scheduler(EventPlan{}, 1, 0);
    scheduler.Advance(kMinuteUs, All);
    EXPECT_EQ(scheduler.OfNode().published, 0U);
    EXPECT_EQ(scheduler.NowUs(), kMinuteUs);
    EXPECT_EQ(scheduler.WaitTimes().MeanUs(), 0U);
}

TEST(EventSchedulerTest, NothingHappensBeforeTheBegin) {
    EventScheduler scheduler(TwoCores(), 1, kMinuteUs);
    scheduler.Advance(kMinuteUs - 1, All);
    EXPECT_EQ(scheduler.OfNode().published, 0U);
    scheduler.Advance(kMinuteUs + 1000000, All);
    EXPECT_GT(scheduler.OfNode().published, 1000U);
    EXPECT_GT(scheduler.Trace().front().startUs, kMinuteUs);
}

}  // namespace
}  // namespace zarn::board
