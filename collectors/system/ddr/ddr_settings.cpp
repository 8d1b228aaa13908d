#include "collectors/system/ddr/ddr_settings.h"

#include <set>
#include <string>

#include "foundation/console.h"

namespace zarn {
namespace {

constexpr const char* kSection = "DdrCollector";

constexpr SectionWords kSectionWords = {
    "[DdrCollector] Error occurs: [DdrCollector] DdrCollector param is missing! Correct: [job, "
    "count, interval]",
    "[DdrCollector] Error occurs: [DdrCollector] Invalid DdrCollector param type",
};
constexpr JobWords kJobWords = {
    "[DdrCollector] The job cannot be empty!",
    "[DdrCollector] Illegal job type!",
    "[DdrCollector] Illegal job name: ",
};

bool IsWithin(std::uint32_t value, std::uint32_t maximum) {
    return value >= 1 && value <= maximum;
}

}  // namespace

const SettingKeys& DdrCollectorKeys() {
    using Outside = SettingKey::Outside;
    static const SettingKeys keys = {
        SettingKey::Required("job", JsonType::Array)
            .Of(JsonType::String)
            .NotEmpty()
            .Words({"global"}, Outside::Refused)
            .Means("the only job"),
        SettingKey::Required("count", JsonType::Unsigned)
            .Within(1, DdrSettings::kMaxCount, Outside::Refused)
            .Unit("samples")
            .Means("how many samples"),
        SettingKey::Required("interval", JsonType::Unsigned)
            .Within(1, DdrSettings::kMaxInterval, Outside::Refused)
            .Unit("s")
            .Means("from one sample to the next; also waited after the last one"),
    };
    return keys;
}

bool ReadDdrSettings(const JsonDocument& config, DdrSettings& settings) {
    const JsonValue* section = OpenSection(config, kSection, DdrCollectorKeys(), kSectionWords);
    std::set<std::string> jobs;
    if (section == nullptr || !ReadJobs((*section)["job"], {"global"}, kJobWords, jobs)) {
        return false;
    }
    const DdrSettings read{true, (*section)["count"].GetUint(), (*section)["interval"].GetUint()};
    if (!IsWithin(read.count, DdrSettings::kMaxCount)) {
        return PrintFailure("[DdrCollector] Ddr collect count cannot be 0 or larger than 2000!");
    }
    if (!IsWithin(read.interval, DdrSettings::kMaxInterval)) {
        return PrintFailure("[DdrCollector] Ddr collect interval cannot be 0s or larger than 60s!");
    }
    settings = read;
    return true;
}

}  // namespace zarn
