#pragma GCC visibility push(default)
#include "tovi_device.h"
#pragma GCC visibility pop

#include "board/device/device_codes.h"
#include "board/device/device_info.h"
#include "board/device/library_call.h"
#include "board/device/record.h"

using namespace zarn::board;  // the entry points of the library: nothing else stands here

namespace {

// What a rule of the fault plan can tell a call by: a reading QoS call names its partition or
// master in the sub command, a writing one in the first word of its record.
CallArguments ArgumentsOf(Call call, const DeviceQuestion& question, const void* record,
                          std::uint32_t size) {
    CallArguments arguments{call, question.device, question.mainCommand,
                            question.subCommand & 0xFFU, question.subCommand >> 8U};
    if (call == Call::kSetDeviceInfo && record != nullptr && size >= 4) {
        arguments.key = RecordReader(record, size).Word(0);
    }
    return arguments;
}

}  // namespace

int tovi_get_device_count(int* count) {
    return RunLibraryCall({Call::kGetDeviceCount}, nullptr, [count](BoardState& state) -> int {
        if (count == nullptr) {
            return kBadRecord;
        }
        *count = static_cast<int>(state.scenario.deviceCount);
        return kDeviceOk;
    });
}

int tovi_list_device(int* devices, int count) {
    return RunLibraryCall({Call::kListDevice}, nullptr, [devices, count](BoardState& state) {
        return ListDevices(state, devices, count);
    });
}

int tovi_get_device_info(unsigned device, unsigned mainCommand, unsigned subCommand, void* buffer,
                         unsigned* size) {
    const DeviceQuestion question{device, mainCommand, subCommand};
    const CallArguments arguments = ArgumentsOf(Call::kGetDeviceInfo, question, nullptr, 0);
    return RunLibraryCall(arguments, size, [&](BoardState& state) -> int {
        return size == nullptr ? kBadRecord
                               : GetInfo(state, question, buffer, *size, BoardTimeMs(state));
    });
}

int tovi_set_device_info(unsigned device, unsigned mainCommand, unsigned subCommand,
                         const void* buffer, unsigned size) {
    const DeviceQuestion question{device, mainCommand, subCommand};
    const CallArguments arguments = ArgumentsOf(Call::kSetDeviceInfo, question, buffer, size);
    return RunLibraryCall(arguments, nullptr, [&](BoardState& state) {
        return SetInfo(state, question, buffer, size);
    });
}
