#include "board/perf/stat_text.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "foundation/zarn_utils.h"

namespace zarn::board {
namespace {

constexpr std::uint64_t kCounterStream = 12;
constexpr std::uint64_t kShareStream = 13;
constexpr std::uint64_t kClockStream = 14;
constexpr std::uint64_t kNsPerMs = 1000000;
constexpr std::uint64_t kNsPerSecond = 1000000000;

// What was counted while it had its turn, as perf makes it a count of the whole time.
struct Counted {
    double count = 0.0;
    double runNs = 0.0;
    double percent = 100.0;
};

// Nothing refills more than it is asked for, whatever the turns leave out.
void KeepWithin(CpuCounts& counts) {
    using Event = CpuEvent;
    constexpr std::array<std::pair<Event, Event>, 6> kParts{{
        {Event::L2iRefill, Event::L2iAccess},
        {Event::L2iTlbRefill, Event::L2iTlbAccess},
        {Event::L2MissOpen, Event::L1MissOpen},
        {Event::InstRetired, Event::InstSpec},
        {Event::LongFetchBubble, Event::FetchBubble},
        {Event::NukeFlush, Event::Flush},
    }};
    for (const auto& [part, whole] : kParts) {
        counts[part] = std::min(counts[part], counts[whole]);
    }
}

// The counts as a processor gives them that has fewer counters than groups.
CpuCounts Estimates(const BoardState& state, CpuCounts counts, std::uint64_t timeMs) {
    for (std::size_t i = 0; i < kCpuEventCount; ++i) {
        counts[static_cast<CpuEvent>(i)] *=
            1.0 + kCountSwing * SwingOf(state.seed, kCounterStream, kCpuEventCodes[i], timeMs);
    }
    KeepWithin(counts);
    return counts;
}

// Seconds since the start; what is below the board's milliseconds is made up.
std::string ClockText(const BoardState& state, std::uint64_t startMs, std::uint64_t nowMs) {
    const std::uint64_t ns =
        (nowMs - startMs) * kNsPerMs + HashOf(state.seed, kClockStream, startMs, nowMs) % kNsPerMs;
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%6llu.%09llu",
                  static_cast<unsigned long long>(ns / kNsPerSecond),
                  static_cast<unsigned long long>(ns % kNsPerSecond));
    return text.data();
}

std::string CountText(const AskedEvent& event, const Counted& counted) {
    if (!EventOfCode(event.code.value_or(0))) {
        return "<not supported>";
    }
    return counted.runNs < 1.0 ? "<not counted>" : FloatToString(counted.count, 0);
}

std::string RowOf(const AskedEvent& event, const Counted& counted, const std::string& separator) {
    const bool isCounted = CountText(event, counted).front() != '<';
    return CountText(event, counted) + separator + separator + event.text + separator +
           (isCounted ? FloatToString(counted.runNs, 0) : "0") + separator +
           FloatToString(isCounted ? counted.percent : 100.0, 2) + separator + separator + "\n";
}

}  // namespace

double EnabledNs(const std::vector<WorkPiece>& work, const CpuTarget& target,
                 const BoardSpan& span) {
    double cycles = 0.0;
    for (const WorkPiece& piece : work) {
        cycles += piece.cycles;
    }
    if (target.cores == 0) {
        return cycles / kCpuHz * static_cast<double>(kNsPerSecond);
    }
    double cores = 0.0;
    for (std::uint32_t bits = target.cores; bits != 0; bits &= bits - 1) {
        ++cores;
    }
    return static_cast<double>((span.toMs - span.fromMs) * kNsPerMs) * cores;
}

std::string StatHead(const std::string& when) {
    return "# started on " + when + "\n\n";
}

CpuTarget TargetOf(const BoardState& state, const PerfCall& call, std::uint32_t programs) {
    if (!call.pids.empty()) {
        return {0, programs};
    }
    return call.cores ? CpuTarget{*call.cores, 0} : call.allCores ? AllCores(state) : CpuTarget{};
}

std::string StatRows(const BoardState& state, const PerfCall& call, const CpuTarget& target,
                     std::uint64_t startMs, const BoardSpan& span) {
    const std::vector<WorkPiece> work = WorkOf(state, target, span);
    const bool inTurns = static_cast<double>(call.groups) > kCounterGroups;
    const CpuCounts exact = CountsOf(state, work);
    const CpuCounts counts = inTurns ? Estimates(state, exact, span.toMs) : exact;
    const double enabledNs = EnabledNs(work, target, span);
    std::string rows;
    for (const AskedEvent& event : call.events) {
        const std::uint32_t code = event.code.value_or(0);
        Counted counted;
        if (const auto known = EventOfCode(code)) {
            counted.count = counts[*known];
        }
        if (inTurns) {
            counted.percent *=
                kCounterGroups / static_cast<double>(call.groups) *
                (1.0 + kShareSwing * SwingOf(state.seed, kShareStream, code, span.toMs));
        }
        counted.runNs = enabledNs * counted.percent / 100.0;
        const std::string clock =
            call.intervalMs > 0 ? ClockText(state, startMs, span.toMs) + call.separator : "";
        rows += clock + RowOf(event, counted, call.separator);
    }
    return rows;
}

}  // namespace zarn::board
