#include "collectors/device/ai_core/ai_core_settings.h"

#include <string>

#include "foundation/console.h"

namespace zarn {
namespace {

constexpr const char* kSection = "AiCoreCollector";
constexpr const char* kUsage = "usage";

constexpr SectionWords kSectionWords = {
    "[AiCoreCollector] Error occurs: Lack of required fields.",
    "[AiCoreCollector] Error occurs: Invalid AiCoreCollector param type",
};

bool IsWithin(std::uint32_t value, std::uint32_t maximum) {
    return value >= 1 && value <= maximum;
}

}  // namespace

const SettingKeys& AiCoreCollectorKeys() {
    using Outside = SettingKey::Outside;
    static const SettingKeys keys = {
        SettingKey::Required("job", JsonType::Array)
            .Of(JsonType::String)
            .Words({kUsage}, Outside::Refused)
            .Means("the only job. Without it nothing is sampled"),
        SettingKey::Required("count", JsonType::Unsigned)
            .Within(1, AiCoreSettings::kMaxCount, Outside::Refused)
            .Unit("samples")
            .Means("how many samples"),
        SettingKey::Required("interval", JsonType::Unsigned)
            .Within(1, AiCoreSettings::kMaxInterval, Outside::Refused)
            .Unit("s")
            .Means("from one sample to the next; also waited after the last one"),
    };
    return keys;
}

bool ReadAiCoreSettings(const JsonDocument& config, AiCoreSettings& settings) {
    const JsonValue* section = OpenSection(config, kSection, AiCoreCollectorKeys(), kSectionWords);
    if (section == nullptr) {
        return false;
    }
    AiCoreSettings read;
    for (const JsonValue& job : (*section)["job"].GetArray()) {
        if (!job.IsString() || TextOf(job) != kUsage) {
            return PrintFailure("[AiCoreCollector] Illegal job type!");
        }
        read.usageJob = true;
    }
    read.count = (*section)["count"].GetUint();
    if (!IsWithin(read.count, AiCoreSettings::kMaxCount)) {
        return PrintFailure("[AiCoreCollector] Aicpu collect count should in (0, 2000]!");
    }
    read.interval = (*section)["interval"].GetUint();
    if (!IsWithin(read.interval, AiCoreSettings::kMaxInterval)) {
        return PrintFailure("[AiCoreCollector] Aicore collect interval should be in (0, 60]!");
    }
    settings = read;
    return true;
}

}  // namespace zarn
