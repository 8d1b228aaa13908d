#include "collectors/profiling/hot_fun/script_samples.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string>

#include "foundation/numbers.h"

namespace zarn {
namespace {

constexpr std::size_t kNone = std::string_view::npos;
constexpr std::string_view kEvent = "cycles:";
// What a dot does not match; a newline never stands in a line.
constexpr char kCarriageReturn = '\r';

bool IsDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

// What \s matches.
bool IsSpace(char byte) {
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

// The event's next place. Unlike with string_view's search, a line full of its first letter costs
// no more than another.
std::size_t FindEvent(std::string_view line, std::size_t from) {
    const void* found =
        ::memmem(line.data() + from, line.size() - from, kEvent.data(), kEvent.size());
    return found == nullptr
               ? kNone
               : static_cast<std::size_t>(static_cast<const char*>(found) - line.data());
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
