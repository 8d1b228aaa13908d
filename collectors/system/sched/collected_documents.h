#pragma once

#include <string>
#include <string_view>

#include "collectors/system/sched/latency_report.h"
#include "kit/event_writer.h"

// Parts of the scheduler collector's documents.
namespace zarn {

// An element of a latency report's document.
void WriteLatencyRow(const LatencyRow& row, std::string_view bootTime, EventWriter& events);

}  // namespace zarn
