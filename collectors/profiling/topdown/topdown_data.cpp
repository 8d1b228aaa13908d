#include "collectors/profiling/topdown/topdown_data.h"

#include "foundation/console.h"

namespace zarn {
namespace {

template <class Value>
Value Get(const std::unordered_map<std::string, Value>& values, const std::string& name,
          const char* wordsIfMissing, TopdownData& data) {
    const auto found = values.find(name);
    if (found != values.end()) {
        return found->second;
    }
    const auto [line, isNew] = data.toldMissing.insert(wordsIfMissing + name);
    if (isNew) {
        PrintError(*line);
    }
    return Value{};
}

}  // namespace

float GetEvent(const std::string& name, TopdownData& data) {
    return Get(data.events, name, "[TopdownCollector] Event don't contain ", data);
}

float GetMetric(const std::string& fullName, TopdownData& data) {
    return Get(data.metrics, fullName, "[TopdownCollector] Metric don't contain ", data);
}

bool GetThresh(const std::string& fullName, TopdownData& data) {
    return Get(data.thresholds, fullName, "[TopdownCollector] Thresh don't contain ", data);
}

}  // namespace zarn
