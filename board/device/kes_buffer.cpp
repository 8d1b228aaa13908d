#pragma GCC visibility push(default)
#include "kes_buffer.h"
#pragma GCC visibility pop

#include "board/device/buffer_device.h"
#include "board/device/library_call.h"
#include "board/device/record.h"

using namespace zarn::board;  // the entry points of the library: nothing else stands here

int kesBuffCfg(unsigned command, void* setting, unsigned size) {
    CallArguments arguments{Call::kBuffCfg};
    arguments.mainCommand = command;
    if (setting != nullptr && size >= 4) {
        arguments.key = RecordReader(setting, size).Word(0);
    }
    return RunLibraryCall(arguments, nullptr, [&](BoardState& state) {
        return ConfigureBuffers(state, command, setting, size, BoardTimeUs(state));
    });
}

int kesBuffGetInfo(unsigned type, void* in, unsigned inSize, void* out, unsigned* outSize) {
    CallArguments arguments{Call::kBuffGetInfo};
    arguments.mainCommand = type;
    return RunLibraryCall(arguments, outSize, [&](BoardState& state) -> int {
        if (in != nullptr || inSize != 0 || outSize == nullptr) {
            return kBadRecord;
        }
        const auto caller = static_cast<std::uint32_t>(OwnProcessId());
        return ReadBuffers(state, type, out, *outSize, BoardTimeUs(state), caller);
    });
}
