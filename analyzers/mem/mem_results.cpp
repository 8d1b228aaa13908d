#include "analyzers/mem/mem_results.h"

#include "formats/mem.h"

namespace zarn {
namespace {

// The keys of a frame: the sample's time stamp, and the figure's value.
constexpr const char* kFrameTime = "timeStamp";
constexpr const char* kFrameValue = "memValue";

}  // namespace

void BeginMemDocument(std::string_view objectId, const std::string& happenTime,
                      EventWriter& events) {
    events.Begin();
    events.Text("objectId", objectId);
    events.Text("happenTime", happenTime);
    events.Text("eventId", kMemEventId);
    events.Key("content");
    events.BeginArray();
}

void EndMemDocument(EventWriter& events) {
    events.EndArray();
    events.End();
}

void WriteMemFindings(const MemProcess* process, const MemFrames& frames,
                      const std::vector<std::string>& moments, const MemFindings& findings,
                      EventWriter& events) {
    const auto writeFrames = [&](const char* name, const std::vector<std::size_t>& indexes) {
        events.Key(name);
        events.BeginArray();
        for (const std::size_t index : indexes) {
            events.BeginObject();
            events.Text(kFrameTime, moments[frames.Moment(index)]);
            events.Text(kFrameValue, frames.Value(index));
            events.EndObject();
        }
        events.EndArray();
    };
    events.BeginObject();
    if (process != nullptr) {
        events.Text("PID", process->pid);
        events.Text("command", process->command);
    }
    events.Text("maxMemValue", std::to_string(findings.summary.max));
    events.Text("minMemValue", std::to_string(findings.summary.min));
    events.Fixed("meanMemValue", static_cast<double>(findings.summary.mean));
    writeFrames("peak", findings.peaks);
    writeFrames("trought", findings.troughs);
    events.EndObject();
}

}  // namespace zarn
