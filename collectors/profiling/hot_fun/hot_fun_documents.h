#pragma once

#include <map>
#include <string>

#include "collectors/profiling/hot_fun/function_sets.h"
#include "collectors/profiling/hot_fun/report_rows.h"
#include "kit/event_writer.h"

// The collector's documents: eventId, happenTime, objectId and content.
namespace zarn {

// Of a core, or of the system: `content` is the rows.
void WriteRowsDocument(const ReportRows& rows, const std::string& objectId,
                       const std::string& happenTime, EventWriter& events);

// Of processes: `content` has the rows of each, by name.
void WriteProcessDocument(const std::map<std::string, ReportRows>& rows,
                          const std::string& objectId, const std::string& happenTime,
                          EventWriter& events);

// Of function sets: `content` has an object for each, by name. Its members, percentages with two
// decimals, are SET_TOTAL and the functions that got samples; "nan%" where there were no cycles.
void WriteFunctionSetDocument(const std::map<std::string, FunctionShares>& sets,
                              const std::string& objectId, const std::string& happenTime,
                              EventWriter& events);

}  // namespace zarn
