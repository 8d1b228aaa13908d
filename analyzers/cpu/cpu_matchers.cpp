#include "analyzers/cpu/cpu_matchers.h"

#include <algorithm>
#include <cstdint>

#include "analyzers/cpu/byte_words.h"

namespace zarn {
namespace {

constexpr std::size_t kTimeDigits = 17;

constexpr bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

constexpr bool IsSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr bool IsCapital(char c) {
    return c >= 'A' && c <= 'Z';
}

// Where ".*" must stop: at the first line terminator at or behind `from`, or at the end.
std::size_t EndOfDots(std::string_view line, std::size_t from) {
    return std::min(line.find('\r', from), line.size());
}

// Walks forward over a text. A step that does not fit gives false and leaves the place undefined.
class Walk {
public:
    Walk(std::string_view text, std::size_t at) : text_(text), at_(at) {}

    [[nodiscard]] std::size_t At() const { return at_; }
    [[nodiscard]] bool AtEnd() const { return at_ == text_.size(); }

    // Passes white space, \s*, and says how much.
    std::size_t Spaces() {
        const std::size_t start = at_;
        while (at_ < text_.size() && IsSpace(text_[at_])) {
            ++at_;
        }
        return at_ - start;
    }

    // \d+
    [[nodiscard]] bool Digits() {
        const std::size_t start = at_;
        while (at_ < text_.size() && IsDigit(text_[at_])) {
            ++at_;
        }
        return at_ != start;
    }

    [[nodiscard]] bool Byte(char byte) {
        const bool fits = at_ < text_.size() && text_[at_] == byte;
        at_ += fits ? 1 : 0;
        return fits;
    }

    [[nodiscard]] bool Literal(std::string_view literal) {
        const bool fits = text_.compare(at_, literal.size(), literal) == 0;
        at_ += fits ? literal.size() : 0;
        return fits;
    }

    // (\d+\.?\d+): digits, a point, digits; or else at least two digits. Where the expression wants
    // something that is neither digit nor point behind it, there is no other way to match.
    [[nodiscard]] bool Number(std::string_view& number) {
        const std::size_t start = at_;
        if (!Digits()) {
            return false;
        }
        const std::size_t whole = at_;
        if (Byte('.') && Digits()) {
            number = text_.substr(start, at_ - start);
            return true;
        }
        at_ = whole;
        number = text_.substr(start, whole - start);
        return number.size() >= 2;
    }

private:
    std::string_view text_;
    std::size_t at_;
};

// Finds a literal whose last byte occurs nowhere else in it. It looks at every byte under the
// literal's end and jumps as far as that byte allows, so that the whole text costs one short step
// per byte at most, whatever it holds.
template <std::size_t size>
class LiteralFinder {
public:
    constexpr explicit LiteralFinder(const char (&literal)[size]) : literal_(literal), jumps_{} {
        for (auto& jump : jumps_) {
            jump = kLength;
        }
        for (std::size_t i = 0; i + 1 < kLength; ++i) {
            jumps_[static_cast<unsigned char>(literal[i])] =
                static_cast<std::uint8_t>(kLength - 1 - i);
        }
    }

    // The first place at or after `from`, npos if there is none.
    [[nodiscard]] std::size_t Find(std::string_view text, std::size_t from) const {
        for (std::size_t last = from + kLength - 1; last < text.size();) {
            const char c = text[last];
            if (c == literal_[kLength - 1] &&
                text.compare(last - (kLength - 1), kLength, literal_, kLength) == 0) {
                return last - (kLength - 1);
            }
            last += jumps_[static_cast<unsigned char>(c)];
        }
        return std::string_view::npos;
    }

private:
    static constexpr std::size_t kLength = size - 1;

