#include "board/server/recorder_texts.h"

#include <algorithm>
#include <iomanip>
#include <numeric>
#include <sstream>
#include <string_view>
#include <vector>

#include "board/state/sched_tasks.h"

namespace zarn::board {
namespace {

constexpr std::uint64_t kNsPerUs = 1000;
constexpr std::uint64_t kUsPerS = 1000000;

// What a digit counts; the base or more for what is none.
std::uint64_t ValueOf(char letter) {
    constexpr std::string_view kDigits = "0123456789abcdef0123456789ABCDEF";
    constexpr std::size_t kBase = 16;
    const std::size_t place = kDigits.find(letter);
    return place == std::string_view::npos ? place : place % kBase;
}

// A number in decimal or, behind "0x", in hexadecimal digits, and a newline or none; else 0.
std::uint64_t NumberIn(std::string_view text) {
    if (!text.empty() && text.back() == '\n') {
        text.remove_suffix(1);
    }
    const bool isHexadecimal = text.substr(0, 2) == "0x";
    text.remove_prefix(isHexadecimal ? 2 : 0);
    const std::uint64_t base = isHexadecimal ? 16 : 10;
    std::uint64_t number = 0;
    for (const char letter : text) {
        const std::uint64_t digit = ValueOf(letter);
        if (digit >= base || number > (UINT64_MAX - digit) / base) {
            return 0;
        }
        number = number * base + digit;
    }
    return number;
}

std::string Stamp(const BoardState& state, std::uint64_t timeUs) {
    const std::uint64_t us = UptimeUs(state, timeUs);
    std::ostringstream text;
    text << us / kUsPerS << '.' << std::setw(6) << std::setfill('0') << us % kUsPerS;
    return text.str();
}

// The ids and the name of a task, or those of an idle core.
std::string Who(const BoardState& state, std::uint32_t task) {
    if (task == SchedEvent::kIdleTask) {
        return "tid 0 comm idle";
    }
    return "tid " + std::to_string(SchedTid(state, task)) + " comm " +
           state.scenario.sched.tasks[task].name.data();
}

std::string WhoAndWhose(const BoardState& state, std::uint32_t task) {
    return "pid " + std::to_string(SchedPid(state, task)) + " " + Who(state, task);
}

// The last of the delays that the log and the stacks have a place for.
std::vector<RecordedDelay> Shown(const RecorderView& view) {
    const std::deque<RecordedDelay>& last = view.notes.last;
    const auto count = static_cast<std::ptrdiff_t>(std::min(last.size(), view.settings.delays));
    return {last.end() - count, last.end()};
}

// Where in the kernel a task leaves its core for a reason.
const char* StackOf(SwitchReason reason) {
    switch (reason) {
        case SwitchReason::kSlept:
            return "schedule+0x5c do_nanosleep+0x8c hrtimer_nanosleep+0x94";
        case SwitchReason::kWaitsForLock:
            return "schedule+0x5c futex_wait_queue+0x70 do_futex+0x14c";
        default:
            return "schedule+0x5c exit_to_user_mode_prepare+0x1a0 irqentry_exit_to_user_mode+0x18";
    }
}

}  // namespace

RecorderSettings ReadRecorderSettings(const std::string& control, const std::string& threshold,
                                      const std::string& sizes) {
    RecorderSettings settings;
    if (NumberIn(control) != 0) {
        settings.thresholdNs = NumberIn(threshold);
    }
    const std::size_t comma = sizes.find(',');
    if (comma != std::string::npos) {
        settings.threads = NumberIn(std::string_view(sizes).substr(0, comma));
        settings.delays = NumberIn(std::string_view(sizes).substr(comma + 1));
    }
    return settings;
}

std::string SchedLogText(const RecorderView& view) {
    const std::vector<RecordedDelay> shown = Shown(view);
    std::ostringstream text;
    text << "sched_log: " << shown.size() << " delays\n";
    for (const RecordedDelay& noted : shown) {
        text << Stamp(view.state, noted.delay.toUs) << " cpu " << noted.delay.core << ' '
             << WhoAndWhose(view.state, noted.delay.task) << " latency(ns) "
             << (noted.delay.toUs - noted.delay.fromUs) * kNsPerUs << " behind "
             << Who(view.state, noted.before) << '\n';
    }
    return text.str();
}

std::string SchedTableText(const RecorderView& view) {
    const std::vector<RecordedSum>& sums = view.notes.sums;
    std::vector<std::uint32_t> tasks(sums.size());
    std::iota(tasks.begin(), tasks.end(), 0U);
    tasks.erase(std::remove_if(tasks.begin(), tasks.end(),
                               [&](std::uint32_t task) { return sums[task].delays == 0; }),
                tasks.end());
    std::stable_sort(tasks.begin(), tasks.end(), [&](std::uint32_t a, std::uint32_t b) {
        return sums[a].greatestUs > sums[b].greatestUs;
    });
    tasks.resize(std::min(tasks.size(), view.settings.threads));
    std::ostringstream text;
    text << "sched_table: " << tasks.size() << " threads\n";
    for (const std::uint32_t task : tasks) {
        text << WhoAndWhose(view.state, task) << " delays " << sums[task].delays
             << " max_latency(ns) " << sums[task].greatestUs * kNsPerUs << " total_latency(ns) "
             << sums[task].totalUs * kNsPerUs << '\n';
    }
    return text.str();
}

std::string SchedStacksText(const RecorderView& view) {
    const std::vector<RecordedDelay> shown = Shown(view);
    std::ostringstream text;
    text << "sched_stacks: " << shown.size() << " delays\n";
    for (const RecordedDelay& noted : shown) {
        text << Stamp(view.state, noted.delay.toUs) << ' '
             << WhoAndWhose(view.state, noted.delay.task) << ' ' << StackOf(noted.left) << '\n';
    }
    return text.str();
}

std::string SchedStatusText(const BoardState& state) {
    const SchedRecording& recording = state.schedRecording;
    const auto thresholdNs = ArmedThresholdNs(recording);
    std::ostringstream text;
    text << "scheduler: " << state.scenario.sched.cores << " cores, time 0 is at "
         << Stamp(state, 0) << " s\nrecorder: ";
    if (thresholdNs) {
        text << "armed for delays above " << *thresholdNs << " ns, since "
             << recording.armings[recording.count - 1].fromUs << " us\n";
    } else {
        text << "not armed\n";
    }
    return text.str();
}

}  // namespace zarn::board
