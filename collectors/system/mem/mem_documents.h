#pragma once

#include <string>
#include <vector>

#include "collectors/system/mem/mem_process_rows.h"
#include "kit/event_writer.h"

// The memory collector's documents. Each function writes one, of a sample taken at `happenTime`, or
// gives false and writes nothing if a value is missing or left over.
namespace zarn {

// `values`: as many as kMemSystemColumns.
[[nodiscard]] bool WriteSystemDocument(const std::vector<std::string>& values,
                                       const std::string& happenTime, EventWriter& events);

// All watched processes; each row as long as kMemProcessColumns.
[[nodiscard]] bool WriteProcessSamples(const std::vector<MemRow>& rows,
                                       const std::string& happenTime, EventWriter& events);

// The greatest ones, the cells of each joined: kMemProcessColumns without FDSize, and all of them.
// The rows are whole ones in both cases.
[[nodiscard]] bool WriteProcessInfo(const std::vector<MemRow>& rows, const std::string& happenTime,
                                    EventWriter& events);
[[nodiscard]] bool WriteProcessStaticInfo(const std::vector<MemRow>& rows,
                                          const std::string& happenTime, EventWriter& events);

}  // namespace zarn
