#include "board/perf/perf_call.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include "foundation/zarn_utils.h"

namespace zarn::board {
namespace {

constexpr std::uint32_t kLeastIntervalMs = 10;
constexpr std::uint32_t kCoreBits = 32;

using Words = std::vector<std::string>;

// The raw code in "r1a" or "r1a:u".
std::optional<std::uint32_t> CodeOf(std::string_view event) {
    const std::string_view name = event.substr(0, event.find(':'));
    std::uint32_t code = 0;
    if (name.size() < 2 || name[0] != 'r') {
        return std::nullopt;
    }
    const char* end = name.data() + name.size();
    const auto read = std::from_chars(name.data() + 1, end, code, 16);
    return read.ec == std::errc() && read.ptr == end ? std::optional(code) : std::nullopt;
}

constexpr std::array<std::string_view, 4> kSoftwareNames{"task-clock", "context-switches",
                                                         "cpu-migrations", "page-faults"};

std::optional<SoftwareEvent> SoftwareEventOf(std::string_view name) {
    const auto* const found = std::find(kSoftwareNames.begin(), kSoftwareNames.end(), name);
    return found == kSoftwareNames.end()
               ? std::nullopt
               : std::optional(static_cast<SoftwareEvent>(found - kSoftwareNames.begin()));
}

// Takes a list of events apart: "{r8,r11},r1b" are three in two groups.
void AddEvents(const std::string& text, PerfCall& call) {
    bool inGroup = false;
    std::string event;
    const auto take = [&] {
        if (!event.empty()) {
            call.events.push_back(
                {event, CodeOf(event), StandardEventOf(event), SoftwareEventOf(event)});
            call.groups += inGroup ? 0 : 1;
        }
        event.clear();
    };
    for (const char letter : text) {
        if (letter == '{') {
            inGroup = true;
            ++call.groups;
        } else if (letter == '}') {
            take();
            inGroup = false;
        } else if (letter == ',') {
            take();
        } else {
            event += letter;
        }
    }
    take();
}

// Takes a list of numbers and of ranges such as "0,2-3" apart.
bool ReadNumbers(const std::string& text, std::uint32_t most, std::vector<std::uint32_t>& numbers) {
    std::vector<std::string> parts;
    SplitString(text, ",", parts);
    for (const std::string& part : parts) {
        const std::size_t dash = part.find('-');
        const std::string first = part.substr(0, dash);
        const std::string last = dash == std::string::npos ? first : part.substr(dash + 1);
        std::uint32_t from = 0;
        std::uint32_t to = 0;
        if (!IsDigitString(first) || !IsDigitString(last) || !StringToUint32(first, from) ||
            !StringToUint32(last, to) || from > to || to > most) {
            return false;
        }
        for (std::uint64_t number = from; number <= to; ++number) {
            numbers.push_back(static_cast<std::uint32_t>(number));
        }
    }
    return !parts.empty();
}

bool TakeCores(const std::string& text, PerfCall& call) {
    std::vector<std::uint32_t> numbers;
    if (!ReadNumbers(text, kCoreBits - 1, numbers)) {
        return false;
    }
    call.cores = call.cores.value_or(0);
    for (const std::uint32_t number : numbers) {
        *call.cores |= 1U << number;
    }
    return true;
}

bool TakePids(const std::string& text, PerfCall& call) {
    return text.find('-') == std::string::npos && ReadNumbers(text, INT32_MAX, call.pids);
}

bool TakeInterval(const std::string& text, PerfCall& call) {
    return IsDigitString(text) && StringToUint32(text, call.intervalMs) &&
           call.intervalMs >= kLeastIntervalMs;
}

bool TakeSeparator(const std::string& text, PerfCall& call) {
    call.separator = text;
    return !text.empty();
}

bool TakeOutput(const std::string& text, PerfCall& call) {
    call.output = text;
    return !text.empty();
}

bool TakeEvents(const std::string& text, PerfCall& call) {
    AddEvents(text, call);
    return !call.events.empty();
}

bool TakeFrequency(const std::string& text, PerfCall& call) {
    constexpr std::uint32_t kMost = 100000;
    std::uint32_t frequency = 0;
    const bool good = IsDigitString(text) && StringToUint32(text, frequency) && frequency > 0 &&
                      frequency <= kMost;
    call.frequency = frequency;
    return good;
}

// The model's call chains are those that frame pointers give.
bool TakeCallChains(const std::string& text, PerfCall& call) {
    call.callChains = text == "fp";
    return call.callChains;
}

// An option with a value, which follows it or, behind one letter, its name.
struct ValueOption {
    std::string_view letter;
    std::string_view name;
    bool (*take)(const std::string&, PerfCall&);
};

constexpr std::array<ValueOption, 6> kStatOptions{{
    {"-e", "--event", TakeEvents},
    {"-x", "--field-separator", TakeSeparator},
    {"-o", "--output", TakeOutput},
    {"-I", "--interval-print", TakeInterval},
    {"-C", "--cpu", TakeCores},
    {"-p", "--pid", TakePids},
}};

constexpr std::array<ValueOption, 6> kRecordOptions{{
    {"-e", "--event", TakeEvents},
    {"-o", "--output", TakeOutput},
    {"-C", "--cpu", TakeCores},
    {"-p", "--pid", TakePids},
    {"-F", "--freq", TakeFrequency},
    {"--call-graph", "--call-graph", TakeCallChains},
}};

// A flag of the call, if the word is one.
bool TakeFlag(const std::string& word, PerfCall& call) {
    if (word == "-a" || word == "--all-cpus") {
        call.allCores = true;
    } else if (word == "-g") {
        call.callChains = true;
    } else {
        return false;
    }
    return true;
}

// Reads the option at `at` and moves on to its last word.
template <typename Options>
void TakeOption(const Options& options, const Words& words, std::size_t& at, PerfCall& call) {
    const std::string& word = words[at];
    for (const ValueOption& option : options) {
        const std::string equals = std::string(option.name) + "=";
        std::string value;
        if (word == option.letter || word == option.name) {
            value = at + 1 < words.size() ? words[at + 1] : "";
            ++at;
        } else if (StartsWith(word, equals)) {
            value = word.substr(equals.size());
        } else if (StartsWith(word, option.letter)) {
            value = word.substr(option.letter.size());
        } else {
            continue;
        }
        if (!option.take(value, call)) {
            call.problem = "bad value of " + std::string(option.letter) + ": " + value;
        }
        return;
    }
    call.problem = "the board does not know " + word;
}

template <typename Options>
PerfCall Parse(const Options& options, const Words& words) {
    PerfCall call;
    for (std::size_t i = 0; i < words.size() && call.problem.empty(); ++i) {
        const bool isEnd = words[i] == "--";
        if (isEnd || words[i].empty() || words[i][0] != '-') {
            call.command.assign(words.begin() + static_cast<std::ptrdiff_t>(isEnd ? i + 1 : i),
                                words.end());
            break;
        }
        if (!TakeFlag(words[i], call)) {
            TakeOption(options, words, i, call);
        }
    }
    if (call.problem.empty() && call.command.empty() && !call.allCores && !call.cores &&
        call.pids.empty()) {
        call.problem = "nothing to measure";
    }
    return call;
}

}  // namespace

PerfCall ParseStatCall(const Words& words) {
    return Parse(kStatOptions, words);
}

PerfCall ParseRecordCall(const Words& words) {
    return Parse(kRecordOptions, words);
}

bool AsksRawEvents(const PerfCall& call) {
    return !call.events.empty() &&
           std::all_of(call.events.begin(), call.events.end(),
                       [](const AskedEvent& event) { return event.code.has_value(); });
}

bool AsksBoardTable(const PerfCall& call) {
    const auto isTheBoards = [](const AskedEvent& event) { return event.code || event.standard; };
    const bool hasTarget = call.allCores || call.cores || !call.pids.empty();
    return call.problem.empty() && call.separator.empty() && call.intervalMs == 0 && hasTarget &&
           std::any_of(call.events.begin(), call.events.end(), isTheBoards) &&
           std::all_of(call.events.begin(), call.events.end(), [&](const AskedEvent& event) {
               return isTheBoards(event) || event.software;
           });
}

}  // namespace zarn::board
