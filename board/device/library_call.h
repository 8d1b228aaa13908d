#pragma once

#include <cstdint>

#include "board/device/device_codes.h"
#include "board/device/faults.h"

namespace zarn::board {

// What every call of the device libraries does around its own work: finds the board (kNoDevice
// without one), takes its lock, counts the call and asks the fault plan. `work` takes the state and
// gives a DeviceCode. `answerSize`, where the call has one, is what a rule that tampers with the
// size changes.
template <typename Work>
int RunLibraryCall(const CallArguments& arguments, std::uint32_t* answerSize, const Work& work) {
    BoardState* state = AttachBoard();
    if (state == nullptr) {
        return kNoDevice;
    }
    const BoardLock lock(*state);
    ++state->calls;
    const std::optional<Fault> fault = NextFault(*state, arguments);
    if (fault && fault->code != kDeviceOk) {
        return fault->code;
    }
    const int code = work(*state);
    if (fault && code == kDeviceOk && answerSize != nullptr) {
        *answerSize = fault->answerSize;
    }
    return code;
}

}  // namespace zarn::board
