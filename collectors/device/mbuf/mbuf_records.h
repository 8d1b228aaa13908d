#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Records of the buffer library: buffers that are held too long.
namespace zarn {

inline constexpr std::size_t kMbufRecordSize = 224;
inline constexpr std::size_t kMostMbufRecords = 8192;  // of one query

struct MbufRecord {
    std::uint64_t timeStamp = 0;  // when the buffer was taken
    std::uint64_t mbuf = 0;       // its address
    std::uint32_t usePid = 0;     // who holds it
    std::uint32_t allocPid = 0;   // who allocated it
    std::uint32_t useTime = 0;    // how long it has been held
    std::uint32_t blkSize = 0;
    std::uint32_t totalBlkNum = 0;
    std::string poolName;  // of at most 160 bytes, its place in the record
};

// The whole records of an answer; what is left over at its end is none. A name without its zero
// ends with the record.
[[nodiscard]] std::vector<MbufRecord> ParseMbufRecords(std::string_view answer);

// An address as a stream prints a pointer: the null pointer is "0".
class MbufPointer {
public:
    explicit MbufPointer(std::uint64_t address);

    [[nodiscard]] std::string_view Text() const { return {text_.data(), size_}; }

private:
    std::array<char, 18> text_;  // not set beyond the size
    std::uint8_t size_ = 0;
};

// What tells one buffer that is held from another: the text "<mbuf>_<timeStamp>_<useTime>". A query
// may hold thousands, so that it does without memory of its own.
class MbufKey {
public:
    explicit MbufKey(const MbufRecord& record);

    [[nodiscard]] std::string_view Text() const { return {text_.data(), size_}; }

private:
    std::array<char, 55> text_;  // not set beyond the size
    std::uint8_t size_ = 0;
};

// The queries of a cycle. Their records must outlive it.
class MbufCycle {
public:
    // Takes the records of the next query.
    void Add(const std::vector<MbufRecord>& records);

    // What came with a query behind the first and with none before, in the order of the keys.
    [[nodiscard]] std::vector<const MbufRecord*> NewRecords() const;

private:
    struct Seen {
        MbufKey key;
        const MbufRecord* record;  // nullptr for those of the first query
    };

    bool isFirst_ = true;
    std::vector<Seen> seen_;
};

}  // namespace zarn
