#include "board/device/buffer_device.h"

#include <algorithm>
#include <string_view>

#include "board/device/device_codes.h"
#include "board/device/record.h"

namespace zarn::board {
namespace {

constexpr std::uint64_t kUsPerMs = 1000;
constexpr std::uint64_t kPoolAddress = 0xFFFF800000000000ULL;
constexpr std::uint64_t kHoldStream = 4;
constexpr std::string_view kPoolName = "vboard_pool";

// When buffer `index` of the recording was taken, in microseconds of board time: those held from
// the start were taken one after the other when the board started, the others as they leaked.
std::uint64_t TakenAtUs(const BoardState& state, std::uint64_t index) {
    const BufferLeak& leak = state.scenario.buffers;
    if (index < leak.held) {
        return (index + 1) * kUsPerMs;
    }
    const std::uint64_t leaked = index - leak.held + 1;
    return (state.recording.sinceMs + leaked * leak.leakEveryMs) * kUsPerMs;
}

void PutRecord(const BoardState& state, std::uint64_t index, std::uint32_t holder,
               unsigned char* out) {
    const BufferLeak& leak = state.scenario.buffers;
    const std::uint64_t taken = TakenAtUs(state, index);
    const std::uint64_t extra =
        HashOf(state.seed, kHoldStream, 0, taken) % (state.recording.limitUs + 1ULL);
    std::fill_n(out, kBufferRecordSize, static_cast<unsigned char>(0));
    PutNumber(out, 0, taken, 8);
    PutNumber(out, 8, kPoolAddress + taken * leak.blockSize, 8);
    PutWord(out, 16, holder);
    PutWord(out, 20, holder);
    PutNumber(out, 24, state.recording.limitUs + extra, 4);
    PutWord(out, 48, leak.blockSize);
    PutWord(out, 52, leak.blockCount);
    std::copy(kPoolName.begin(), kPoolName.end(), out + 64);
}

}  // namespace

int ConfigureBuffers(BoardState& state, std::uint32_t command, const void* setting,
                     std::uint32_t size, std::uint64_t timeMs) {
    if (command != 0) {
        return kUnknownCommand;
    }
    if (setting == nullptr) {
        return kBadRecord;
    }
    if (size != kBufferSettingSize) {
        return kWrongSize;
    }
    const RecordReader record(setting, size);
    const BufferRecording recording{record.Word(0), record.Word(4), record.Word(8), record.Word(12),
                                    timeMs};
    if (recording.enabled > 1 || recording.maxRecords == 0 ||
        recording.maxRecords > kMaxBufferRecords) {
        return kBadValue;
    }
    state.recording = recording;
    return kDeviceOk;
}

int ReadBuffers(const BoardState& state, std::uint32_t type, void* out, std::uint32_t& size,
                std::uint64_t timeMs, std::uint32_t callerPid) {
    if (type != 0) {
        return kUnknownCommand;
    }
    if (out == nullptr) {
        return kBadRecord;
    }
    if (state.recording.enabled == 0) {
        return kNotStarted;
    }
    const BufferLeak& leak = state.scenario.buffers;
    const std::uint64_t elapsed = timeMs - std::min(timeMs, state.recording.sinceMs);
    const std::uint64_t found =
        leak.held + (leak.leakEveryMs == 0 ? 0 : elapsed / leak.leakEveryMs);
    const std::uint64_t count =
        std::min<std::uint64_t>({found, state.recording.maxRecords, size / kBufferRecordSize});
    const std::uint32_t holder =
        state.serverPid != 0 ? static_cast<std::uint32_t>(state.serverPid) : callerPid;
    for (std::uint64_t i = 0; i < count; ++i) {
        PutRecord(state, i, holder, static_cast<unsigned char*>(out) + i * kBufferRecordSize);
    }
    size = static_cast<std::uint32_t>(count * kBufferRecordSize);
    return kDeviceOk;
}

}  // namespace zarn::board
