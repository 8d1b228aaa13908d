#include "collectors/device/imgp/slice_reader.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "foundation/text.h"

namespace zarn {
namespace {

constexpr std::string_view kSpace = " \t\r";
constexpr std::string_view kTimeStamp = "TimeStamp";
constexpr std::string_view kInSize = "In W*H";
constexpr std::string_view kOutSize = "Out W*H";

// How a heading says that its cells hold three times, and in which order.
struct TimesForm {
    std::string_view text;
    std::array<const char*, 3> suffixes;
};
constexpr std::array<TimesForm, 3> kTimesForms{{
    {"us,Max Min Ave", {"_MAX(us)", "_MIN(us)", "_AVG(us)"}},
    {"max min avg", {"_MAX(us)", "_MIN(us)", "_AVG(us)"}},
    {"us,avg:min:max", {"_AVG(us)", "_MIN(us)", "_MAX(us)"}},
}};

std::string_view Trim(std::string_view text) {
    const auto isSpace = [](char c) { return kSpace.find(c) != std::string_view::npos; };
    while (!text.empty() && isSpace(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isSpace(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

// Cuts a head into its headings.
class HeadingCursor {
public:
    explicit HeadingCursor(std::string_view line) : line_(line) {}

    // Takes the next heading; false at the end. Nothing follows a comma at the end.
    bool Next(std::string_view& heading) {
        if (at_ >= line_.size()) {
            return false;
        }
        const std::size_t begin = at_;
        while (at_ < line_.size() && line_[at_] != ',') {
            at_ += SizeOfPart();
        }
        heading = Trim(line_.substr(begin, at_ - begin));
        ++at_;
        return true;
    }

private:
    // What stands here belongs together: a form of three times, or a text in brackets.
    std::size_t SizeOfPart() {
        for (const TimesForm& form : kTimesForms) {
            if (StartsWith(line_.substr(at_), form.text)) {
                return form.text.size();
            }
        }
        if (line_[at_] != '(' || !hasClosing_) {
            return 1;
        }
        const std::size_t closing = line_.find(')', at_);
        hasClosing_ = closing != std::string_view::npos;
        return hasClosing_ ? closing + 1 - at_ : 1;
    }

    std::string_view line_;
    std::size_t at_ = 0;
    bool hasClosing_ = true;  // as far as is known, a bracket that closes is still to come
};

// What a heading says besides its form of three times.
std::string NameWithout(std::string_view heading, std::size_t at, std::size_t size) {
    std::string_view before = heading.substr(0, at);
    std::string_view behind = heading.substr(at + size);
    if (!before.empty() && before.back() == '(' && !behind.empty() && behind.front() == ')') {
        before.remove_suffix(1);
        behind.remove_prefix(1);
    }
    std::string name(before);
    name += behind;
    std::replace(name.begin(), name.end(), ',', ' ');
    CollapseSpaces(name);
    return name.empty() ? "Time" : name;
}

SliceColumn ParseHeading(std::string_view heading) {
    if (heading == kTimeStamp) {
        return {SliceCell::TimeStamp, {"TimeStamp(s)", "TimeStamp(ns)"}};
    }
    if (heading == kInSize) {
        return {SliceCell::Size, {"InWidth", "InHeight"}};
    }
    if (heading == kOutSize) {
        return {SliceCell::Size, {"OutWidth", "OutHeight"}};
    }
    for (const TimesForm& form : kTimesForms) {
        const std::size_t at = heading.find(form.text);
        if (at != std::string_view::npos) {
            const std::string name = NameWithout(heading, at, form.text.size());
            SliceColumn column{SliceCell::ThreeTimes, {}};
            for (const char* suffix : form.suffixes) {
                column.names.push_back(name + suffix);
            }
            return column;
        }
    }
    std::string name(heading);
    std::replace(name.begin(), name.end(), ',', ' ');
    return {SliceCell::Plain, {std::move(name)}};
}

// Whether a line might have a heading that is known: rows are many, and hold neither letter.
bool MayBeHead(std::string_view line) {
    return line.find('a') != std::string_view::npos || line.find('W') != std::string_view::npos;
}

// What bytes of a row mean, a bit each.
constexpr std::uint8_t kComma = 1;
constexpr std::uint8_t kBlank = 2;
constexpr std::uint8_t kStar = 4;
constexpr std::uint8_t kPoint = 8;
constexpr std::uint8_t kColon = 16;

constexpr std::array<std::uint8_t, 256> kMeanings = [] {
    std::array<std::uint8_t, 256> meanings{};
    meanings[','] = kComma;
    meanings[' '] = meanings['\t'] = meanings['\r'] = kBlank;
    meanings['*'] = kStar;
    meanings['.'] = kPoint;
    meanings[':'] = kColon;
    return meanings;
}();

bool Means(char byte, std::uint8_t meanings) {
    return (kMeanings[static_cast<unsigned char>(byte)] & meanings) != 0;
}

// What parts the values of a cell.
std::uint8_t MarksOf(SliceCell cell) {
    switch (cell) {
        case SliceCell::Plain:
            return 0;
        case SliceCell::Size:
            return kStar;
        case SliceCell::TimeStamp:
            return kPoint | kBlank;
        case SliceCell::ThreeTimes:
            return kColon | kBlank;
    }
    return 0;
}

// Walks a row byte by byte, which is twice as fast for cells of a few bytes as to search and to
// copy them.
class RowCutter {
public:
    // `out` has room for the row and a comma for each value.
    RowCutter(std::string_view row, char* out)
        : at_(row.data()), end_(row.data() + row.size()), out_(out) {}

    // Writes the values of the next cell, each with a comma behind it.
    void Cut(SliceCell cell, std::size_t values) {
        const std::uint8_t marks = MarksOf(cell);
        // Of a cell of two values the second is all that is left.
        const std::uint8_t lastMarks = cell == SliceCell::ThreeTimes ? marks : 0;
        Skip(kBlank);
        for (std::size_t value = 1; value <= values; ++value) {
            CopyUntil(kComma | (value < values ? marks : lastMarks));
            Skip(marks | kBlank);
        }
        while (at_ != end_ && *at_++ != ',') {
        }
    }

    [[nodiscard]] char* End() const { return out_; }

private:
    void Skip(std::uint8_t meanings) {
        while (at_ != end_ && Means(*at_, meanings)) {
            ++at_;
        }
    }

    void CopyUntil(std::uint8_t meanings) {
        const char* const begin = out_;
        while (at_ != end_ && !Means(*at_, meanings)) {
            *out_++ = *at_++;
        }
        while (out_ != begin && Means(out_[-1], kBlank)) {
            --out_;
        }
        *out_++ = ',';
    }

    const char* at_;
    const char* end_;
    char* out_;
};

}  // namespace

std::vector<SliceColumn> ParseSliceHead(std::string_view line) {
    std::vector<SliceColumn> columns;
    HeadingCursor cursor(line);
    for (std::string_view heading; cursor.Next(heading);) {
        columns.push_back(ParseHeading(heading));
    }
    return columns;
}

void SliceReader::Take(std::string_view line) {
    line = Trim(line);
    const bool mayBeHead = columns_.empty() || MayBeHead(line);
    if (!line.empty() && !(mayBeHead && TakeHead(line))) {
        TakeRow(line);
    }
}

bool SliceReader::TakeHead(std::string_view line) {
    std::vector<SliceColumn> columns = ParseSliceHead(line);
    const bool isKnown = std::any_of(columns.begin(), columns.end(), [](const SliceColumn& column) {
        return column.cell != SliceCell::Plain;
    });
    if (!columns_.empty() && !isKnown) {
        return false;
    }
    columns_ = std::move(columns);
    valueCount_ = 0;
    for (const SliceColumn& column : columns_) {
        valueCount_ += column.names.size();
        for (const std::string& name : column.names) {
            table_.Cell(name);
        }
    }
    table_.EndLine();
    return true;
}

void SliceReader::TakeRow(std::string_view line) {
    if (row_.size() < line.size() + valueCount_) {
        row_.resize(line.size() + valueCount_);
    }
    RowCutter cutter(line, row_.data());
    for (const SliceColumn& column : columns_) {
        cutter.Cut(column.cell, column.names.size());
    }
    const auto size = static_cast<std::size_t>(cutter.End() - row_.data());
    table_.Cell(std::string_view(row_).substr(0, size - 1));
    table_.EndLine();
}

}  // namespace zarn
