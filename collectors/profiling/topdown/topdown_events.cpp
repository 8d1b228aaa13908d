#include "collectors/profiling/topdown/topdown_events.h"

#include <array>
#include <cstdint>

namespace zarn {
namespace {

struct RawEvent {
    const char* code;
    const char* name;
};

constexpr std::array<RawEvent, kTopdownEventCount> kEvents = {{
    {"r8", "INST_RETIRED"},
    {"r10", "BR_MIS_PRED"},
    {"r11", "CPU_CYCLES"},
    {"r1b", "INST_SPEC"},
    {"r27", "L2I_CACHE"},
    {"r28", "L2I_CACHE_REFILL"},
    {"r2e", "L2I_TLB_REFILL"},
    {"r30", "L2I_TLB"},
    {"r1001", "IF_BP_PRED_BR_SP"},
    {"r100c", "IF_BP_PRED_BR_RET"},
    {"r1010", "IF_BP_MISP_BR_IND"},
    {"r1014", "IF_BR_BL_SPEC"},
    {"r1018", "IF_BP_PRED_BR_LP"},
    {"r2004", "rob_stall"},
    {"r2005", "pcbuf_stall"},
    {"r2006", "Int_ptag_stall"},
    {"r2007", "cc_ptag_stall"},
    {"r2008", "vfp_ptag_stall"},
    {"r200b", "alu_isq_stall"},
    {"r200c", "lsu_isq_stall"},
    {"r200d", "fsu_isq_stall"},
    {"r2010", "sync_stall"},
    {"r2012", "ooo_flush_r4"},
    {"r2013", "nuke_flush"},
    {"r2014", "fetch_bubble"},
    {"r201d", "FetchBubbles_ExceedMIW"},
    {"r201e", "saveop_queue_stall"},
    {"r7000", "resource_bound"},
    {"r7001", "exe_stall_cycle"},
    {"r7002", "exe_stall_div"},
    {"r7003", "fsu_stall"},
    {"r7004", "memstall_anyload"},
    {"r7005", "memstall_anystore"},
    {"r7006", "memstall_L1miss"},
    {"r7007", "memstall_L2miss"},
}};

// Raw codes have few enough bytes to be one number with their count. 0 for what has more.
constexpr std::size_t kMostBytes = 5;

constexpr std::uint64_t KeyOf(std::string_view code) {
    if (code.size() > kMostBytes) {
        return 0;
    }
    std::uint64_t key = code.size();
    for (const char byte : code) {
        key = key << 8U | static_cast<unsigned char>(byte);
    }
    return key;
}

// The places of the events by their codes: a hash table that is never full, with open addressing.
class PlacesByCode {
public:
    constexpr PlacesByCode() {
        for (std::size_t place = 0; place < kEvents.size(); ++place) {
            const std::uint64_t key = KeyOf(kEvents[place].code);
            std::size_t slot = FirstSlot(key);
            while (keys_[slot] != 0) {
                slot = (slot + 1) % kSlots;
            }
            keys_[slot] = key;
            places_[slot] = place;
        }
    }

    [[nodiscard]] std::optional<std::size_t> Find(std::uint64_t key) const {
        for (std::size_t slot = FirstSlot(key); keys_[slot] != 0; slot = (slot + 1) % kSlots) {
            if (keys_[slot] == key) {
                return places_[slot];
            }
        }
        return std::nullopt;
    }

private:
    static constexpr std::size_t kSlots = 256;

    static constexpr std::size_t FirstSlot(std::uint64_t key) {
        constexpr std::uint64_t kSpread = 0x9e3779b97f4a7c15U;
        return (key * kSpread) >> 56U;
    }

    std::array<std::uint64_t, kSlots> keys_{};
    std::array<std::size_t, kSlots> places_{};
};

constexpr PlacesByCode kPlaces;

}  // namespace

const char* const kTopdownEventGroups =
    "'{r2014},{r11},{r1b},{r8},{r201d},{r10},{r2013},{r7000},{r7001},{r7004},{r7005},{r30},{r2e},"
    "{r27},{r28},{r1001},{r1010},{r1014},{r1018},{r100c},{r2012},{r2010},{r2004},{r2006},{r2007},"
    "{r2008},{r201e},{r2005},{r7002},{r7003},{r7006},{r7007},{r200b},{r200c},{r200d}'";

std::optional<std::size_t> FindTopdownEvent(std::string_view rawCode) {
    return kPlaces.Find(KeyOf(rawCode));
}

const char* TopdownEventName(std::size_t place) {
    return kEvents.at(place).name;
}

}  // namespace zarn
