#include "collectors/device/aicpu/core_set_parser.h"

#include <algorithm>
#include <stdexcept>

namespace zarn {
namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

std::string_view FirstWord(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(kWhiteSpace), text.size()));
    return text.substr(0, text.find_first_of(kWhiteSpace));
}

}  // namespace

CoreSet ParseCoreSet(std::string_view text) {
    using Verdict = CoreSet::Verdict;
    CoreSet cores;
    const std::string word(FirstWord(text));
    if (word.empty()) {
        return cores;
    }
    if (word.front() == '-' || word.back() == '-') {
        cores.verdict = Verdict::BadFormat;
        return cores;
    }
    const std::size_t dash = word.find('-');
    try {
        cores.min = std::stoi(word.substr(0, dash));
        cores.max = dash == std::string::npos ? cores.min : std::stoi(word.substr(dash + 1));
        const bool legal = cores.min >= 0 && cores.max >= cores.min;
        cores.verdict = legal ? Verdict::Ok : Verdict::IllegalRange;
    } catch (const std::invalid_argument& error) {
        cores.verdict = Verdict::NoInteger;
        cores.reason = error.what();
    } catch (const std::out_of_range& error) {
        cores.verdict = Verdict::OutOfRange;
        cores.reason = error.what();
    }
    return cores;
}

}  // namespace zarn
