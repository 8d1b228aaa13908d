#include "analyzers/aicpu/aicpu_analyzer_settings.h"

#include "collectors/device/aicpu/aicpu_common.h"
#include "kit/section.h"

namespace zarn {
namespace {

constexpr SectionWords kSectionWords = {
    "[AicpuAnalyzer] Error occurs: Lack of required fields.",
    "[AicpuAnalyzer] Error occurs: Invalid AicpuAnalyzer param type",
};

}  // namespace

const SettingKeys& AicpuAnalyzerKeys() {
    static const SettingKeys keys = {
        SettingKey::Required("aicpu_job", JsonType::Array)
            .Of(JsonType::String)
            .Words({kAicpuCoreJob, kAicpuEventJob, kAicpuAbnormalJob},
                   SettingKey::Outside::PassedOver)
            .Means("what to analyse, beside the processes; each must have been a job of the "
                   "collector"),
    };
    return keys;
}

bool ReadAicpuAnalyzerSettings(const JsonDocument& config, AicpuJobs& jobs) {
    const JsonValue* section =
        OpenSection(config, "AicpuAnalyzer", AicpuAnalyzerKeys(), kSectionWords);
    AicpuJobs read;
    if (section == nullptr ||
        !ReadAicpuJobs((*section)["aicpu_job"], "[AicpuAnalyzer] Illegal aicpu_job type!", read)) {
        return false;
    }
    jobs = read;
    return true;
}

}  // namespace zarn
