#include "board/server/proc_stat.h"

#include <fcntl.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <iomanip>
#include <sstream>

#include "foundation/files.h"
#include "foundation/text.h"

namespace zarn::board {
namespace {

constexpr const char* kPath = "/proc/stat";
constexpr int kTicksWidth = 10;  // 32 cores for a month
constexpr int kCountWidth = 15;
constexpr int kCoresWidth = 2;
constexpr std::uint64_t kNsPerUs = 1000;
constexpr std::uint64_t kNsPerSecond = 1000000000;

void AddLine(std::ostringstream& text, const std::string& name, const CoreTicks& ticks) {
    text << std::left << std::setw(5) << name << std::right << ' ' << std::setw(kTicksWidth)
         << ticks.user << ' ' << std::setw(kTicksWidth) << ticks.nice << " 0 "
         << std::setw(kTicksWidth) << ticks.idle << " 0 0 0 0 0 0\n";
}

// At each tick of the board's clock, from its next one on.
int StartClock(const BoardState& state) {
    constexpr std::uint64_t kTickNs = kClockTickUs * kNsPerUs;
    const std::uint64_t nextNs = state.startNs + (BoardTimeUs(state) / kClockTickUs + 1) * kTickNs;
    itimerspec ticks{};
    ticks.it_value.tv_sec = static_cast<time_t>(nextNs / kNsPerSecond);
    ticks.it_value.tv_nsec = static_cast<long>(nextNs % kNsPerSecond);
    ticks.it_interval.tv_nsec = static_cast<long>(kTickNs);
    const int clock = ::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC);
    (void)::timerfd_settime(clock, TFD_TIMER_ABSTIME, &ticks, nullptr);
    return clock;
}

}  // namespace

std::string ProcStatText(std::string_view last, const CoreTimes& times) {
    CoreTicks sum;
    for (const CoreTicks& core : times.Cores()) {
        sum.user += core.user;
        sum.nice += core.nice;
        sum.idle += core.idle;
    }
    std::ostringstream text;
    AddLine(text, "cpu", sum);
    for (std::size_t i = 0; i < times.Cores().size(); ++i) {
        AddLine(text, "cpu" + std::to_string(i), times.Cores()[i]);
    }
    LineCursor lines(last);
    for (std::string_view line; lines.Next(line);) {
        if (StartsWith(line, "ctxt ")) {
            text << "ctxt " << std::setw(kCountWidth) << times.Switches() << '\n';
        } else if (StartsWith(line, "procs_running ")) {
            text << "procs_running " << std::setw(kCoresWidth) << times.Running() << '\n';
        } else if (!StartsWith(line, "cpu")) {
            text << line << '\n';
        }
    }
    return text.str();
}

bool LayProcStat(const BoardState& state, const std::string& files) {
    std::string machine;
    // Without the machine's the file tells of the cores alone.
    (void)ReadFile(kPath, machine);
    const std::string text = ProcStatText(machine, CoreTimes(state.scenario.sched, state.seed));
    return WriteFile(files + kPath, text) == FileResult::Ok;
}

ProcStat::ProcStat(const BoardState& state, const std::string& files)
    : state_(state),
      isThere_(state.scenario.sched.cores > 0),
      times_(state.scenario.sched, state.seed) {
    if (!isThere_) {
        return;
    }
    const std::string path = files + kPath;
    file_ = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    clock_ = StartClock(state);
    (void)ReadFile(path, text_);
}

ProcStat::~ProcStat() {
    for (const int fd : {file_, clock_}) {
        if (fd >= 0) {
            ::close(fd);
        }
    }
}

void ProcStat::Answer() {
    std::uint64_t ticks = 0;
    while (::read(clock_, &ticks, sizeof(ticks)) > 0) {
        // How many ticks are over, the board's time says.
    }
    (void)Refresh();
}

bool ProcStat::Refresh() {
    if (!isThere_) {
        return true;
    }
    times_.Advance(BoardTimeUs(state_) / kClockTickUs);
    text_ = ProcStatText(text_, times_);
    return ::pwrite(file_, text_.data(), text_.size(), 0) == static_cast<ssize_t>(text_.size());
}

}  // namespace zarn::board
