#include "collectors/system/mem/mem_values_parser.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

#include "collectors/system/mem/word_cursor.h"
#include "foundation/files.h"

namespace zarn {
namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

}  // namespace

std::string_view WithoutLast(std::string_view output) {
    return output.substr(0, output.empty() ? 0 : output.size() - 1);
}

bool IsMemNumber(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), IsDigit);
}

CounterResult ParseMemCounter(std::string_view output, std::int32_t& value) {
    const std::string_view text = WithoutLast(output);
    const std::size_t firstDigit = text.substr(0, 1) == "-" ? 1 : 0;
    if (firstDigit >= text.size() || !IsDigit(text[firstDigit])) {
        return CounterResult::NoInteger;
    }
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const double whole = std::trunc(number);
    if (error != std::errc() || whole < std::numeric_limits<std::int32_t>::min() ||
        whole > std::numeric_limits<std::int32_t>::max()) {
        return CounterResult::OutOfRange;
    }
    value = static_cast<std::int32_t>(whole);
    return CounterResult::Ok;
}

std::optional<std::string> ParseMemSum(std::string_view output) {
    const std::string_view text = WithoutLast(output);
    return IsMemNumber(text) ? std::optional<std::string>(text) : std::nullopt;
}

std::optional<std::string> ParseSharePoolAlloc(std::string_view output) {
    std::uint64_t sum = 0;
    LineCursor lines(WithoutLast(output));
    for (std::string_view line; lines.Next(line);) {
        if (line.empty()) {
            continue;
        }
        std::uint64_t share = 0;
        const bool isNumber =
            IsMemNumber(line) &&
            std::from_chars(line.data(), line.data() + line.size(), share).ec == std::errc();
        if (!isNumber || share > std::numeric_limits<std::uint64_t>::max() - sum) {
            return std::nullopt;
        }
        sum += share;
    }
    return std::to_string(sum);
}

std::optional<StatusWords> ParseStatusWords(std::string_view output) {
    StatusWords words;
    const std::array<std::string*, 9> places = {&words.name,   &words.fdSize, &words.vmSize,
                                                &words.vmData, &words.vmStk,  &words.vmExe,
                                                &words.vmLib,  &words.vmPte,  &words.threads};
    WordCursor cursor(output);
    std::string_view word;
    for (std::string* place : places) {
        if (!cursor.Next(word) || (place != &words.name && !IsMemNumber(word))) {
            return std::nullopt;
        }
        *place = word;
    }
    return cursor.Next(word) ? std::nullopt : std::optional<StatusWords>(std::move(words));
}

}  // namespace zarn
