#include "collectors/profiling/hot_fun/report_rows.h"

#include <algorithm>

#include "collectors/profiling/hot_fun/regex_bytes.h"
#include "foundation/text.h"

namespace zarn {
namespace {

using regex_bytes::IsDigit;
using regex_bytes::IsSpace;
using regex_bytes::kCarriageReturn;

constexpr std::size_t kNone = std::string_view::npos;

std::size_t DigitsBegin(std::string_view line, std::size_t end) {
    while (end > 0 && IsDigit(line[end - 1])) {
        --end;
    }
    return end;
}

std::size_t SpacesEnd(std::string_view line, std::size_t begin) {
    while (begin < line.size() && IsSpace(line[begin])) {
        ++begin;
    }
    return begin;
}

// The last white space before `end`; kNone if there is none.
std::size_t LastSpaceBefore(std::string_view line, std::size_t end) {
    while (end > 0 && !IsSpace(line[end - 1])) {
        --end;
    }
    return end == 0 ? kNone : end - 1;
}

// Where the number before the percent sign at `sign` begins: digits, with a point before, within or
// behind them; kNone if there is none.
std::size_t NumberBegin(std::string_view line, std::size_t sign) {
    const std::size_t behindPoint = DigitsBegin(line, sign);
    if (behindPoint > 0 && line[behindPoint - 1] == '.') {
        const std::size_t point = behindPoint - 1;
        const std::size_t whole = DigitsBegin(line, point);
        if (whole < point) {
            return whole;
        }
        return behindPoint < sign ? point : kNone;
    }
    return behindPoint < sign ? behindPoint : kNone;
}

// Where a match that goes on with white space at `begin` ends in a line with a carriage return:
// each part takes as much as leaves something to those behind it. The second and the third \s+
// stand behind `begin`; the second leaves the line's last white space to the third.
std::size_t MatchEnd(std::string_view line, std::size_t begin) {
    const auto lineEnd = [line](std::size_t from) {
        return std::min(line.find(kCarriageReturn, from), line.size());
    };
    const std::size_t last = LastSpaceBefore(line, line.size());
    const std::size_t firstEnd = SpacesEnd(line, begin);
    const std::size_t second = LastSpaceBefore(line, std::min(lineEnd(firstEnd) + 1, last));
    const std::size_t secondEnd = std::min(SpacesEnd(line, second), last);
    const std::size_t third = LastSpaceBefore(line, std::min(lineEnd(secondEnd) + 1, line.size()));
    return lineEnd(SpacesEnd(line, third));
}

// Whether white space stands at two places at least from `begin` on.
bool HasTwoSpaces(std::string_view line, std::size_t begin) {
    const auto first =
        std::find_if(line.begin() + static_cast<std::ptrdiff_t>(begin), line.end(), IsSpace);
    return first != line.end() && std::find_if(first + 1, line.end(), IsSpace) != line.end();
}

}  // namespace

std::optional<std::string_view> FindReportRow(std::string_view line) {
    const std::size_t first = line.find('%');
    if (first == kNone) {
        return std::nullopt;
    }
    // Byte by byte, since signs may stand close.
    for (std::size_t sign = first; sign + 1 < line.size(); ++sign) {
        if (line[sign] != '%' || !IsSpace(line[sign + 1])) {
            continue;
        }
        const std::size_t begin = NumberBegin(line, sign);
        if (begin == kNone) {
            continue;
        }
        if (!HasTwoSpaces(line, sign + 2)) {
            return std::nullopt;
        }
        const bool isPlain = line.find(kCarriageReturn, sign) == kNone;
        return line.substr(begin, (isPlain ? line.size() : MatchEnd(line, sign + 1)) - begin);
    }
    return std::nullopt;
}

// Words go into memory that is there, byte by byte as long as they are short.
void ReportRows::Add(std::string_view match) {
    constexpr std::uint32_t kWordsOfARow = 5;
    constexpr std::uint32_t kOwnShare = 2;  // which rows do not show
    constexpr std::ptrdiff_t kShortWord = 64;
    words_.Reserve(size_, match.size() + 1);
    char* out = words_.Data() + size_;
    const char* in = match.data();
    const char* const end = in + match.size();
    while (count_ < most_) {
        while (in != end && *in == ' ') {
            ++in;
        }
        if (in == end) {
            break;
        }
        char* const begin = out;
        while (in != end && *in != ' ' && out - begin < kShortWord) {
            *out++ = *in++;
        }
        if (out - begin == kShortWord) {
            const char* const wordEnd = std::find(in, end, ' ');
            out = std::copy(in, wordEnd, out);
            in = wordEnd;
        }
        const std::string_view word(begin, static_cast<std::size_t>(out - begin));
        if (word == "[k]" || word == "[.]") {
            out = begin;
            continue;
        }
        ++position_;
        if (position_ == kOwnShare) {
            out = begin;
        } else {
            *out++ = ' ';
        }
        if (position_ == kWordsOfARow) {
            position_ = 0;
            ++count_;
        }
    }
    size_ = static_cast<std::size_t>(out - words_.Data());
}

void ReportRows::ForEach(const std::function<void(const ReportRow&)>& take) const {
    PieceCursor cursor(words_.Text(size_), ' ');
    for (std::uint32_t i = 0; i < count_; ++i) {
        ReportRow row;
        cursor.Next(row.percentage);
        cursor.Next(row.command);
        cursor.Next(row.sharedObject);
        cursor.Next(row.symbol);
        take(row);
    }
}

}  // namespace zarn
