#include "analyzers/correlation/correlation_settings.h"

#include <algorithm>
#include <vector>

#include "foundation/console.h"
#include "kit/section.h"

namespace zarn {
namespace {

constexpr const char* kPeakInterval = "peak_interval_us";
constexpr const char* kSched = "sched";
constexpr std::uint32_t kMostMicroseconds = 10000000;

const std::vector<std::string>& KnownJobs() {
    static const std::vector<std::string> jobs = {kSchedGlobalSource, kSchedCoreSource,
                                                  kSchedProcessSource};
    return jobs;
}

bool Fail(const char* reason) {
    return PrintFailure(std::string("[CorrelationAnalyzer] Error occurs when parsing config: ") +
                        reason);
}

}  // namespace

const SettingKeys& CorrelationKeys() {
    using Outside = SettingKey::Outside;
    static const SettingKeys keys = {
        SettingKey::Required(kPeakInterval, JsonType::Unsigned)
            .Within(0, kMostMicroseconds, Outside::Refused)
            .Unit("us")
            .Means("how far from a peak a row may lie to be marked"),
        SettingKey::Required(kSched, JsonType::String)
            .Words(KnownJobs(), Outside::Refused)
            .Means("which history of the scheduler is shown: that of the whole system, those of "
                   "the cores, those of the processes"),
    };
    return keys;
}

bool ReadCorrelationSettings(const JsonDocument& config, const char* name,
                             CorrelationSettings& settings) {
    const JsonValue* section = FindMember(config, name);
    if (section == nullptr) {
        return Fail("[CorrelationAnalyzer] CorrelationAnalyzer is missing.");
    }
    if (!section->IsObject()) {
        return Fail("[CorrelationAnalyzer] Invalid analyzer param type.");
    }
    const JsonValue* interval = FindMember(*section, kPeakInterval);
    if (interval == nullptr) {
        return Fail("[CorrelationAnalyzer] The analyzer param peak_interval_us is missing.");
    }
    const JsonValue* sched = FindMember(*section, kSched);
    if (sched == nullptr) {
        return Fail("[CorrelationAnalyzer] The analyzer param sched is missing.");
    }
    if (!HasType(*interval, JsonType::Unsigned) || !HasType(*sched, JsonType::String)) {
        return Fail("[CorrelationAnalyzer] Invalid analyzer param type.");
    }
    settings.peakIntervalUs = interval->GetUint();
    if (settings.peakIntervalUs > kMostMicroseconds) {
        return Fail("[CorrelationAnalyzer] Param peak_interval_us if out of range.");
    }
    settings.sched = TextOf(*sched);
    const std::vector<std::string>& known = KnownJobs();
    return std::find(known.begin(), known.end(), settings.sched) != known.end() ||
           Fail("[CorrelationAnalyzer] Invalid sched job.");
}

}  // namespace zarn
