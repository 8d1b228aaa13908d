#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

// Looking at eight bytes of a text in one step, for texts of which every byte counts and whose
// words end where nobody can foresee it.
namespace zarn::byte_words {

inline constexpr std::size_t kSize = sizeof(std::uint64_t);
inline constexpr std::uint64_t kOnes = ~std::uint64_t{0} / 0xff;
inline constexpr std::uint64_t kHighBits = kOnes * 0x80;
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the first byte is the lowest");

inline std::uint64_t Load(const char* bytes) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, kSize);
    return word;
}

// The high bit of each byte that is `c`.
constexpr std::uint64_t Equal(std::uint64_t word, char c) {
    const std::uint64_t different = word ^ (kOnes * static_cast<unsigned char>(c));
    return ~(((different & ~kHighBits) + ~kHighBits) | different) & kHighBits;
}

// The high bit of each byte from `first` to `last`, both of them below 128.
constexpr std::uint64_t Between(std::uint64_t word, char first, char last) {
    const std::uint64_t low = word & ~kHighBits;
    const std::uint64_t notBelow = low + kOnes * static_cast<unsigned char>(0x80 - first);
    const std::uint64_t above = low + kOnes * static_cast<unsigned char>(0x80 - last - 1);
    return notBelow & ~above & ~word & kHighBits;
}

// One bit per byte, the first byte's lowest, of a word that has nothing but high bits.
constexpr std::uint64_t Gather(std::uint64_t highBits) {
    return ((highBits >> 7U) * 0x0102'0408'1020'4080U) >> 56U;
}

static_assert(Between(0x405a'415b'c15a'0061, 'A', 'Z') == 0x0080'8000'0080'0000);
static_assert(Equal(0x2021'a000'2020'1f20, ' ') == 0x8000'0000'8080'0080);
static_assert(Gather(0x8000'0000'8080'0080) == 0b1000'1101);

// What a block of bytes holds, one bit per byte, the first byte's lowest.
inline constexpr std::size_t kBlockSize = 64;
struct BlockBits {
    std::uint64_t blanks = 0;
    bool special = false;  // whether a byte is none that JSON takes as it is within a string
};

inline BlockBits LookAt(const char* bytes) {
    BlockBits bits;
    std::uint64_t special = 0;
    for (std::size_t i = 0; i < kBlockSize; i += kSize) {
        const std::uint64_t word = Load(bytes + i);
        bits.blanks |= Gather(Equal(word, ' ')) << i;
        special |= Between(word, '\0', '\x1f') | Equal(word, '"') | Equal(word, '\\');
    }
    bits.special = special != 0;
    return bits;
}

// The last bytes of a text, fewer than a block, with blanks behind them.
inline std::array<char, kBlockSize> LastBlock(std::string_view bytes) {
    std::array<char, kBlockSize> block;
    block.fill(' ');
    std::memcpy(block.data(), bytes.data(), bytes.size());
    return block;
}

// Whether the text may stand in a JSON string as it is: no quote, no backslash, no control byte.
inline bool IsPlainJson(std::string_view text) {
    bool special = false;
    for (; text.size() >= kBlockSize; text.remove_prefix(kBlockSize)) {
        special = special || LookAt(text.data()).special;
    }
    return !special && (text.empty() || !LookAt(LastBlock(text).data()).special);
}

// Calls `take` with each word of `line`, the pieces between blanks that are not empty, in order.
// Gives whether the line may stand in a JSON string as it is.
template <typename Take>
bool ForEachWord(std::string_view line, Take take) {
    const char* wordStart = nullptr;  // of a word that has not ended yet
    std::uint64_t blankBefore = 1;    // whether the byte before the next ones is a blank
    bool special = false;
    for (std::size_t at = 0; at < line.size(); at += kBlockSize) {
        const bool isWhole = line.size() - at >= kBlockSize;
        const BlockBits bits =
            LookAt(isWhole ? line.data() + at : LastBlock(line.substr(at)).data());
        special = special || bits.special;
        // Each bit is the start of a word or of the blanks behind one, in turn.
        for (std::uint64_t turns = bits.blanks ^ (bits.blanks << 1U | blankBefore); turns != 0;
             turns &= turns - 1) {
            const char* const place =
                line.data() + at + static_cast<std::size_t>(__builtin_ctzll(turns));
            if (wordStart == nullptr) {
                wordStart = place;
            } else {
                take(std::string_view(wordStart, static_cast<std::size_t>(place - wordStart)));
                wordStart = nullptr;
            }
        }
        blankBefore = bits.blanks >> (kBlockSize - 1);
    }
    if (wordStart != nullptr) {
        take(std::string_view(wordStart,
                              static_cast<std::size_t>(line.data() + line.size() - wordStart)));
    }
    return !special;
}

}  // namespace zarn::byte_words
