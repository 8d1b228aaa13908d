#include "collectors/system/ddr/qos_access.h"

#include <algorithm>
#include <array>
#include <string>

#include "foundation/console.h"

namespace zarn {
namespace {

constexpr std::uint32_t kDevice = 0;

constexpr std::uint32_t kQosCommand = 13;
constexpr std::uint32_t kMataSub = 0;
constexpr std::uint32_t kMasterSub = 1;
constexpr std::uint32_t kMbwuSub = 2;
constexpr std::uint32_t kGlobalSub = 3;
constexpr std::uint32_t kKeyShift = 8;  // a read carries its key above the sub command

constexpr std::uint32_t kDdrTypeCommand = 9;
constexpr std::uint32_t kDdrTypeSub = 0;

constexpr std::size_t kWord = 4;
constexpr std::size_t kMataSize = 48;
constexpr std::size_t kMasterSize = 80;
constexpr std::size_t kMbwuSize = 104;
constexpr std::size_t kGlobalSize = 48;
constexpr std::size_t kMbwuIdsOffset = 8;
static_assert(kMbwuIdsOffset + kMbwuMaxIds * kWord == kMbwuSize);

// A record of the device: zero but for what is put into it, its words little-endian.
template <std::size_t Size>
class Record {
public:
    void PutByte(std::size_t offset, std::size_t value) {
        bytes_.at(offset) = static_cast<std::uint8_t>(value);
    }

    void PutWord(std::size_t offset, std::uint32_t value) {
        for (std::size_t i = 0; i < kWord; ++i) {
            PutByte(offset + i, (value >> (8 * i)) & 0xFFU);
        }
    }

    [[nodiscard]] std::uint32_t Word(std::size_t offset) const {
        std::uint32_t value = 0;
        for (std::size_t i = kWord; i > 0; --i) {
            value = (value << 8U) | bytes_.at(offset + i - 1);
        }
        return value;
    }

    [[nodiscard]] int Send(std::uint32_t mainCommand, std::uint32_t subCommand,
                           DeviceLibrary& device) const {
        return device.SetInfo(kDevice, mainCommand, subCommand, bytes_.data(), Size);
    }

