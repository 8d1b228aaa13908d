#include "collectors/profiling/hot_fun/script_samples.h"

#include <algorithm>
#include <charconv>
#include <string>

#include "collectors/profiling/hot_fun/regex_bytes.h"
#include "foundation/numbers.h"

namespace zarn {
namespace {

using regex_bytes::IsDigit;
using regex_bytes::IsSpace;
using regex_bytes::kCarriageReturn;

constexpr std::size_t kNone = std::string_view::npos;
constexpr std::string_view kEvent = "cycles:";

// The event's next place. By its last byte, and each byte once, so that a line full of its letters
// costs no more than another.
std::size_t FindEvent(std::string_view line, std::size_t from) {
    constexpr std::size_t kLetters = kEvent.size() - 1;
    for (std::size_t colon = from + kLetters; colon < line.size(); ++colon) {
        if (line[colon] == kEvent.back() && line[colon - 1] == kEvent[kLetters - 1] &&
            line.substr(colon - kLetters, kEvent.size()) == kEvent) {
            return colon - kLetters;
        }
    }
    return kNone;
}

// An event behind a count.
struct Count {
    std::size_t lastDigit;
    std::size_t end;  // of the event
};

// The first one whose event stands at `from` or behind it.
std::optional<Count> FindCount(std::string_view line, std::size_t from) {
    for (std::size_t event = FindEvent(line, from); event != kNone;
         event = FindEvent(line, event + kEvent.size())) {
        std::size_t spaces = event;
        while (spaces > 0 && IsSpace(line[spaces - 1])) {
            --spaces;
        }
        if (spaces < event && spaces > 0 && IsDigit(line[spaces - 1])) {
            return Count{spaces - 1, event + kEvent.size()};
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<SampleHead> FindSampleHead(std::string_view line) {
    const std::optional<Count> first = FindCount(line, 0);
    if (!first) {
        return std::nullopt;
    }
    const std::size_t dotEnd = std::min(line.find(kCarriageReturn, first->lastDigit), line.size());
    Count last = *first;
    for (auto next = first; next && next->lastDigit < dotEnd; next = FindCount(line, next->end)) {
        last = *next;
    }
    const std::size_t begin = line.rfind(kCarriageReturn, first->lastDigit) + 1;  // 0 for none
    std::size_t digits = first->lastDigit;
    while (digits > begin && IsDigit(line[digits - 1])) {
        --digits;
    }
    SampleHead head;
    head.text = line.substr(begin, last.end - begin);
    head.name = head.text.substr(0, head.text.find(' '));
    head.digits = line.substr(digits, first->lastDigit + 1 - digits);
    return head;
}

std::uint64_t CyclesOf(const SampleHead& head) {
    std::uint64_t cycles = 0;
    const char* end = head.digits.data() + head.digits.size();
    if (std::from_chars(head.digits.data(), end, cycles).ec != std::errc()) {
        cycles = 0;
        (void)StringToUint64(std::string(head.digits), cycles);  // says why
    }
    return cycles;
}

}  // namespace zarn
