#pragma GCC visibility push(default)
#include "ara/rm/tepa_resource.h"
#pragma GCC visibility pop

#include <algorithm>

#include "board/device/library_call.h"

using namespace zarn::board;  // the entry points of the library: nothing else stands here

namespace ara::rm {

bool RegisterTepaResource() {
    const int code = RunLibraryCall({Call::kRegister}, nullptr, [](BoardState& state) -> int {
        auto& list = state.registered;
        const std::int32_t self = OwnProcessId();
        if (std::find(list.begin(), list.end(), self) != list.end()) {
            return kDeviceOk;
        }
        auto* place = std::find(list.begin(), list.end(), 0);
        if (place == list.end()) {
            return kBusy;
        }
        *place = self;
        return kDeviceOk;
    });
    return code == kDeviceOk;
}

bool UnRegisterTepaResource() {
    const int code = RunLibraryCall({Call::kUnRegister}, nullptr, [](BoardState& state) -> int {
        auto& list = state.registered;
        auto* place = std::find(list.begin(), list.end(), OwnProcessId());
        if (place == list.end()) {
            return kNotStarted;
        }
        *place = 0;
        return kDeviceOk;
    });
    return code == kDeviceOk;
}

}  // namespace ara::rm
