#include "board/device/device_info.h"

#include <algorithm>

#include "board/device/device_codes.h"
#include "board/device/qos_device.h"
#include "board/device/record.h"
#include "board/state/observation.h"

namespace zarn::board {
namespace {

constexpr std::uint32_t kWordSize = 4;

int GetImageUsage(const BoardState& state, std::uint32_t engine, void* buffer, std::uint32_t size,
                  std::uint64_t timeMs) {
    constexpr std::array<std::size_t, 3> kEngines{kImgpVdec, kImgpVpc, kImgpVenc};
    if (engine < 1 || engine > kEngines.size()) {
        return kUnknownCommand;
    }
    if (size != kWordSize) {
        return kWrongSize;
    }
    PutWord(buffer, 0, ImageEngineUsage(state, kEngines[engine - 1], timeMs));
    return kDeviceOk;
}

int GetDdrType(const BoardState& state, std::uint32_t subCommand, void* buffer,
               std::uint32_t size) {
    if (subCommand != 0) {
        return kUnknownCommand;
    }
    if (size != kWordSize) {
        return kWrongSize;
    }
    PutWord(buffer, 0, state.scenario.ddrType);
    return kDeviceOk;
}

int GetAiUsage(const BoardState& state, std::uint32_t subCommand, void* buffer, std::uint32_t& size,
               std::uint64_t timeMs) {
    const std::uint32_t cores =
        std::min(state.scenario.aiCoreCount, static_cast<std::uint32_t>(kMaxAiCores));
    if (subCommand != 0) {
        return kUnknownCommand;
    }
    if (size < cores) {
        return kWrongSize;
    }
    AiCoreUsage(state, timeMs, static_cast<std::uint8_t*>(buffer), cores);
    size = cores;
    return kDeviceOk;
}

std::size_t DeviceCount(const BoardState& state) {
    return std::min<std::size_t>(state.scenario.deviceCount, kMaxDevices);
}

}  // namespace

bool HasDevice(const BoardState& state, std::uint32_t device) {
    const auto* end = state.scenario.devices.data() + DeviceCount(state);
    return std::find(state.scenario.devices.data(), end, static_cast<std::int32_t>(device)) != end;
}

int ListDevices(const BoardState& state, int* devices, int count) {
    if (count < 0 || static_cast<std::size_t>(count) > DeviceCount(state)) {
        return kBadValue;
    }
    if (devices == nullptr && count > 0) {
        return kBadRecord;
    }
    std::copy_n(state.scenario.devices.begin(), count, devices);
    return kDeviceOk;
}

int GetInfo(const BoardState& state, const DeviceQuestion& question, void* buffer,
            std::uint32_t& size, std::uint64_t timeMs) {
    if (!HasDevice(state, question.device)) {
        return kNoDevice;
    }
    if (buffer == nullptr) {
        return kBadRecord;
    }
    switch (question.mainCommand) {
        case kImageBlock:
            return GetImageUsage(state, question.subCommand, buffer, size, timeMs);
        case kAiBlock:
            return GetAiUsage(state, question.subCommand, buffer, size, timeMs);
        case kMemoryGroup:
            return question.device == 0 ? GetDdrType(state, question.subCommand, buffer, size)
                                        : kNoDevice;
        case kQosGroup:
            return question.device == 0 ? GetQos(state, question.subCommand, buffer, size)
                                        : kNoDevice;
        default:
            return kUnknownCommand;
    }
}

int SetInfo(BoardState& state, const DeviceQuestion& question, const void* buffer,
            std::uint32_t size) {
    if (!HasDevice(state, question.device)) {
        return kNoDevice;
    }
    if (buffer == nullptr) {
        return kBadRecord;
    }
    if (question.mainCommand != kQosGroup) {
        return kUnknownCommand;
    }
    return question.device == 0 ? SetQos(state, question.subCommand, buffer, size) : kNoDevice;
}

}  // namespace zarn::board
