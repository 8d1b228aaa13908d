#include "board/server/board_files.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

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

std::string BufferGroupsText(std::int32_t pid) {
    std::ostringstream text;
    text << "task pid " << pid << " group cnt: 2\n"
         << "0:default_dm( pool_id 1 )\n"
         << "1:vboard( pool_id 2 )\n";
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
