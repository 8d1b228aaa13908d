#include "board/device/buffer_device.h"

#include <algorithm>

#include "board/device/device_codes.h"
#include "board/device/record.h"

namespace zarn::board {
namespace {

constexpr std::uint64_t kPoolAddress = 0xFFFF800000000000ULL;
constexpr unsigned kPoolBits = 36;  // of the addresses that a pool may have

void PutRecord(const BoardState& state, const OverdueBuffer& buffer, std::uint32_t callerPid,
               unsigned char* out) {
    const BufferPools& pools = state.scenario.buffers;
    const BufferOwner& owner = pools.owners[buffer.owner];
    const std::uint64_t useTime =
        std::min<std::uint64_t>(buffer.foundUs - buffer.takenUs, 0xFFFFFFFF);
    std::fill_n(out, kBufferRecordSize, static_cast<unsigned char>(0));
    PutNumber(out, 0, buffer.takenUs, 8);
    PutNumber(out, 8, BufferAddress(state, buffer), 8);
    PutWord(out, 16, PidOf(state, owner.holder, callerPid));
    PutWord(out, 20, PidOf(state, owner.allocator, callerPid));
    PutNumber(out, 24, useTime, 4);
    PutWord(out, 48, pools.blockSize);
    PutWord(out, 52, pools.blockCount);
    std::copy(owner.pool.begin(), owner.pool.end(), out + 64);
}

}  // namespace

int ConfigureBuffers(BoardState& state, std::uint32_t command, const void* setting,
                     std::uint32_t size, std::uint64_t timeUs) {
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
    const BufferRecording recording{record.Word(0),  record.Word(4), record.Word(8),
                                    record.Word(12), timeUs,         {}};
    if (recording.enabled > 1 || recording.maxRecords == 0 ||
        recording.maxRecords > kMaxBufferRecords || recording.scanUs == 0) {
        return kBadValue;
    }
    state.recording = recording;
    return kDeviceOk;
}

int ReadBuffers(BoardState& state, std::uint32_t type, void* out, std::uint32_t& size,
                std::uint64_t timeUs, std::uint32_t callerPid) {
    if (type != 0) {
        return kUnknownCommand;
    }
    if (out == nullptr) {
        return kBadRecord;
    }
    BufferRecording& recording = state.recording;
    if (recording.enabled == 0) {
        return kNotStarted;
    }
    recording.askedUs = {recording.askedUs[1], timeUs};
    OverdueWalk walk = WalkRecording(state, timeUs);
    const std::uint32_t room = std::min(recording.maxRecords, size / kBufferRecordSize);
    std::uint32_t count = 0;
    for (OverdueBuffer buffer; count < room && walk.Next(buffer); ++count) {
        PutRecord(state, buffer, callerPid,
                  static_cast<unsigned char*>(out) + std::size_t{count} * kBufferRecordSize);
    }
    size = count * kBufferRecordSize;
    return kDeviceOk;
}

OverdueWalk WalkRecording(const BoardState& state, std::uint64_t timeUs) {
    const BufferRecording& recording = state.recording;
    return {state.scenario.buffers,
            state.seed,
            {recording.sinceUs, timeUs, recording.limitUs, recording.scanUs}};
}

std::uint64_t BufferAddress(const BoardState& state, const OverdueBuffer& buffer) {
    const BufferPools& pools = state.scenario.buffers;
    const std::uint64_t block =
        OwnerBuffers(pools, buffer.owner, state.seed).BlockOf(buffer.number);
    return kPoolAddress + (std::uint64_t{buffer.owner} << kPoolBits) + block * pools.blockSize;
}

std::uint32_t PidOf(const BoardState& state, std::uint32_t program, std::uint32_t callerPid) {
    const std::int32_t pid = program < kMaxPrograms ? state.programPids[program] : state.serverPid;
    return pid != 0 ? static_cast<std::uint32_t>(pid) : callerPid;
}

}  // namespace zarn::board
