#include "optimizer/options/optimizer_options.h"

#include <string>

#include "foundation/console.h"
#include "kit/section.h"
#include "optimizer/options/manual_options.h"
#include "optimizer/options/option_readers.h"
#include "optimizer/options/pso_options.h"

namespace zarn {
namespace {

constexpr std::uint16_t kGreatestStressLevel = 10;

bool CheckAutoShape(const JsonValue* mode) {
    if (mode == nullptr || !mode->IsObject()) {
        return PrintFailure("[DdrOptimizer] Configs of auto mode are missing.");
    }
    if (FirstMissingKey(*mode, {"stressLevel", "stressNode", "omModel", "optAlg"})) {
        return PrintFailure(
            "[DdrOptimizer] Configs of auto mode should contain 'stressLevel', stressNode, "
            "'omModel', 'optAlg'!");
    }
    if (!AllHaveType(*mode, {{"stressLevel", JsonType::Object},
                             {"stressNode", JsonType::String},
                             {"omModel", JsonType::String},
                             {"optAlg", JsonType::String}})) {
        return PrintFailure("[DdrOptimizer] Invalid auto mode params type!");
    }
    return true;
}

bool ReadStressLevels(const JsonValue& levels, OptimizerSettings& settings) {
    for (const auto& [group, mpamids] : stressGroups) {
        if (FindMember(levels, group.c_str()) == nullptr) {
            continue;
        }
        std::uint16_t level = 0;
        if (!ReadUnsigned(levels, group.c_str(), level)) {
            return PrintFailure("[DdrOptimizer] Invalid auto mode params type!");
        }
        if (level > kGreatestStressLevel) {
            PrintError("[DdrOptimizer] Warning, stress level of " + group +
                       " is larger 10, which will be set to 10!");
            level = kGreatestStressLevel;
        }
        settings.stressLevels[group] = level;
    }
    return true;
}

bool ParseAutoMode(const JsonValue& section, OptimizerSettings& settings) {
    const JsonValue* mode = FindMember(section, "autoMode");
    if (!CheckAutoShape(mode) || !ReadStressLevels((*mode)["stressLevel"], settings)) {
        return false;
    }
    settings.stressNode = TextOf((*mode)["stressNode"]);
    settings.omModel = TextOf((*mode)["omModel"]);
    settings.optAlg = TextOf((*mode)["optAlg"]);
    if (settings.optAlg != "pso") {
        return PrintFailure("[DdrOptimizer] Failed to set opt algorithm! Only support 'pso'!");
    }
    if (!ParsePsoConf(section, settings.psoState)) {
        return PrintFailure("[DdrOptimizer] Failed to parse param settings of pso!");
    }
    return true;
}

bool ReadMode(const JsonValue& section, std::string& mode) {
    const JsonValue* value = FindMember(section, "mode");
    if (value == nullptr) {
        return PrintFailure("[DdrOptimizer] Ddr optimizer mode is missing.");
    }
    if (!value->IsString()) {
        return PrintFailure("[DdrOptimizer] Invalid mode format, which should be string!");
    }
    mode = TextOf(*value);
    PrintLine("[DdrOptimizer] DdrOptimizer mode is : " + mode + ".");
    return true;
}

}  // namespace

bool ReadOptimizerOptions(const JsonValue& config, OptimizerSettings& settings) {
    const JsonValue* section = FindMember(config, "DdrOptimizer");
    if (section == nullptr) {
        return PrintFailure("[DdrOptimizer] Ddr optimizer config is missing. ");
    }
    if (!ReadMode(*section, settings.mode)) {
        return false;
    }
    if (settings.mode == "manual") {
        return ParseManualMode(*section, settings.manualQosConfigs);
    }
    if (settings.mode == "auto") {
        return ParseAutoMode(*section, settings);
    }
    return PrintFailure("[DdrOptimizer] Invalid opt mode, please set mode as 'auto' or 'manual'. ");
}

}  // namespace zarn