    const char* literal_;
    std::array<std::uint8_t, 256> jumps_;
};

// \s*(\d+\.?\d+)\s*us,\s*(\d+\.?\d+)\s*sy, and so on to st, the groups numbered from `firstGroup`.
bool TakeShares(Walk& walk, CpuGroups& groups, std::size_t firstGroup) {
    static constexpr std::array<std::string_view, 8> kEndings = {"us,", "sy,", "ni,", "id,",
                                                                 "wa,", "hi,", "si,", "st"};
    for (std::size_t i = 0; i < kEndings.size(); ++i) {
        walk.Spaces();
        if (!walk.Number(groups[firstGroup + i])) {
            return false;
        }
        walk.Spaces();
        if (!walk.Literal(kEndings[i])) {
            return false;
        }
    }
    return true;
}

// \s*(\d+\.?\d+),\s*(\d+\.?\d+),\s*(\d+\.?\d+) into groups 2 to 4.
bool TakeLoads(Walk& walk, CpuGroups& groups) {
    for (std::size_t group = 2; group <= 4; ++group) {
        walk.Spaces();
        if (!walk.Number(groups[group]) || (group < 4 && !walk.Byte(','))) {
            return false;
        }
    }
    return true;
}

// ---- The process row
//
// In \s*(\d+).*[A-Z]\s*(\d+\.?\d+)\s+.*\s+(\S+) the first part, with its greedy ".*", wants the
// last capital of its stretch (the bytes between two line terminators) behind which the rest fits;
// the rest, the tail, depends on that capital alone.

// The white-space free bytes from `start` on, \S+.
std::string_view WordAt(std::string_view text, std::size_t start) {
    std::size_t end = start;
    while (end < text.size() && !IsSpace(text[end])) {
        ++end;
    }
    return text.substr(start, end - start);
}

// The last word at or behind `from` that has white space before it, as .*\s+(\S+) finds it; `dots`
// is where ".*" must stop.
bool LastWord(std::string_view text, std::size_t from, std::size_t dots, std::string_view& word) {
    // At a line terminator "." stops, but \s+ may take it, with all white space behind it.
    Walk behind(text, dots);
    behind.Spaces();
    if (!behind.AtEnd()) {
        word = WordAt(text, behind.At());
        return true;
    }
    std::size_t end = dots;
    while (end > from && IsSpace(text[end - 1])) {
        --end;
    }
    std::size_t start = end;
    while (start > from && !IsSpace(text[start - 1])) {
        --start;
    }
    word = text.substr(start, end - start);
    return start != from;
}

// \s*(\d+\.?\d+)\s+.*\s+(\S+) at `from`, into groups 2 and 3; `dots` is the first line terminator
// behind `from`, or the end.
bool TakeTail(std::string_view text, std::size_t from, std::size_t dots, CpuGroups& groups) {
    Walk walk(text, from);
    walk.Spaces();
    if (!walk.Number(groups[2])) {
        return false;
    }
    const std::size_t gap = walk.Spaces();
    if (gap == 0 || walk.AtEnd()) {
        return false;
    }
    const std::size_t at = walk.At();
    if (LastWord(text, at, at <= dots ? dots : EndOfDots(text, at), groups[3])) {
        return true;
    }
    // One word left: the two \s+ must share the white space before it.
    groups[3] = WordAt(text, at);
    return gap >= 2;
}

// The place behind the last capital of text[from, to), eight bytes looked at in one step; `from` if
// there is none.
std::size_t BehindLastCapital(std::string_view text, std::size_t from, std::size_t to) {
    while (to - from >= byte_words::kSize &&
           byte_words::Between(byte_words::Load(text.data() + to - byte_words::kSize), 'A', 'Z') ==
               0) {
        to -= byte_words::kSize;
    }
    while (to > from && !IsCapital(text[to - 1])) {
        --to;
    }
    return to;
}

// The tail of the last capital of text[from, to) that has one; `to` is where ".*" must stop. A tail
// that holds a number and still fails lies in the last two words of the text, so that scanning them
// again costs nothing.
bool TakeLastTail(std::string_view text, std::size_t from, std::size_t to, CpuGroups& groups) {
    std::size_t at = BehindLastCapital(text, from, to);
    for (; at > from; at = BehindLastCapital(text, from, at - 1)) {
        if (TakeTail(text, at, to, groups)) {
            return true;
        }
    }
    return false;
}

}  // namespace

bool MatchTimeStamp(std::string_view text, CpuGroups& groups) {
    // Every run of 17 digits covers one of the places that are looked at.
    for (std::size_t at = kTimeDigits - 1; at < text.size(); at += kTimeDigits) {
        if (!IsDigit(text[at])) {
            continue;
        }
        std::size_t start = at;
        while (start > 0 && IsDigit(text[start - 1])) {
            --start;
        }
        while (at < text.size() && IsDigit(text[at]) && at - start < kTimeDigits) {
            ++at;
        }
        if (at - start == kTimeDigits) {
            groups[0] = text.substr(start, kTimeDigits);
            return true;
        }
    }
    return false;
}

bool MatchTop(std::string_view text, CpuGroups& groups) {
    static constexpr LiteralFinder kLoadAverage("load average:");
    Walk walk(text, 0);
    if (!walk.Literal("top") || walk.Spaces() == 0 || !walk.Byte('-') || walk.Spaces() == 0) {
        return false;
    }
    const std::size_t start = walk.At();
    if (!walk.Digits() || !walk.Byte(':') || !walk.Digits() || !walk.Byte(':') || !walk.Digits()) {
        return false;
    }
    groups[1] = text.substr(start, walk.At() - start);
    if (walk.Spaces() == 0 || !walk.Literal("up")) {
        return false;
    }
    const std::size_t dots = EndOfDots(text, walk.At());
    std::size_t at = kLoadAverage.Find(text, walk.At());
    for (; at < dots; at = kLoadAverage.Find(text, at + 1)) {
        Walk loads(text, at);
        if (loads.Literal("load average:") && TakeLoads(loads, groups)) {
            groups[0] = text.substr(0, loads.At());
            return true;
        }
    }
    return false;
}

bool MatchTasks(std::string_view text, CpuGroups& groups) {
    Walk walk(text, 0);
    if (!walk.Literal("Tasks:")) {
        return false;
    }
    walk.Spaces();
    const std::size_t start = walk.At();
    if (!walk.Digits()) {
        return false;
    }
    groups[1] = text.substr(start, walk.At() - start);
    walk.Spaces();
    if (!walk.Literal("total")) {
        return false;
    }
    groups[0] = text.substr(0, EndOfDots(text, walk.At()));
    return true;
}

bool MatchCpu(std::string_view text, CpuGroups& groups) {
    static constexpr std::string_view kHead = "Cpu(s):";
    static constexpr LiteralFinder kFinder("Cpu(s):");
    if (text.find('(') == std::string_view::npos) {
        return false;
    }
    std::size_t at = kFinder.Find(text, 0);
    for (; at != std::string_view::npos; at = kFinder.Find(text, at + kHead.size())) {
        Walk walk(text, at + kHead.size());
        if (TakeShares(walk, groups, 1)) {
            groups[0] = text.substr(at, walk.At() - at);
            return true;
        }
    }
    return false;
}

bool MatchProcInfo(std::string_view text, CpuGroups& groups) {
    std::size_t at = 0;
    while (at < text.size()) {
        if (!IsDigit(text[at])) {
            ++at;
            continue;
        }
        // The first digits of a stretch: those behind them can do no better.
        Walk digits(text, at);
        (void)digits.Digits();
        const std::size_t dots = EndOfDots(text, digits.At());
        if (TakeLastTail(text, digits.At(), dots, groups)) {
            groups[1] = text.substr(at, digits.At() - at);
            while (at > 0 && IsSpace(text[at - 1])) {
                --at;
            }
            const char* const end = groups[3].data() + groups[3].size();
            groups[0] = text.substr(at, static_cast<std::size_t>(end - text.data()) - at);
            return true;
        }
        at = dots + 1;
    }
    return false;
}

bool MatchCoresCpu(std::string_view text, CpuGroups& groups) {
    static constexpr std::string_view kHead = "Cpu";
    static constexpr LiteralFinder kFinder("Cpu");
    std::size_t at = kFinder.Find(text, 0);
    for (; at != std::string_view::npos; at = kFinder.Find(text, at + kHead.size())) {
        Walk walk(text, at + kHead.size());
        if (!walk.Digits()) {
            continue;
        }
        groups[1] = text.substr(at, walk.At() - at);
        if (walk.Spaces() != 0 && walk.Byte(':') && TakeShares(walk, groups, 2)) {
            groups[0] = text.substr(at, walk.At() - at);
            return true;
        }
    }
    return false;
}

}  // namespace zarn
