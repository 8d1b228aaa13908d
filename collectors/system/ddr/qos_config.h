#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The vocabulary of everything that sets the bandwidth of the DDR: one bus master's settings, and
// the tables of masters. The tables are never changed.
namespace zarn {

// One bus master's QoS setting. Its members bear the names that the result files and the
// configuration give them.
struct QosConfig {
    std::string mpam_name;
    std::uint32_t mpamid = 0;     // MPAM partition of the master
    std::uint32_t bw_low = 0;     // lower bandwidth bound, GB/s
    std::uint32_t bw_high = 0;    // upper bandwidth bound, GB/s
    std::uint32_t hardlimit = 0;  // 1: the upper bound is a hard cap
    std::uint32_t master = 0;     // the device's number, key of the master configuration
    std::uint32_t priority = 0;   // in the master configuration
};

// The master number of `cpu`, which has no master configuration.
inline constexpr std::uint32_t kNoMaster = 0xFFFFFFFF;

// The upper bound by which the device marks a master that was never configured.
inline constexpr std::uint32_t kNeverConfigured = 101;

// The ten masters with the settings of a fresh system. There is no partition 4.
extern const std::vector<QosConfig> defaultQosConfigs;

// The partitions that the bandwidth monitor watches.
extern const std::vector<std::uint32_t> mbwuMpamIds;

}  // namespace zarn
