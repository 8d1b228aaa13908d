#include "board/setup/buffer_owners.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "board/setup/program_plans.h"

namespace zarn::board {
namespace {

constexpr std::uint32_t kMostBytes = 0x40000000;
constexpr std::uint32_t kMostMs = 86400000;
constexpr std::uint32_t kMostHoldMs = 1000000;
constexpr std::uint32_t kMostRate = 10000;
constexpr std::uint32_t kMostHeld = 8192;
constexpr std::uint32_t kUsPerMs = 1000;
constexpr std::uint32_t kUsPerS = 1000000;
constexpr const char* kDefaultPool = "vboard_pool";

template <std::size_t kSize>
void CopyName(std::string_view name, std::array<char, kSize>& place) {
    std::copy(name.begin(), name.end(), place.begin());
}

// Adds what an owner holds all along: buffers taken one after the other when the board starts.
void ReadHeld(Fields& fields, const BufferOwner& owner, BufferPools& pools) {
    std::uint32_t held = 0;
    fields.Count("held", held, std::min(kMostHeld, pools.blockCount));
    BufferOwner& added = pools.owners[pools.ownerCount];
    added = owner;
    added.everyUs = kUsPerMs;
    added.stuckOneOf = 1;
    added.most = held;
    ++pools.ownerCount;
}

void ReadServersBuffers(Fields& fields, BufferPools& pools) {
    std::uint32_t leakEveryMs = 0;
    fields.Count("leak_every_ms", leakEveryMs, kMostMs);
    BufferOwner server;
    server.everyUs = std::uint64_t{leakEveryMs} * kUsPerMs;
    server.stuckOneOf = 1;
    server.most = pools.blockCount;
    CopyName(kDefaultPool, server.pool);
    pools.owners[0] = server;
    pools.ownerCount = 1;
    ReadHeld(fields, server, pools);
}

std::uint32_t ReadProgramName(Fields& fields, const char* key, const BoardPrograms& programs) {
    std::string name;
    fields.Text(key, name);
    const std::size_t index = IndexOfProgram(programs, name);
    if (index == programs.count) {
        Refuse(fields.NameOf(key), "the name of a program");
    }
    return static_cast<std::uint32_t>(index);
}

void ReadPoolName(Fields& fields, BufferOwner& owner) {
    std::string name = kDefaultPool;
    fields.Text("pool", name);
    if (!IsPlainName(name, owner.pool.size() - 1)) {
        Refuse(fields.NameOf("pool"), "1 to 31 of A-Z, a-z, 0-9, _ and -");
    }
    CopyName(name, owner.pool);
}

void ReadGroups(Fields& fields, BufferOwner& owner) {
    const JsonValue* list = fields.List("groups", kMaxBufferGroups);
    for (rapidjson::SizeType i = 0; list != nullptr && i < list->Size(); ++i) {
        const JsonValue& name = (*list)[i];
        if (!name.IsString() || !IsPlainName(name.GetString(), owner.groups[0].size() - 1)) {
            Refuse(fields.NameOf("groups"), "names, 1 to 15 of A-Z, a-z, 0-9, _ and -");
        }
        CopyName(name.GetString(), owner.groups[owner.groupCount]);
        ++owner.groupCount;
    }
}

// How many buffers it takes, and for how long.
void ReadPace(Fields& fields, std::uint32_t blockCount, BufferOwner& owner) {
    std::uint32_t rate = 0;
    std::uint32_t holdMs = 0;
    fields.Count("rate", rate, kMostRate);
    fields.Count("hold_ms", holdMs, kMostHoldMs);
    fields.Count("stuck_one_of", owner.stuckOneOf, kMostBytes);
    owner.everyUs = rate == 0 ? 0 : kUsPerS / rate;
    owner.holdUs = holdMs * kUsPerMs;
    if (rate == 0) {
        return;
    }
    const std::uint64_t longestUs = std::uint64_t{owner.holdUs} + owner.holdUs / 2;
    const std::uint64_t atATime = longestUs / owner.everyUs + 2;
    if (atATime > blockCount) {
        Refuse(fields.NameOf("rate"), "no more buffers at a time than the pool has blocks");
    }
    owner.most = static_cast<std::uint32_t>(blockCount - atATime + 1);
}

void ReadOwner(Fields& fields, const BoardPrograms& programs, BufferPools& pools) {
    BufferOwner owner;
    owner.holder = ReadProgramName(fields, "program", programs);
    const auto end = pools.owners.begin() + pools.ownerCount;
    if (std::any_of(pools.owners.begin(), end,
                    [&owner](const BufferOwner& other) { return other.holder == owner.holder; })) {
        Refuse(fields.NameOf("program"), "a program once");
    }
    owner.allocator = fields.Has("from") ? ReadProgramName(fields, "from", programs) : owner.holder;
    ReadPoolName(fields, owner);
    ReadGroups(fields, owner);
    ReadPace(fields, pools.blockCount, owner);
    pools.owners[pools.ownerCount] = owner;
    ++pools.ownerCount;
    ReadHeld(fields, owner, pools);
    fields.Finish();
}

}  // namespace

void ReadBuffers(Fields& scenario, const BoardPrograms& programs, BufferPools& pools) {
    scenario.Section("buffers", [&](Fields& fields) {
        fields.Count("block_size", pools.blockSize, kMostBytes);
        fields.Count("block_count", pools.blockCount, kMostBytes);
        ReadServersBuffers(fields, pools);
        const JsonValue* list = fields.List("owners", kMaxPrograms);
        for (rapidjson::SizeType i = 0; list != nullptr && i < list->Size(); ++i) {
            Fields owner((*list)[i], fields.NameOf("owners") + "[" + std::to_string(i) + "]");
            ReadOwner(owner, programs, pools);
        }
    });
}

}  // namespace zarn::board
