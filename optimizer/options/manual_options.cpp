#include "optimizer/options/manual_options.h"

#include <string>

#include "foundation/console.h"
#include "kit/section.h"
#include "optimizer/options/optimizer_settings.h"

namespace zarn {
namespace {

constexpr std::uint32_t kLeastHighBound = 3;      // GB/s
constexpr std::uint32_t kGreatestHighBound = 51;  // GB/s
constexpr std::uint32_t kUnsetHighBound = 200;

// One position of the four lists.
struct ManualEntry {
    const JsonValue& name;
    const JsonValue& low;
    const JsonValue& high;
    const JsonValue& hardLimit;
};

bool ParseName(const JsonValue& value, QosConfig& config) {
    if (!value.IsString()) {
        return PrintFailure("[DdrOptimizer] Illegal mpamName type! It should be string.");
    }
    const std::string name = TextOf(value);
    const auto known = mpamIdMap.find(name);
    if (known == mpamIdMap.end()) {
        return PrintFailure("[DdrOptimizer] Illegal mpamName: " + name);
    }
    config.mpam_name = name;
    config.mpamid = known->second;
    return true;
}

bool ParseHigh(const JsonValue& value, QosConfig& config) {
    if (!value.IsUint()) {
        return PrintFailure("[DdrOptimizer] Illegal bwHighs type! It should be uint.");
    }
    config.bw_high = value.GetUint();
    const std::string& name = config.mpam_name;
    const std::string subject = "[DdrOptimizer] Warning! The bwHigh setting of " + name + "is " +
                                std::to_string(config.bw_high);
    if (config.bw_high > kGreatestHighBound) {
        PrintError(subject + ", which cannot be larger than 51! The bwHigh of " + name +
                   " will be set to: 51");
        config.bw_high = kGreatestHighBound;
    } else if (config.bw_high < kLeastHighBound) {
        PrintError(subject + ", which cannot be less than 3! The bwHigh of " + name +
                   " will be set to: 3");
        config.bw_high = kLeastHighBound;
    }
    return true;
}

bool ParseLow(const JsonValue& value, QosConfig& config) {
    if (!value.IsUint()) {
        return PrintFailure("[DdrOptimizer] Illegal bwLows type! It should be uint.");
    }
    config.bw_low = value.GetUint();
    if (config.bw_low > config.bw_high) {
        const std::string high = std::to_string(config.bw_high);
        PrintError("[DdrOptimizer] Warning! The bwLow setting of " + config.mpam_name + " is " +
                   std::to_string(config.bw_low) + ", which cannot be larger than bwHigh: " + high +
                   ". The bwLow will be set to: " + high);
        config.bw_low = config.bw_high;
    }
    return true;
}

bool ParseHardLimit(const JsonValue& value, QosConfig& config) {
    if (!value.IsInt()) {
        return PrintFailure("[DdrOptimizer] Illegal hardLimits type! It should be uint.");
    }
    // A negative one is a large unsigned number from here on.
    config.hardlimit = static_cast<std::uint32_t>(value.GetInt());
    if (config.hardlimit > 1) {
        PrintError("[DdrOptimizer] Warning! Invalid hardLimit setting of " + config.mpam_name +
                   " , which should be set to 0 or 1! Now is " + std::to_string(config.hardlimit) +
                   " . The hardLimit will be set to: 0.");
        config.hardlimit = 0;
    }
    return true;
}

bool ParseEntry(const ManualEntry& entry, QosConfig& config) {
    return ParseName(entry.name, config) && ParseHigh(entry.high, config) &&
           ParseLow(entry.low, config) && ParseHardLimit(entry.hardLimit, config);
}

bool CheckSizes(const JsonValue& mode) {
    if (mode["bwLow"].Empty()) {
        return PrintFailure("[DdrOptimizer] The bwLow setting is empty!");
    }
    if (mode["bwHigh"].Empty()) {
        return PrintFailure("[DdrOptimizer] The bwHigh setting is empty!");
    }
    if (mode["hardLimit"].Empty()) {
        return PrintFailure("[DdrOptimizer] The hardLimit setting is empty!");
    }
    for (const char* key : {"bwLow", "bwHigh", "hardLimit"}) {
        if (mode[key].Size() != mode["mpamName"].Size()) {
            return PrintFailure(
                "[DdrOptimizer] The settings of 'mpamName', 'bwLow', 'bwHigh' and 'hardLimit' "
                "should have equal size.");
        }
    }
    return true;
}

bool CheckShape(const JsonValue* mode) {
    if (mode == nullptr || !mode->IsObject()) {
        return PrintFailure("[DdrOptimizer] Configs of manual mode are missing.");
    }
    if (FirstMissingKey(*mode, {"mpamName", "bwLow", "bwHigh", "hardLimit"})) {
        return PrintFailure(
            "[DdrOptimizer] Configs of manual mode should contain 'mpamName', 'bwLow', 'bwHigh', "
            "'hardLimit'!");
    }
    if (!AllHaveType(*mode, {{"mpamName", JsonType::Array},
                             {"bwLow", JsonType::Array},
                             {"bwHigh", JsonType::Array},
                             {"hardLimit", JsonType::Array}})) {
        return PrintFailure(
            "[DdrOptimizer] Invalid manual mode params type, which should be list!");
    }
    return true;
}

}  // namespace

bool ParseManualMode(const JsonValue& section, std::vector<QosConfig>& configs) {
    const JsonValue* mode = FindMember(section, "manualMode");
    if (!CheckShape(mode)) {
        return PrintFailure("[DdrOptimizer] Error occurs when checking the param's validation.");
    }
    const JsonValue& names = (*mode)["mpamName"];
    if (names.Empty()) {
        PrintError("[DdrOptimizer] Warning! The mpamName is empty! Keep the default qos setting!");
    } else if (!CheckSizes(*mode)) {
        return PrintFailure("[DdrOptimizer] Error occurs when checking the param's size.");
    }
    for (rapidjson::SizeType i = 0; i < names.Size(); ++i) {
        QosConfig config;
        config.bw_high = kUnsetHighBound;
        if (!ParseEntry(
                {names[i], (*mode)["bwLow"][i], (*mode)["bwHigh"][i], (*mode)["hardLimit"][i]},
                config)) {
            return PrintFailure("[DdrOptimizer] Error occurs when parsing the qos config");
        }
        configs.push_back(config);
    }
    return true;
}

}  // namespace zarn
