#include "collectors/profiling/sys_call/sys_call_document.h"

#include <cstddef>
#include <string_view>

#include "formats/sys_call.h"

namespace zarn {
namespace {

namespace names = sys_call_files;

void WriteCalls(const CallDetails& details, EventWriter& events) {
    events.Key(names::kCallsMember);
    events.BeginArray();
    details.ForEach([&events](std::string_view begin, std::string_view cost) {
        events.BeginObject();
        events.Text("start_time", begin);
        events.Text("time_cost", cost);
        events.EndObject();
    });
    events.EndArray();
}

void WriteRow(const SummaryRow& row, const CallDetails* details, EventWriter& events) {
    events.BeginObject();
    for (std::size_t i = 0; i < names::kColumnCount; ++i) {
        events.Text(names::kColumns[i], i < row.size() ? std::string_view(row[i]) : "");
    }
    if (details != nullptr && !details->IsEmpty()) {
        WriteCalls(*details, events);
    }
    events.EndObject();
}

}  // namespace

void WriteSysCallDocument(const std::vector<SysCallRecord>& records, const std::string& happenTime,
                          EventWriter& events) {
    events.Begin();
    events.Text("objectId", names::kObjectId);
    events.Text("happenTime", happenTime);
    events.Text("eventId", names::kEventId);
    events.Key("content");
    events.BeginObject();
    for (const SysCallRecord& record : records) {
        events.Key(record.process);
        events.BeginArray();
        for (std::size_t i = 0; i < record.rows.size(); ++i) {
            WriteRow(record.rows[i], i < record.details.size() ? &record.details[i] : nullptr,
                     events);
        }
        events.EndArray();
    }
    events.EndObject();
    events.End();
}

}  // namespace zarn
