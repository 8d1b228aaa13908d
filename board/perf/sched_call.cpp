#include "board/perf/sched_call.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "foundation/text.h"

namespace zarn::board {
namespace {

using Words = std::vector<std::string>;

constexpr std::array<std::pair<std::string_view, SchedWork>, 4> kWorks{{
    {"record", SchedWork::kRecord},
    {"latency", SchedWork::kLatency},
    {"timehist", SchedWork::kTimehist},
    {"script", SchedWork::kScript},
}};

SchedWork WorkOf(const std::string& word) {
    for (const auto& [name, work] : kWorks) {
        if (word == name) {
            return work;
        }
    }
    return SchedWork::kOther;
}

// The value of an option, behind its letter, its name and "=", or in the next word, which is then
// passed over. Nothing if the word at `at` is another one.
std::optional<std::string> ValueOf(const Words& words, std::size_t& at, std::string_view letter,
                                   std::string_view name) {
    const std::string& word = words[at];
    if (word == letter || word == name) {
        ++at;
        return at < words.size() ? words[at] : "";
    }
    const std::string equals = std::string(name) + "=";
    for (const std::string_view head : {std::string_view(equals), letter}) {
        if (StartsWith(word, head)) {
            return word.substr(head.size());
        }
    }
    return std::nullopt;
}

void TakeKeys(const std::string& text, SchedCall& call) {
    Words names;
    SplitString(text, ",", names);
    call.order.keys.clear();
    for (const std::string& name : names) {
        const auto key = LatencyKeyOf(name);
        if (!key) {
            call.problem = "Unknown --sort key: `" + name + "'";
            return;
        }
        call.order.keys.push_back(*key);
    }
}

void TakeReportWord(const Words& words, std::size_t& at, SchedCall& call) {
    const std::string& word = words[at];
    if (const auto input = ValueOf(words, at, "-i", "--input")) {
        call.input = *input;
        return;
    }
    const bool isLatency = call.work == SchedWork::kLatency;
    const auto keys = isLatency ? ValueOf(words, at, "-s", "--sort") : std::nullopt;
    if (keys) {
        TakeKeys(*keys, call);
    } else if (isLatency && (word == "-p" || word == "--pids")) {
        call.order.perTask = true;
    } else {
        call.problem = "the board does not know " + word;
    }
}

}  // namespace

SchedCall ParseSchedCall(const Words& words) {
    SchedCall call;
    std::size_t at = 0;
    for (; at < words.size() && call.work == SchedWork::kOther; ++at) {
        const auto input = ValueOf(words, at, "-i", "--input");
        call.input = input.value_or(call.input);
        call.work = input ? SchedWork::kOther : WorkOf(words[at]);
        if (!input && call.work == SchedWork::kOther) {
            return call;
        }
    }
    if (call.work == SchedWork::kRecord) {
        call.recordWords.assign(words.begin() + static_cast<std::ptrdiff_t>(at), words.end());
        return call;
    }
    for (; at < words.size() && call.problem.empty(); ++at) {
        TakeReportWord(words, at, call);
    }
    return call;
}

}  // namespace zarn::board
