#include "collectors/system/sched/collected_documents.h"

#include <cstddef>

#include "formats/sched.h"

namespace zarn {

void WriteLatencyRow(const LatencyRow& row, std::string_view bootTime, EventWriter& events) {
    events.BeginObject();
    for (std::size_t i = 0; i < row.size(); ++i) {
        events.Text(kSchedLatencyColumns[i], row[i]);
    }
    events.Text(kSchedBootMember, bootTime);
    events.EndObject();
}

}  // namespace zarn
