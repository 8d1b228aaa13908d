#pragma once

#include <string>
#include <vector>

#include "collectors/profiling/sys_call/sys_call_record.h"
#include "kit/event_writer.h"

namespace zarn {

// The collector's document: objectId, happenTime, eventId and content, which has the rows of each
// process, by name in the order of the records. A row has all columns, empty ones where it has
// fewer words, and its calls if there are any.
void WriteSysCallDocument(const std::vector<SysCallRecord>& records, const std::string& happenTime,
                          EventWriter& events);

}  // namespace zarn
