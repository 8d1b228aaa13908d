#include "board/device/qos_device.h"

#include "board/device/device_codes.h"
#include "board/device/record.h"

namespace zarn::board {
namespace {

constexpr std::uint32_t kPartitionSize = 48;
constexpr std::uint32_t kMasterSize = 80;
constexpr std::uint32_t kMonitorSize = 104;
constexpr std::uint32_t kGlobalSize = 48;

constexpr std::size_t kMonitorIdsOffset = 8;
static_assert(kMonitorIdsOffset + kMaxMonitorIds * 4 == kMonitorSize);

int SetPartition(BoardState& state, const RecordReader& record) {
    const std::uint32_t mpamid = record.Word(0);
    const PartitionBounds bounds{record.Word(8), record.Word(4), record.Word(12)};
    if (!record.IsZeroFrom(16)) {
        return kBadRecord;
    }
    if (!IndexOfPartition(mpamid) || bounds.low > kPeakGb || bounds.high > kPeakGb ||
        bounds.hardlimit > 1) {
        return kBadValue;
    }
    state.partitions[mpamid] = bounds;
    AnnounceChange(state);
    return kDeviceOk;
}

int SetMaster(BoardState& state, const RecordReader& record) {
    const std::uint32_t number = record.Word(0);
    const MasterConfig config{record.Word(4), record.Word(8)};
    bool isWellFormed = record.Word(12) == 0 && record.IsZeroFrom(48);
    for (std::size_t offset = 16; offset < 48; offset += 8) {
        isWellFormed =
            isWellFormed && record.Word(offset) == 0xFFFFFFFF && record.Word(offset + 4) == 0;
    }
    if (!isWellFormed) {
        return kBadRecord;
    }
    if (!IndexOfNumber(number) || !IndexOfPartition(config.mpamid) ||
        config.priority > kMaxPriority) {
        return kBadValue;
    }
    state.masters[number] = config;
    AnnounceChange(state);
    return kDeviceOk;
}

int StopMonitor(BoardState& state) {
    if (state.monitor.running == 0) {
        return kNotStarted;
    }
    state.monitor = BandwidthMonitor{};
    AnnounceChange(state);
    return kDeviceOk;
}

int SetMonitor(BoardState& state, const RecordReader& record) {
    if (record.IsZeroFrom(0)) {
        return StopMonitor(state);
    }
    BandwidthMonitor monitor;
    monitor.running = 1;
    monitor.idCount = record.Byte(2);
    monitor.sampling = record.Word(4);
    if (record.Byte(0) != 1 || record.Byte(1) != 2 || record.Byte(3) != 0) {
        return kBadRecord;
    }
    if (monitor.idCount > kMaxMonitorIds || monitor.sampling == 0) {
        return kBadValue;
    }
    if (!record.IsZeroFrom(kMonitorIdsOffset + monitor.idCount * std::size_t{4})) {
        return kBadRecord;
    }
    for (std::size_t i = 0; i < monitor.idCount; ++i) {
        monitor.ids[i] = record.Word(kMonitorIdsOffset + i * 4);
        if (!IndexOfPartition(monitor.ids[i])) {
            return kBadValue;
        }
    }
    if (state.monitor.running != 0) {
        return kBusy;
    }
    state.monitor = monitor;
    AnnounceChange(state);
    return kDeviceOk;
}

int SetGlobal(BoardState& state, const RecordReader& record) {
    if (record.Word(0) != 1 || !record.IsZeroFrom(4)) {
        return kBadRecord;
    }
    state.qosEnabled = 1;
    return kDeviceOk;
}

int GetPartition(const BoardState& state, std::uint32_t mpamid, void* record) {
    if (!IndexOfPartition(mpamid)) {
        return kBadValue;
    }
    const PartitionBounds& bounds = state.partitions[mpamid];
    PutWord(record, 4, bounds.high);
    PutWord(record, 8, bounds.low);
    PutWord(record, 12, bounds.hardlimit);
    return kDeviceOk;
}

int GetMaster(const BoardState& state, std::uint32_t number, void* record) {
    if (!IndexOfNumber(number)) {
        return kBadValue;
    }
    PutWord(record, 4, state.masters[number].mpamid);
    PutWord(record, 8, state.masters[number].priority);
    return kDeviceOk;
}

}  // namespace

int SetQos(BoardState& state, std::uint32_t subCommand, const void* record, std::uint32_t size) {
    using Setter = int (*)(BoardState&, const RecordReader&);
    struct Row {
        std::uint32_t size;
        Setter set;
    };
    constexpr std::array<Row, 4> kSetters{{{kPartitionSize, SetPartition},
                                           {kMasterSize, SetMaster},
                                           {kMonitorSize, SetMonitor},
                                           {kGlobalSize, SetGlobal}}};
    if (subCommand >= kSetters.size()) {
        return kUnknownCommand;
    }
    if (size != kSetters[subCommand].size) {
        return kWrongSize;
    }
    return kSetters[subCommand].set(state, RecordReader(record, size));
}

int GetQos(const BoardState& state, std::uint32_t subCommand, void* record, std::uint32_t size) {
    const std::uint32_t operation = subCommand & 0xFFU;
    const std::uint32_t key = subCommand >> 8U;
    if (operation != kPartitionRecord && operation != kMasterRecord) {
        return kUnknownCommand;
    }
    if (size != (operation == kPartitionRecord ? kPartitionSize : kMasterSize)) {
        return kWrongSize;
    }
    const RecordReader question(record, size);
    if (question.Word(0) != key || !question.IsZeroFrom(4)) {
        return kBadRecord;
    }
    return operation == kPartitionRecord ? GetPartition(state, key, record)
                                         : GetMaster(state, key, record);
}

}  // namespace zarn::board
