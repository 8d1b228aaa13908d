#pragma once

#include <cstdint>
#include <vector>

#include "collectors/system/ddr/qos_config.h"
#include "platform/device_library.h"

// The QoS settings of the device, reached through the records of its information calls. All calls
// go to device 0. Each operation gives false after its line when the device refuses; a read also
// fails when the device answers with a record of another size.
namespace zarn {

// Fills `bw_low`, `bw_high` and `hardlimit` of the master with `config`'s `mpamid`; `mpam_name`
// serves the message. A failure leaves them as they are.
bool GetMataConfig(QosConfig& config, DeviceLibrary& device = SystemDeviceLibrary());

// Sets the bounds, in GB/s, and the hard-limit switch of a partition.
bool SetMataConfig(std::uint32_t mpamid, std::uint32_t bwHigh, std::uint32_t bwLow,
                   std::uint32_t hardlimit, DeviceLibrary& device = SystemDeviceLibrary());

// Puts a master into a partition, with a priority.
bool SetMasterConfig(std::uint32_t master, std::uint32_t mpamid, std::uint32_t priority,
                     DeviceLibrary& device = SystemDeviceLibrary());

// Fills `mpamid` and `priority` of the master with `config`'s `master`. A failure leaves them as
// they are.
bool CheckMasterConfig(QosConfig& config, DeviceLibrary& device = SystemDeviceLibrary());

// Sets the bounds of each entry, in order, and tells what the device then holds. Stops at the first
// that the device refuses; those before it stay set.
[[nodiscard]] bool ApplyQosConfigs(const std::vector<QosConfig>& configs,
                                   DeviceLibrary& device = SystemDeviceLibrary());

// Restarts the bandwidth monitor for these partitions. The record counts them in one byte, so that
// the ids are the first (size modulo 256), and has room for kMbwuMaxIds, beyond which none is sent.
[[nodiscard]] bool SetMbwu(const std::vector<std::uint32_t>& mpamIds, std::uint32_t sampling,
                           DeviceLibrary& device = SystemDeviceLibrary());
inline constexpr std::size_t kMbwuMaxIds = 24;

// Switches the QoS block as a whole on.
[[nodiscard]] bool SetQosGlobalConfig(DeviceLibrary& device = SystemDeviceLibrary());

// Reads the type of the DDR; prints nothing.
[[nodiscard]] bool GetDdrType(std::uint32_t* type, DeviceLibrary& device = SystemDeviceLibrary());

}  // namespace zarn
