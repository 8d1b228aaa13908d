#include "board/server/board_files.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

#include "board/device/buffer_device.h"
#include "board/state/observation.h"

namespace zarn::board {

std::string BandwidthTable(const BoardState& state, std::uint64_t timeMs) {
    std::ostringstream text;
    text << "mpamid|bandwidth(MB/s)|bw_low(GB/s)|bw_high(GB/s)|hardlimit\n";
    const MemoryMoment moment = Observe(state, timeMs);
    const std::size_t count = std::min<std::size_t>(state.monitor.idCount, kMaxMonitorIds);
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t mpamid = state.monitor.ids[i];
        const std::optional<std::size_t> index = IndexOfPartition(mpamid);
        if (!index) {
            continue;
        }
        const PartitionBounds& bounds = state.partitions[mpamid];
        text << std::setw(6) << mpamid << '|' << std::setw(15)
             << static_cast<std::uint64_t>(moment.grants[*index]) << '|' << std::setw(12)
             << bounds.low << '|' << std::setw(13) << bounds.high << '|' << std::setw(9)
             << bounds.hardlimit << '\n';
    }
    return text.str();
}

std::string BufferGroupsText(std::int32_t pid, const std::vector<std::string>& groups) {
    std::ostringstream text;
    text << "task pid " << pid << " group cnt: " << groups.size() << '\n';
    for (std::size_t i = 0; i < groups.size(); ++i) {
        text << i << ':' << groups[i] << "( pool_id " << i + 1 << " )\n";
    }
    return text.str();
}

std::vector<std::string> BufferGroupsOf(const BufferPools& pools, std::uint32_t program) {
    const std::size_t count = std::min<std::size_t>(pools.ownerCount, kMaxBufferOwners);
    std::vector<std::string> groups;
    for (std::size_t i = 0; i < count && groups.empty(); ++i) {
        const BufferOwner& owner = pools.owners[i];
        for (std::size_t k = 0; k < owner.groupCount && owner.holder == program; ++k) {
            groups.emplace_back(owner.groups[k].data());
        }
    }
    return groups;
}

std::string RecordedBuffersText(const BoardState& state, std::uint64_t timeUs) {
    std::ostringstream text;
    text << "time: " << timeUs << " us\n"
         << "mbuf               taken_us     found_us     pid      program         pool\n"
         << std::left;
    if (state.recording.enabled == 0) {
        return text.str();
    }
    OverdueWalk walk = WalkRecording(state, timeUs);
    std::uint32_t count = 0;
    for (OverdueBuffer buffer; count < state.recording.maxRecords && walk.Next(buffer); ++count) {
        const BufferOwner& owner = state.scenario.buffers.owners[buffer.owner];
        const bool isServers = owner.holder == kServerProgram;
        std::ostringstream address;
        address << "0x" << std::hex << BufferAddress(state, buffer);
        text << std::setw(18) << address.str() << ' ' << std::setw(12) << buffer.takenUs << ' '
             << std::setw(12) << buffer.foundUs << ' ' << std::setw(8)
             << PidOf(state, owner.holder, 0) << ' ' << std::setw(15)
             << (isServers ? kServerName : state.scenario.programs.plans[owner.holder].name.data())
             << ' ' << owner.pool.data() << '\n';
    }
    return text.str();
}

std::string BufferRecordingText(const BoardState& state) {
    const BufferRecording& recording = state.recording;
    if (recording.enabled == 0) {
        return "recording: off\n";
    }
    std::ostringstream text;
    text << "recording: since " << recording.sinceUs << " us, held for " << recording.limitUs
         << " us, a look every " << recording.scanUs << " us, asked at";
    for (const std::uint64_t asked : recording.askedUs) {
        text << ' ' << asked;
    }
    text << " us\n";
    return text.str();
}

std::string StatusText(const BoardState& state) {
    std::ostringstream text;
    text << "name        mpamid bw_low bw_high hardlimit priority\n";
    for (const BusMaster& master : kMasters) {
        const bool hasNumber = master.number != kNoMasterNumber;
        const std::uint32_t mpamid =
            hasNumber ? state.masters[master.number].mpamid : master.mpamid;
        const PartitionBounds& bounds = state.partitions[mpamid];
        text << std::left << std::setw(12) << master.name << std::right << std::setw(6) << mpamid
             << std::setw(7) << bounds.low << std::setw(8) << bounds.high << std::setw(10)
             << bounds.hardlimit << std::setw(9)
             << (hasNumber ? state.masters[master.number].priority : state.scenario.cpuPriority)
             << '\n';
    }
    text << "monitor: " << (state.monitor.running != 0 ? "on" : "off")
         << ", library calls: " << state.calls << '\n';
    return text.str();
}

}  // namespace zarn::board
