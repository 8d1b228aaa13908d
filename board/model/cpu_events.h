#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

// The events that the processor's counters know, by the codes in which they are asked for.
namespace zarn::board {

enum class CpuEvent : std::size_t {
    InstRetired,
    BranchMisses,
    Cycles,
    InstSpec,
    L2iAccess,
    L2iRefill,
    L2iTlbRefill,
    L2iTlbAccess,
    SpBranch,
    ReturnMiss,
    IndirectMiss,
    CallMiss,
    PushMiss,
    RobStall,
    PcBufferStall,
    IntTagStall,
    CcTagStall,
    VfpTagStall,
    AluQueueStall,
    LsuQueueStall,
    FsuQueueStall,
    SyncStall,
    Flush,
    NukeFlush,
    FetchBubble,
    LongFetchBubble,
    SaveQueueStall,
    ResourceStall,
    ExeStall,
    DivideStall,
    FsuStall,
    LoadStall,
    StoreStall,
    L1MissOpen,
    L2MissOpen,
};

inline constexpr std::size_t kCpuEventCount = 35;

// The codes, in the order of CpuEvent.
inline constexpr std::array<std::uint32_t, kCpuEventCount> kCpuEventCodes{
    0x8,    0x10,   0x11,   0x1b,   0x27,   0x28,   0x2e,   0x30,   0x1001, 0x100c, 0x1010, 0x1014,
    0x1018, 0x2004, 0x2005, 0x2006, 0x2007, 0x2008, 0x200b, 0x200c, 0x200d, 0x2010, 0x2012, 0x2013,
    0x2014, 0x201d, 0x201e, 0x7000, 0x7001, 0x7002, 0x7003, 0x7004, 0x7005, 0x7006, 0x7007};

// The event of a code, if the processor knows it.
[[nodiscard]] constexpr std::optional<CpuEvent> EventOfCode(std::uint32_t code) {
    for (std::size_t i = 0; i < kCpuEventCount; ++i) {
        if (kCpuEventCodes[i] == code) {
            return static_cast<CpuEvent>(i);
        }
    }
    return std::nullopt;
}

// A number for each event: a count, or what a cycle brings of it.
class CpuCounts {
public:
    [[nodiscard]] double& operator[](CpuEvent event) {
        return values_[static_cast<std::size_t>(event)];
    }
    [[nodiscard]] double operator[](CpuEvent event) const {
        return values_[static_cast<std::size_t>(event)];
    }
    void Add(const CpuCounts& others, double factor) {
        for (std::size_t i = 0; i < kCpuEventCount; ++i) {
            values_[i] += others.values_[i] * factor;
        }
    }

private:
    std::array<double, kCpuEventCount> values_{};
};

}  // namespace zarn::board
