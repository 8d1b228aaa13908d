#pragma once

#include <string>
#include <vector>

#include "analyzers/sched/latency_ranking.h"
#include "formats/sched_timehist.h"
#include "kit/event_writer.h"

// The elements of the documents of the scheduler's analyzer.
namespace zarn {

// What a latency document tells: a task of the top list and the threads that have its name.
struct LatencyFindings {
    std::vector<LatencyCells> top;
    std::vector<std::vector<LatencyCells>> threads;  // of each of `top`
};

// Writes an element for the whole top list and one for each of its tasks; `bootTime` stands in
// each. False after its lines if one has no rows or a delay that is no number.
[[nodiscard]] bool WriteLatencyFindings(const LatencyFindings& findings,
                                        const std::string& bootTime, EventWriter& events);

// An element: a row of the history.
void WriteTimehistRow(const TimehistRow& row, const std::string& bootTime, EventWriter& events);

// An element: the row as the delay before it, which ended at the row's time and its wait later.
// False, and nothing, if one of the two is no number.
[[nodiscard]] bool WriteDelayRow(const TimehistRow& row, const std::string& bootTime,
                                 EventWriter& events);

}  // namespace zarn
