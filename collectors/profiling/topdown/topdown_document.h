#pragma once

#include <string_view>

#include "collectors/profiling/topdown/topdown_data.h"
#include "kit/event_writer.h"

namespace zarn {

// The member `content` of a document: the bottleneck, then all metrics by their names, as texts of
// four decimals. One that is no number is "nan", whatever its sign.
void WriteTopdownContent(const TopdownData& data, EventWriter& document);

}  // namespace zarn
