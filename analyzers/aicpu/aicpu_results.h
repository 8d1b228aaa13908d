#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "analyzers/aicpu/abnormal_events.h"
#include "analyzers/aicpu/core_sections.h"
#include "analyzers/aicpu/event_summary.h"
#include "analyzers/aicpu/process_sections.h"
#include "formats/aicpu.h"
#include "kit/event_writer.h"

// What the analysis of one process finds, and its two documents. What a job that is off would have
// found is not in them.
namespace zarn {

struct CoreFindings {
    PoolFigures pool;
    std::vector<ProcListRow> processes;
    std::vector<CorePool> cores;
};

struct EventFindings {
    std::array<ValueSeries, EventSummaryReader::kSeriesNames.size()> series;
    std::vector<EventRow> events;
};

// Of one list of kAbnormalLists.
struct AbnormalFindings {
    std::vector<ThreadCount> ranked;
    std::vector<std::uint64_t> ownStarts;
    std::string threshold;
};

struct ProcessFindings {
    NamedValues values;  // name, priority, status
    ValueSeries published;
    ValueSeries scheduled;
    std::vector<NamedValues> groups;
};

struct AicpuFindings {
    std::optional<CoreFindings> core;
    std::optional<EventFindings> event;
    std::optional<std::array<AbnormalFindings, kAbnormalLists.size()>> abnormal;
    std::optional<ProcessFindings> process;  // of a valid record
};

// The complex as it was while that process was watched.
void WriteSocDocument(const AicpuFindings& findings, const AicpuProcess& process,
                      const std::string& time, EventWriter& events);

// The process itself; nothing of one that was not looked at.
void WriteProcessDocument(const AicpuFindings& findings, const std::string& time,
                          EventWriter& events);

}  // namespace zarn
