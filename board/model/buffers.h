#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "board/model/programs.h"

// The buffers that a board's programs take from their pools and give back, or never do, and the
// pools' looks for those that are held too long. Plain data and functions of scenario, seed and
// board time alone; times in microseconds.
namespace zarn::board {

inline constexpr std::size_t kMaxBufferGroups = 8;
// Two for each program and for the board's server: what is held all along, and what comes and goes.
inline constexpr std::size_t kMaxBufferOwners = 2 * (kMaxPrograms + 1);
// Stands for the board's server where the index of a program is meant.
inline constexpr std::uint32_t kServerProgram = 0xFFFFFFFF;

// Who takes buffers, and how: one in each stretch of `everyUs`, at a random place in it.
struct BufferOwner {
    std::uint32_t holder = kServerProgram;     // index of the program that holds them
    std::uint32_t allocator = kServerProgram;  // and of the one that allocated them
    std::uint64_t everyUs = 0;                 // 0: none is taken
    std::uint32_t holdUs = 0;      // how long it is held: that, up to half as much less or more
    std::uint32_t stuckOneOf = 0;  // of each so many one, a random one, never comes back; 0: none
    std::uint32_t most = 0xFFFFFFFF;  // once so many are stuck no more are taken
    std::array<char, 32> pool{};      // name, ends in a NUL
    std::uint32_t groupCount = 0;
    std::array<std::array<char, 16>, kMaxBufferGroups> groups{};  // names, each ends in a NUL
};

struct BufferPools {
    std::uint32_t blockSize = 4096;  // of the pool that each owner has
    std::uint32_t blockCount = 1024;
    std::uint32_t ownerCount = 0;
    std::array<BufferOwner, kMaxBufferOwners> owners{};
};

// What becomes of an owner's buffers, which are numbered from 0 on as they are taken.
class OwnerBuffers {
public:
    // `index` is the owner's in `pools`, which must outlive this.
    OwnerBuffers(const BufferPools& pools, std::size_t index, std::uint64_t seed)
        : owner_(pools.owners[index]), blockCount_(pools.blockCount), index_(index), seed_(seed) {}

    [[nodiscard]] std::uint64_t TakenUs(std::uint64_t number) const;
    // How long it is held if it comes back, and the longest of these times.
    [[nodiscard]] std::uint64_t HeldUs(std::uint64_t number) const;
    [[nodiscard]] std::uint64_t LongestUs() const;
    // Whether it never comes back.
    [[nodiscard]] bool IsStuck(std::uint64_t number) const;
    // The first one from `number` on that is stuck; for owners of whom buffers are.
    [[nodiscard]] std::uint64_t NextStuck(std::uint64_t number) const;
    [[nodiscard]] std::uint64_t StuckBefore(std::uint64_t number) const;
    // False once the owner takes no more.
    [[nodiscard]] bool IsTaken(std::uint64_t number) const;
    // The pool's block that it is: stuck ones lie at the end, the others go round in the rest.
    [[nodiscard]] std::uint32_t BlockOf(std::uint64_t number) const;

private:
    [[nodiscard]] std::uint64_t StuckPlace(std::uint64_t stretch) const;

    const BufferOwner& owner_;
    std::uint32_t blockCount_;
    std::size_t index_;
    std::uint64_t seed_;
};

// When the pools are looked through: at `sinceUs`, then every `everyUs`, up to `untilUs`.
struct BufferLooks {
    std::uint64_t sinceUs = 0;
    std::uint64_t untilUs = 0;
    std::uint32_t limitUs = 0;  // a buffer held so long is held too long
    std::uint32_t everyUs = 1;  // at least 1
};

// A buffer that a look has found to be held too long.
struct OverdueBuffer {
    std::size_t owner = 0;     // index
    std::uint64_t number = 0;  // of the owner's buffers
    std::uint64_t takenUs = 0;
    std::uint64_t foundUs = 0;  // the first look that finds it
};

// Walks over the buffers that the looks find, in the order in which they are found: by moment,
// owner and number. Each is found once, however long it is held. Nothing is allocated.
class OverdueWalk {
public:
    // `pools` must outlive the walk.
    OverdueWalk(const BufferPools& pools, std::uint64_t seed, const BufferLooks& looks)
        : pools_(pools), seed_(seed), looks_(looks) {}

    // The next one; false at the end.
    [[nodiscard]] bool Next(OverdueBuffer& buffer);

private:
    // An owner's next buffer, if it is known, and the number from which on to look for more.
    struct Head {
        std::optional<OverdueBuffer> buffer;
        std::uint64_t number = 0;
    };

    bool Advance(std::size_t index);
    [[nodiscard]] std::optional<std::uint64_t> NextCandidate(std::size_t index,
                                                             std::uint64_t number) const;
    [[nodiscard]] std::uint64_t FirstLook(std::uint64_t takenUs) const;

    const BufferPools& pools_;
    std::uint64_t seed_;
    BufferLooks looks_;
    std::array<Head, kMaxBufferOwners> heads_{};
};

}  // namespace zarn::board