    // Asks with this record as the key; the answer replaces it. `whole` tells whether the answer
    // has this record's size.
    [[nodiscard]] int Ask(std::uint32_t mainCommand, std::uint32_t subCommand,
                          DeviceLibrary& device, bool& whole) {
        std::uint32_t size = Size;
        const int result = device.GetInfo(kDevice, mainCommand, subCommand, bytes_.data(), &size);
        whole = size == Size;
        return result;
    }

private:
    std::array<std::uint8_t, Size> bytes_{};
};

int SendMata(std::uint32_t mpamid, std::uint32_t bwHigh, std::uint32_t bwLow,
             std::uint32_t hardlimit, DeviceLibrary& device) {
    Record<kMataSize> record;
    record.PutWord(0, mpamid);
    record.PutWord(4, bwHigh);
    record.PutWord(8, bwLow);
    record.PutWord(12, hardlimit);
    return record.Send(kQosCommand, kMataSub, device);
}

}  // namespace

bool GetMataConfig(QosConfig& config, DeviceLibrary& device) {
    Record<kMataSize> record;
    record.PutWord(0, config.mpamid);
    bool whole = false;
    const int result =
        record.Ask(kQosCommand, (config.mpamid << kKeyShift) | kMataSub, device, whole);
    if (result != 0 || !whole) {
        return PrintFailure("Failed to get " + config.mpam_name +
                            " qos config, ret = " + std::to_string(result));
    }
    config.bw_high = record.Word(4);
    config.bw_low = record.Word(8);
    config.hardlimit = record.Word(12);
    return true;
}

bool SetMataConfig(std::uint32_t mpamid, std::uint32_t bwHigh, std::uint32_t bwLow,
                   std::uint32_t hardlimit, DeviceLibrary& device) {
    const int result = SendMata(mpamid, bwHigh, bwLow, hardlimit, device);
    if (result != 0) {
        PrintLine("Set mata qos config failed, ret = " + std::to_string(result));
    }
    return result == 0;
}

bool SetMasterConfig(std::uint32_t master, std::uint32_t mpamid, std::uint32_t priority,
                     DeviceLibrary& device) {
    constexpr std::uint32_t kAllBits = 0xFFFFFFFF;
    Record<kMasterSize> record;
    record.PutWord(0, master);
    record.PutWord(4, mpamid);
    record.PutWord(8, priority);
    for (const std::size_t offset : {16U, 24U, 32U, 40U}) {
        record.PutWord(offset, kAllBits);
    }
    const int result = record.Send(kQosCommand, kMasterSub, device);
    if (result != 0) {
        PrintLine("Set master qos config failed, ret = " + std::to_string(result));
    }
    return result == 0;
}

bool CheckMasterConfig(QosConfig& config, DeviceLibrary& device) {
    Record<kMasterSize> record;
    record.PutWord(0, config.master);
    bool whole = false;
    const int result =
        record.Ask(kQosCommand, (config.master << kKeyShift) | kMasterSub, device, whole);
    if (result != 0 || !whole) {
        return PrintFailure("Check master config failed! Ret: " + std::to_string(result));
    }
    config.mpamid = record.Word(4);
    config.priority = record.Word(8);
    return true;
}

bool ApplyQosConfigs(const std::vector<QosConfig>& configs, DeviceLibrary& device) {
    for (const QosConfig& config : configs) {
        const int result =
            SendMata(config.mpamid, config.bw_high, config.bw_low, config.hardlimit, device);
        if (result != 0) {
            return PrintFailure("[dev:0] set " + config.mpam_name +
                                " qos config failed, ret = " + std::to_string(result));
        }
        QosConfig held = config;
        GetMataConfig(held, device);
        PrintLine("Successfully set: mpamid: " + std::to_string(held.mpamid) + " " +
                  held.mpam_name + " , bw_low: " + std::to_string(held.bw_low) + ", bw_high: " +
                  std::to_string(held.bw_high) + ", hardlimit: " + std::to_string(held.hardlimit));
    }
    return true;
}

bool SetMbwu(const std::vector<std::uint32_t>& mpamIds, std::uint32_t sampling,
             DeviceLibrary& device) {
    const int stopped = Record<kMbwuSize>().Send(kQosCommand, kMbwuSub, device);
    if (stopped != 0) {
        PrintLine("[DdrCollector] The mbwu is not set and does not need to be stopped. Ret: " +
                  std::to_string(stopped));
    } else {
        PrintLine("[DdrCollector] Stop mbwu success.");
    }
    Record<kMbwuSize> start;
    const std::size_t count = mpamIds.size() % 256;
    start.PutByte(0, 1);
    start.PutByte(1, 2);
    start.PutByte(2, count);
    start.PutWord(4, sampling);
    for (std::size_t i = 0; i < std::min(count, kMbwuMaxIds); ++i) {
        start.PutWord(kMbwuIdsOffset + i * kWord, mpamIds[i]);
    }
    const int started = start.Send(kQosCommand, kMbwuSub, device);
    if (started != 0) {
        return PrintFailure("[DdrCollector] Set mbwu failed. Ret: " + std::to_string(started));
    }
    PrintLine("[DdrCollector] Set mbwu success.");
    return true;
}

bool SetQosGlobalConfig(DeviceLibrary& device) {
    Record<kGlobalSize> record;
    record.PutWord(0, 1);
    const int result = record.Send(kQosCommand, kGlobalSub, device);
    if (result != 0) {
        PrintLine("[DdrCollector] set qos gbl cfg failed ,ret: " + std::to_string(result));
    }
    return result == 0;
}

bool GetDdrType(std::uint32_t* type, DeviceLibrary& device) {
    Record<kWord> record;
    bool whole = false;
    const int result = record.Ask(kDdrTypeCommand, kDdrTypeSub, device, whole);
    if (result == 0) {
        *type = record.Word(0);
    }
    return result == 0;
}

}  // namespace zarn
