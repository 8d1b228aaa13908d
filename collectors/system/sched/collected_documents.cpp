#include "collectors/system/sched/collected_documents.h"

#include <cstddef>

#include "formats/sched.h"

namespace zarn {

void BeginCollectedDocument(const std::string& objectId, const std::string& happenTime,
                            EventWriter& events) {
    events.Begin();
    events.Text("eventId", kSchedEventId);
    events.Text("happenTime", happenTime);
    events.Text("objectId", objectId);
    events.Key("content");
    events.BeginArray();
}

void EndCollectedDocument(EventWriter& events) {
    events.EndArray();
    events.End();
}

void WriteLatencyRow(const LatencyRow& row, std::string_view bootTime, EventWriter& events) {
    events.BeginObject();
    for (std::size_t i = 0; i < row.size(); ++i) {
        events.Text(kSchedLatencyColumns[i], row[i]);
    }
    events.Text(kSchedBootMember, bootTime);
    events.EndObject();
}

}  // namespace zarn
