#pragma once

#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

#include "analyzers/correlation/column_join.h"
#include "formats/sched_timehist.h"

namespace zarn {

// What the scheduler's columns show of a row of a history.
inline constexpr const char* kSchedColumns[] = {"cpu", "task_name", "wait_time", "sch_delay",
                                                "run_time"};
inline constexpr std::size_t kSchedColumnCount = std::size(kSchedColumns);

// Rows of a log of `perf sched timehist`. Lines that are no row, or have no moment, are passed
// over. A "," in a cell becomes a blank.
class SchedRows final : public SourceRows {
public:
    // `next`: the lines of the log; `boot`: as BootClock takes it.
    SchedRows(NextLine next, const std::string& boot) : next_(std::move(next)), clock_(boot) {}

    // How many were taken.
    [[nodiscard]] std::size_t Taken() const { return taken_; }

    [[nodiscard]] bool Next() override;
    [[nodiscard]] const TimeDigits& Time() const override { return time_; }
    void AppendCells(std::string& line) const override;

private:
    NextLine next_;
    BootClock clock_;
    std::size_t headLines_ = kTimehistHeadLines;  // still to come
    std::size_t taken_ = 0;
    TimehistRow row_;
    TimeDigits time_;
};

}  // namespace zarn
