#include "board/perf/stat_table.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

#include "board/perf/stat_text.h"
#include "foundation/zarn_utils.h"

namespace zarn::board {
namespace {

constexpr std::uint64_t kTableStream = 19;
constexpr std::uint64_t kTurnStream = 20;
constexpr double kNsPerMsec = 1e6;
constexpr double kNsPerSecond = 1e9;
constexpr std::string_view kClock = "task-clock";

// Widths of the columns.
constexpr int kCountWidth = 18;
constexpr int kNameWidth = 32;
constexpr int kShortNameWidth = 25;  // without a count
constexpr int kMeaningWidth = 35;
constexpr int kNumberWidth = 8;
constexpr int kWordsWidth = 23;

std::string Padded(const std::string& text, int width) {
    std::string padded = text;
    padded.resize(std::max(padded.size(), static_cast<std::size_t>(width)), ' ');
    return padded;
}

std::string RightOf(const std::string& text, std::size_t width) {
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

// ---- What a count means

const TableRow* FindCounted(const std::vector<TableRow>& rows, std::string_view name) {
    for (const TableRow& row : rows) {
        if (row.name == name && row.kind == TableRow::Kind::Counted) {
            return &row;
        }
    }
    return nullptr;
}

// An event whose meaning is its share of another one's count.
struct Share {
    std::string_view name;
    std::string_view whole;
    int decimals;
    const char* words;
};

constexpr std::array<Share, 8> kShares{{
    {"branch-misses", "branches", 2, "of all branches"},
    {"stalled-cycles-frontend", "cycles", 2, "frontend cycles idle"},
    {"stalled-cycles-backend", "cycles", 2, "backend cycles idle"},
    {"cache-misses", "cache-references", 3, "of all cache refs"},
    {"LLC-load-misses", "LLC-loads", 2, "of all LL-cache accesses"},
    {"L1-dcache-load-misses", "L1-dcache-loads", 2, "of all L1-dcache accesses"},
    {"dTLB-load-misses", "dTLB-loads", 2, "of all dTLB cache accesses"},
    {"iTLB-load-misses", "iTLB-loads", 2, "of all iTLB cache accesses"},
}};

// A number, what stands behind it at once, and words.
std::string Meaning(double value, int decimals, const std::string& sign, const std::string& words) {
    const std::string number = FloatToString(value, decimals) + sign;
    return " # " + RightOf(number, kNumberWidth) + " " + Padded(words, kWordsWidth);
}

std::string Rate(double count, double clockNs) {
    double rate = count * kNsPerSecond / clockNs;
    const char* unit = "";
    for (const char* larger : {"K", "M", "G"}) {
        if (rate < 1000.0) {
            break;
        }
        rate /= 1000.0;
        unit = larger;
    }
    return Meaning(rate, 3, "", std::string(unit) + "/sec");
}

std::string MeaningOf(const TableRow& row, const std::vector<TableRow>& rows,
                      double elapsedSeconds) {
    for (const Share& share : kShares) {
        const TableRow* whole = FindCounted(rows, share.whole);
        if (row.name == share.name && whole != nullptr && whole->count > 0.0) {
            return Meaning(100.0 * row.count / whole->count, share.decimals, "%", share.words);
        }
    }
    const TableRow* cycles = FindCounted(rows, "cycles");
    if (row.name == "instructions" && cycles != nullptr && cycles->count > 0.0) {
        return Meaning(row.count / cycles->count, 2, " ", "insn per cycle");
    }
    if (row.name == kClock) {
        return Meaning(row.count / kNsPerSecond / elapsedSeconds, 3, "", "CPUs utilized");
    }
    const TableRow* clock = FindCounted(rows, kClock);
    if (clock == nullptr || clock->count <= 0.0) {
        return std::string(kMeaningWidth, ' ');
    }
    const double clockNs = row.clockNs > 0.0 ? row.clockNs : clock->count;
    return row.name == "cycles" ? Meaning(row.count / clockNs, 3, "", "GHz")
                                : Rate(row.count, clockNs);
}

// ---- Rows

std::string RowText(const TableRow& row, const std::vector<TableRow>& rows, double elapsedSeconds) {
    if (row.kind != TableRow::Kind::Counted) {
        const char* why =
            row.kind == TableRow::Kind::NotCounted ? "<not counted>" : "<not supported>";
        return RightOf(why, kCountWidth) + "      " + Padded(row.name, kShortNameWidth) +
               std::string(kMeaningWidth, ' ') + "\n";
    }
    const bool isClock = row.name == kClock;
    const std::string count =
        isClock ? FloatToString(row.count / kNsPerMsec, 2) : FloatToString(row.count, 0);
    const std::string turn =
        row.percent < 100.0 ? "  (" + FloatToString(row.percent, 2) + "%)" : "";
    return RightOf(count, kCountWidth) + (isClock ? " msec " : "      ") +
           Padded(row.name, kNameWidth) + MeaningOf(row, rows, elapsedSeconds) + turn + "\n";
}

std::string TargetText(const PerfCall& call) {
    std::string list;
    if (!call.pids.empty()) {
        for (const std::uint32_t pid : call.pids) {
            list += (list.empty() ? "" : ",") + std::to_string(pid);
        }
        return "process id '" + list + "'";
    }
    for (std::uint32_t core = 0; call.cores && core < 32; ++core) {
        if ((*call.cores >> core & 1U) != 0) {
            list += (list.empty() ? "" : ",") + std::to_string(core);
        }
    }
    return call.cores ? "CPU(s) " + list : "'system wide'";
}

// The event's count in full, nothing for one that the processor lacks.
std::optional<double> CountOf(const BoardState& state, const AskedEvent& event,
                              const std::vector<WorkPiece>& work) {
    if (event.code) {
        const auto known = EventOfCode(*event.code);
        return known ? std::optional(CountsOf(state, work)[*known]) : std::nullopt;
    }
    const bool isSupported =
        event.standard &&
        (state.scenario.unsupportedEvents >> static_cast<std::size_t>(*event.standard) & 1U) == 0;
    return isSupported ? std::optional(StandardCountsOf(state, work)[*event.standard])
                       : std::nullopt;
}

}  // namespace

std::vector<TableRow> BoardRows(const BoardState& state, const PerfCall& call,
                                const CpuTarget& target, const BoardSpan& span) {
    const std::vector<WorkPiece> work = WorkOf(state, target, span);
    const double enabledNs = EnabledNs(work, target, span);
    const auto software = static_cast<std::size_t>(
        std::count_if(call.events.begin(), call.events.end(),
                      [](const AskedEvent& event) { return event.software.has_value(); }));
    const double groups = static_cast<double>(call.groups - std::min(call.groups, software));
    std::vector<TableRow> rows;
    for (const AskedEvent& event : call.events) {
        TableRow row;
        row.name = event.text;
        if (const auto count = CountOf(state, event, work)) {
            row.clockNs = enabledNs;
            row.kind = enabledNs >= 1.0 ? TableRow::Kind::Counted : TableRow::Kind::NotCounted;
            row.count = *count;
            if (groups > kCounterGroups) {
                // Which of the rows it is, so that two calls agree.
                const std::uint64_t place = rows.size();
                row.count *=
                    1.0 + kCountSwing * SwingOf(state.seed, kTableStream, place, span.toMs);
                row.percent =
                    100.0 * kCounterGroups / groups *
                    (1.0 + kShareSwing * SwingOf(state.seed, kTurnStream, place, span.toMs));
            }
        }
        rows.push_back(row);
    }
    return rows;
}

std::string StatTable(const PerfCall& call, const std::vector<TableRow>& rows,
                      double elapsedSeconds) {
    std::string text = "\n Performance counter stats for " + TargetText(call) + ":\n\n";
    for (const TableRow& row : rows) {
        text += RowText(row, rows, elapsedSeconds);
    }
    return text + "\n" + RightOf(FloatToString(elapsedSeconds, 9), kCountWidth) +
           " seconds time elapsed\n\n";
}

}  // namespace zarn::board
