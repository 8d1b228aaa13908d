#include "collectors/system/ddr/ddr_settings.h"

#include <string>

#include "foundation/console.h"
#include "kit/section.h"

namespace zarn {
namespace {

constexpr const char* kSection = "DdrCollector";
constexpr const char* kGlobalJob = "global";

bool CheckSection(const JsonValue* section) {
    const std::string head = "[DdrCollector] Error occurs: ";
    if (section == nullptr || FirstMissingKey(*section, {"job", "count", "interval"})) {
        PrintError(head +
                   "[DdrCollector] DdrCollector param is missing! Correct: [job, count, interval]");
        return false;
    }
    if (!AllHaveType(*section, {{"job", JsonType::Array},
                                {"count", JsonType::Unsigned},
                                {"interval", JsonType::Unsigned}})) {
        PrintError(head + "[DdrCollector] Invalid DdrCollector param type");
        return false;
    }
    return true;
}

bool CheckJobs(const JsonValue& jobs) {
    if (jobs.Empty()) {
        PrintError("[DdrCollector] The job cannot be empty!");
        return false;
    }
    for (const JsonValue& job : jobs.GetArray()) {
        if (!job.IsString()) {
            PrintError("[DdrCollector] Illegal job type!");
            return false;
        }
        const std::string name(job.GetString(), job.GetStringLength());
        if (name != kGlobalJob) {
            PrintError("[DdrCollector] Illegal job name: " + name);
            return false;
        }
    }
    return true;
}

bool IsWithin(std::uint32_t value, std::uint32_t maximum) {
    return value >= 1 && value <= maximum;
}

}  // namespace

bool ReadDdrSettings(const JsonDocument& config, DdrSettings& settings) {
    const JsonValue* section = FindMember(config, kSection);
    if (!CheckSection(section) || !CheckJobs((*section)["job"])) {
        return false;
    }
    const DdrSettings read{true, (*section)["count"].GetUint(), (*section)["interval"].GetUint()};
    if (!IsWithin(read.count, DdrSettings::kMaxCount)) {
        PrintError("[DdrCollector] Ddr collect count cannot be 0 or larger than 2000!");
        return false;
    }
    if (!IsWithin(read.interval, DdrSettings::kMaxInterval)) {
        PrintError("[DdrCollector] Ddr collect interval cannot be 0s or larger than 60s!");
        return false;
    }
    settings = read;
    return true;
}

}  // namespace zarn
