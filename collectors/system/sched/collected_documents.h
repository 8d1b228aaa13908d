#pragma once

#include <string>
#include <string_view>

#include "collectors/system/sched/latency_report.h"
#include "kit/event_writer.h"

// Parts of the scheduler collector's documents.
namespace zarn {

// Head and end of any of them: between the two come the elements of `content`.
void BeginCollectedDocument(const std::string& objectId, const std::string& happenTime,
                            EventWriter& events);
void EndCollectedDocument(EventWriter& events);

// An element of a latency report's document.
void WriteLatencyRow(const LatencyRow& row, std::string_view bootTime, EventWriter& events);

}  // namespace zarn
