#include "collectors/profiling/topdown/topdown_document.h"

#include <cmath>
#include <map>
#include <string>

#include "formats/topdown.h"
#include "foundation/numbers.h"

namespace zarn {
namespace {

constexpr int kDecimals = 4;

// Processors disagree on the sign of 0 / 0, which would show.
std::string TextOfMetric(float value) {
    return std::isnan(value) ? "nan" : FloatToString(value, kDecimals);
}

}  // namespace

void WriteTopdownContent(const TopdownData& data, EventWriter& document) {
    document.Key("content");
    document.BeginArray();
    document.BeginObject();
    document.Text(topdown_files::kBottleneckMember, data.bottleneck);
    for (const auto& [fullName, value] :
         std::map<std::string, float>(data.metrics.begin(), data.metrics.end())) {
        document.Text(fullName, TextOfMetric(value));
    }
    document.EndObject();
    document.EndArray();
}

}  // namespace zarn
