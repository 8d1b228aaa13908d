#include <cstring>
#include <string>

#include "collectors/profiling/topdown/topdown_analysis.h"
#include "collectors/profiling/topdown/topdown_document.h"
#include "collectors/profiling/topdown/topdown_events.h"
#include "foundation/json.h"
#include "fuzz/fuzz_input.h"
#include "kit/event_writer.h"

// The metrics of counters of any bits, 35 floats: all are there or none, the bottleneck is one of
// those that count, a second analysis says the same, and the document can be read.
namespace {

std::string DocumentOf(zarn::TopdownData data) {
    using zarn::fuzz::Require;
    zarn::AnalyzeMetrics(data);
    Require(data.metrics.size() == 41 || data.metrics.empty(), "all metrics or none");
    Require(data.bottleneck.empty() == data.metrics.empty(), "a bottleneck among metrics");
    Require(data.metrics.empty() || data.thresholds.at(data.bottleneck), "one that counts");
    zarn::EventWriter writer;
    writer.Begin();
    zarn::WriteTopdownContent(data, writer);
    writer.End();
    return std::string(writer.Lines());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using zarn::fuzz::Require;
    zarn::TopdownData counters;
    for (std::size_t place = 0; place < zarn::kTopdownEventCount; ++place) {
        float count = 0;
        if ((place + 1) * sizeof(count) <= size) {
            std::memcpy(&count, data + place * sizeof(count), sizeof(count));
        }
        counters.events[zarn::TopdownEventName(place)] = count;
    }
    const std::string document = DocumentOf(counters);
    Require(document == DocumentOf(counters), "the same again");
    zarn::JsonDocument read;
    Require(zarn::ParseJson(document, read), "a document");
    return 0;
}
