#include "board/perf/stat.h"

#include <array>
#include <chrono>
#include <ctime>

#include "board/perf/machine_counters.h"
#include "board/perf/machine_perf.h"
#include "board/perf/measured_command.h"
#include "board/perf/perf_status.h"
#include "board/perf/processes.h"
#include "board/perf/stat_table.h"
#include "board/perf/stat_text.h"
#include "foundation/console.h"
#include "foundation/files.h"

namespace zarn::board {
namespace {

std::string Now() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    ::localtime_r(&now, &parts);
    std::array<char, 64> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%a %b %e %H:%M:%S %Y", &parts)};
}

// Where the rows go: a file, or the error stream.
class StatOutput {
public:
    explicit StatOutput(const std::string& path) : path_(path) {}

    [[nodiscard]] bool Begin() const {
        return path_.empty() || WriteFile(path_, StatHead(Now())) == FileResult::Ok;
    }

    void Add(std::string rows) const {
        if (!path_.empty()) {
            (void)AppendFile(path_, rows);
            return;
        }
        rows.pop_back();
        PrintError(rows);
    }

private:
    const std::string& path_;
};

// Counts from the last rows on.
class Counting {
public:
    Counting(BoardState& state, const PerfCall& call, const CpuTarget& target)
        : state_(state),
          call_(call),
          target_(target),
          startMs_(BoardTimeMs(state)),
          lastMs_(startMs_) {}

    // How long until the next rows; nothing: until the end.
    [[nodiscard]] std::optional<std::uint64_t> Patience() const {
        if (call_.intervalMs == 0) {
            return std::nullopt;
        }
        // The next one of the even moments: a row that came late does not have the others follow at
        // once.
        const std::uint64_t done = (lastMs_ - startMs_) / call_.intervalMs;
        const std::uint64_t dueMs = startMs_ + (done + 1) * call_.intervalMs;
        const std::uint64_t nowMs = BoardTimeMs(state_);
        return dueMs > nowMs ? dueMs - nowMs : 0;
    }

    [[nodiscard]] bool IsDue() const { return Patience() == std::uint64_t{0}; }

    [[nodiscard]] std::string Rows() {
        const BoardSpan span{lastMs_, BoardTimeMs(state_)};
        lastMs_ = span.toMs;
        const BoardLock lock(state_);
        return StatRows(state_, call_, target_, startMs_, span);
    }

private:
    BoardState& state_;
    const PerfCall& call_;
    CpuTarget target_;
    std::uint64_t startMs_;
    std::uint64_t lastMs_;
};

// Counts once, from now to the end.
class TableCounting {
public:
    TableCounting(BoardState& state, const PerfCall& call, const CpuTarget& target)
        : state_(state),
          call_(call),
          target_(target),
          machine_(call),
          startMs_(BoardTimeMs(state)),
          start_(std::chrono::steady_clock::now()) {}

    [[nodiscard]] std::string Table() const {
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start_;
        const BoardSpan span{startMs_, BoardTimeMs(state_)};
        std::vector<TableRow> rows;
        {
            const BoardLock lock(state_);
            rows = BoardRows(state_, call_, target_, span);
        }
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const auto software = call_.events[i].software;
            if (const auto count = software ? machine_.Count(*software) : std::nullopt) {
                rows[i].kind = TableRow::Kind::Counted;
                rows[i].count = *count;
            }
        }
        return StatTable(call_, rows, elapsed.count());
    }

private:
    BoardState& state_;
    const PerfCall& call_;
    CpuTarget target_;
    MachineCounters machine_;
    std::uint64_t startMs_;
    std::chrono::steady_clock::time_point start_;
};

int Fail(const std::string& text, int status) {
    PrintError(text);
    return status;
}

void CountForRows(BoardState& state, const PerfCall& call, const CpuTarget& target,
                  MeasuredCommand& command, const StatOutput& output) {
    Counting counting(state, call, target);
    while (command.Wait(counting.Patience()) == MeasuredCommand::Wake::Time) {
        if (counting.IsDue()) {
            output.Add(counting.Rows());
        }
    }
    output.Add(counting.Rows());
}

void CountForTable(BoardState& state, const PerfCall& call, const CpuTarget& target,
                   MeasuredCommand& command, const StatOutput& output) {
    WarnIfTraced();  // the events of software are the machine's
    const TableCounting counting(state, call, target);
    while (command.Wait(std::nullopt) == MeasuredCommand::Wake::Time) {
    }
    output.Add(counting.Table());
}

}  // namespace

int RunStat(const PerfCall& call) {
    const bool isTable = call.separator.empty();
    if ((isTable && call.intervalMs > 0) || !call.problem.empty()) {
        const std::string why = call.problem.empty()
                                    ? "the board's counters have intervals with -x alone"
                                    : call.problem;
        return Fail("perf stat: " + why, kBadPerfCall);
    }
    BoardState* state = AttachBoard();
    if (state == nullptr) {
        return Fail("perf stat: there is no board", kPerfFailed);
    }
    const auto programs = ProgramsOf(*state, call.pids);
    if (!programs) {
        return Fail("Problems finding threads of monitor", kNoSuchProcess);
    }
    if (!call.pids.empty() && (call.allCores || call.cores)) {
        PrintError(call.cores ? "PID/TID switch overriding CPU"
                              : "PID/TID switch overriding SYSTEM");
    }
    const StatOutput output(call.output);
    if (!output.Begin()) {
        return Fail("failed to create output file: " + call.output, kPerfFailed);
    }
    auto command = MeasuredCommand::Start(call.command);
    if (!command) {
        return kPerfFailed;
    }
    const CpuTarget target = TargetOf(*state, call, *programs);
    if (isTable) {
        CountForTable(*state, call, target, *command, output);
    } else {
        CountForRows(*state, call, target, *command, output);
    }
    return command->Finish();
}

}  // namespace zarn::board
