#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "analyzers/aicpu/raw_sections.h"
#include "analyzers/aicpu/section_values.h"

// Events that took longer than the scheduler's thresholds.
namespace zarn {

// One of the lists: what it is called in documents, where it stands, and in which field of its
// lines the pid, from 0.
struct AbnormalList {
    const char* name;
    const char* events;
    const char* threshold;
    std::size_t pidField;
    bool ofComplex;  // ranked for the whole complex, too
};

inline constexpr std::array<AbnormalList, 5> kAbnormalLists = {{
    {"thread_proc", "node_sched_proc_abnormal_event",
     "node_sched_proc_abnormal_time_in_microsecond", 2, true},
    {"kernel_proc", "node_sched_publish_in_kernel_abnormal_event",
     "node_sched_publish_in_kernel_abnormal_time_in_microsecond", 3, false},
    {"subs_proc", "node_sched_publish_subscribe_abnormal_event",
     "node_sched_publish_subscribe_abnormal_time_in_microsecond", 4, true},
    {"syscall_proc", "node_sched_publish_syscall_abnormal_event",
     "node_sched_publish_syscall_abnormal_time_in_microsecond", 3, false},
    {"wakeup_proc", "node_sched_wakeup_abnormal_event",
     "node_sched_wakeup_abnormal_time_in_microsecond", 5, true},
}};

// A thread, "pid:name", and how many events of it were met.
using ThreadCount = std::pair<std::string, std::uint64_t>;

// A list of events, "event,start,...,thread", of all passes. Each event counts once, however many
// passes show it: its start, in microseconds, tells it from the others. Skips: lines of fewer than
// eight fields, such as torn ones, and those whose start or pid is no number, such as a head line.
class AbnormalEventReader final : public PassReader {
public:
    AbnormalEventReader(std::size_t pidField, std::uint32_t ownPid)
        : pidField_(pidField), ownPid_(ownPid) {}

    void BeginPass() override {}
    void Take(std::string_view line) override;
    [[nodiscard]] bool MakesSense() const override { return true; }

    // The most frequent thread first, equal ones in the order of their texts.
    [[nodiscard]] std::vector<ThreadCount> Ranked() const;
    // The starts of those of the own process, in the order in which they were met.
    [[nodiscard]] const std::vector<std::uint64_t>& OwnStarts() const { return ownStarts_; }

private:
    std::size_t pidField_;
    std::uint32_t ownPid_;
    NumberSet starts_;
    std::unordered_map<std::string, std::uint64_t> counts_;
    std::vector<std::uint64_t> ownStarts_;
    std::string key_;
};

// A threshold: the first line of the last pass that is not empty. Refuses a pass without one.
class ThresholdReader final : public PassReader {
public:
    void BeginPass() override { value_.clear(); }
    void Take(std::string_view line) override;
    [[nodiscard]] bool MakesSense() const override { return !value_.empty(); }

    [[nodiscard]] const std::string& Value() const { return value_; }

private:
    std::string value_;
};

}  // namespace zarn
