#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "collectors/system/ddr/qos_config.h"
#include "optimizer/search/pso_types.h"

namespace zarn {

// The masters that the optimizer brings into order before it starts, with the settings of those
// that were never set. Unlike in the list of a fresh system `cpu` has a master number here.
extern const std::vector<QosConfig> optimizerQosConfigs;

// Name of a master to its MPAM partition: what `manualMode` may name.
extern const std::map<std::string, std::uint32_t> mpamIdMap;

// The section DdrOptimizer of a configuration.
struct OptimizerSettings {
    std::string mode;  // "auto" or "manual"

    std::vector<QosConfig> manualQosConfigs;  // manual: the bounds to apply, in order

    // auto; the first three are checked and kept, and nothing reads them: the benchmark has
    // settings of its own.
    std::map<std::string, std::uint16_t> stressLevels;  // by group, 0 to 10
    std::string stressNode;
    std::string omModel;
    std::string optAlg;  // "pso"
    PsoState psoState;
};

}  // namespace zarn
