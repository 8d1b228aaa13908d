#include "collectors/system/mem/mem_documents.h"

#include <algorithm>
#include <string_view>

#include "formats/mem.h"

namespace zarn {
namespace {

constexpr std::string_view kLeftOutOfInfo = "FDSize";

// A document's `content` is an array; the caller writes its elements.
void BeginDocument(const NumberedFile& file, const std::string& happenTime, EventWriter& events) {
    events.Begin();
    events.Text("objectId", mem_files::ObjectId(file));
    events.Text("happenTime", happenTime);
    events.Text("eventId", kMemEventId);
    events.Key("content");
    events.BeginArray();
}

void EndDocument(EventWriter& events) {
    events.EndArray();
    events.End();
}

template <typename Names, typename Values>
void WriteObject(const Names& names, const Values& values, EventWriter& events) {
    events.BeginObject();
    for (std::size_t i = 0; i < names.size(); ++i) {
        events.Text(names[i], values[i]);
    }
    events.EndObject();
}

bool AllHaveSize(const std::vector<MemRow>& rows, std::size_t size) {
    return std::all_of(rows.begin(), rows.end(),
                       [size](const MemRow& row) { return row.size() == size; });
}

// The cells of the columns that the document has, joined by blanks.
template <typename Cells>
std::string Joined(const Cells& cells, std::string_view leftOut) {
    std::string text;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (kMemProcessColumns[i] != leftOut) {
            text.append(text.empty() ? "" : " ").append(cells[i]);
        }
    }
    return text;
}

void WriteTextElement(std::string_view name, std::string_view text, EventWriter& events) {
    events.BeginObject();
    events.Text(name, text);
    events.EndObject();
}

bool WriteJoinedRows(const NumberedFile& file, std::string_view leftOut,
                     const std::vector<MemRow>& rows, const std::string& happenTime,
                     EventWriter& events) {
    if (!AllHaveSize(rows, kMemProcessColumns.size())) {
        return false;
    }
    BeginDocument(file, happenTime, events);
    WriteTextElement("procFields", Joined(kMemProcessColumns, leftOut), events);
    for (const MemRow& row : rows) {
        WriteTextElement("procInfo", Joined(row, leftOut), events);
    }
    EndDocument(events);
    return true;
}

}  // namespace

bool WriteSystemDocument(const std::vector<std::string>& values, const std::string& happenTime,
                         EventWriter& events) {
    if (values.size() != kMemSystemColumns.size()) {
        return false;
    }
    BeginDocument(mem_files::kSystemSamples, happenTime, events);
    events.BeginObject();
    events.Key(kMemSystemMember);
    WriteObject(kMemSystemColumns, values, events);
    events.EndObject();
    EndDocument(events);
    return true;
}

bool WriteProcessSamples(const std::vector<MemRow>& rows, const std::string& happenTime,
                         EventWriter& events) {
    if (!AllHaveSize(rows, kMemProcessColumns.size())) {
        return false;
    }
    BeginDocument(mem_files::kProcessSamples, happenTime, events);
    events.BeginObject();
    events.Key(kMemProcessMember);
    events.BeginArray();
    for (const MemRow& row : rows) {
        WriteObject(kMemProcessColumns, row, events);
    }
    events.EndArray();
    events.EndObject();
    EndDocument(events);
    return true;
}

bool WriteProcessInfo(const std::vector<MemRow>& rows, const std::string& happenTime,
                      EventWriter& events) {
    return WriteJoinedRows(mem_files::kProcessInfo, kLeftOutOfInfo, rows, happenTime, events);
}

bool WriteProcessStaticInfo(const std::vector<MemRow>& rows, const std::string& happenTime,
                            EventWriter& events) {
    return WriteJoinedRows(mem_files::kProcessStaticInfo, "", rows, happenTime, events);
}

}  // namespace zarn
