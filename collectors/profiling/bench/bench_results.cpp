#include "collectors/profiling/bench/bench_results.h"

namespace zarn {
namespace {

void WriteValues(const BenchValues& values, EventWriter& events) {
    for (const auto& [name, text] : values) {
        events.Text(name, text);
    }
}

}  // namespace

void WriteBenchResult(const BenchResult& result, EventWriter& events) {
    events.BeginEvent(result.kind.eventId, result.time, result.kind.objectId);
    events.BeginObject();
    WriteValues(result.values, events);
    for (const auto& [name, values] : result.groups) {
        events.Key(name);
        events.BeginObject();
        WriteValues(values, events);
        events.EndObject();
    }
    events.EndObject();
    events.End();
}

std::string_view ValueOf(std::string_view output) {
    if (!output.empty() && output.back() == '\n') {
        output.remove_suffix(1);
    }
    return output;
}

std::string_view PidListOf(std::string_view output) {
    return output.substr(0, output.find_first_of("\r\n"));
}

}  // namespace zarn
