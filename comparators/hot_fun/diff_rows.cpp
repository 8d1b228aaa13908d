#include "comparators/hot_fun/diff_rows.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <utility>

namespace zarn {
namespace {

constexpr std::size_t kTextColumns = 2;
constexpr std::size_t kAroundCell = 3;  // two quotes, and what parts it from the next
constexpr std::size_t kPiece = 65536;   // of the text that is handed on, small enough for a cache

// What the words of headings end in, where numbers stand below them.
bool EndsHeading(char byte) {
    return (byte >= '0' && byte <= '9') || byte == 'e' || byte == 's';
}

// Eight bytes at a time, where there are as many; the first stands lowest on all processors of
// zarn.
using Bytes = std::uint64_t;
constexpr Bytes kOnes = 0x0101010101010101U;
constexpr Bytes kBlanks = kOnes * ' ';

bool Load(std::string_view row, std::size_t at, Bytes& bytes) {
    if (row.size() - at < sizeof bytes) {
        return false;
    }
    std::memcpy(&bytes, row.data() + at, sizeof bytes);
    return true;
}

// A set bit in each byte that is a blank, and perhaps in ones behind the first of these, which
// stand higher: a subtraction borrows from zero bytes alone.
Bytes BlankBits(Bytes bytes) {
    const Bytes rest = bytes ^ kBlanks;
    return (rest - kOnes) & ~rest & (kOnes << 7U);
}

// One blank between words, or a word of one letter, is seen at a glance: what the processor guesses
// right it need not wait for.
bool EndsAtOnce(std::string_view row, std::size_t begin, bool isBlank) {
    return begin + 1 < row.size() && (row[begin + 1] == ' ') != isBlank;
}

std::size_t BlanksEnd(std::string_view row, std::size_t begin) {
    if (begin < row.size() && row[begin] == ' ' && EndsAtOnce(row, begin, true)) {
        return begin + 1;
    }
    for (Bytes bytes = 0; Load(row, begin, bytes); begin += sizeof bytes) {
        if (bytes != kBlanks) {
            return begin + static_cast<std::size_t>(__builtin_ctzll(bytes ^ kBlanks)) / 8;
        }
    }
    while (begin < row.size() && row[begin] == ' ') {
        ++begin;
    }
    return begin;
}

}  // namespace

bool DiffColumns::Read(std::string_view comment) {
    constexpr std::string_view kFirstHeading = "Baseline";
    constexpr std::size_t kFirstHeadingBegin = 2;
    if (comment.size() < kFirstHeadingBegin ||
        comment.substr(kFirstHeadingBegin, kFirstHeading.size()) != kFirstHeading) {
        return false;
    }
    std::vector<std::size_t> ends;
    for (std::size_t i = 0; i + 1 < comment.size(); ++i) {
        if (comment[i + 1] == ' ' && EndsHeading(comment[i])) {
            ends.push_back(i);
        }
    }
    std::vector<std::size_t> all;
    std::set_union(ends_.begin(), ends_.end(), ends.begin(), ends.end(), std::back_inserter(all));
    const bool isNew = all.size() != ends_.size();
    ends_ = std::move(all);
    return isNew;
}

DiffTable::DiffTable(const std::vector<std::string>& versions, Sink sink)
    : sink_(std::move(sink)), width_(versions.size() + kTextColumns) {
    std::string head;
    for (const std::string& version : versions) {
        head += version + ",";
    }
    head += "Shared Object,Symbol\n";
    sink_(head);
}

void DiffTable::Add(std::string_view row, const DiffColumns& columns) {
    // Less than a piece, and one cell.
    text_.Reserve(size_, kPiece - size_ + kAroundCell + 1 + row.size() + sizeof(Bytes));
    const std::vector<std::size_t>& ends = columns.Ends();
    auto column = ends.begin();
    const auto passTo = [&column, &ends](std::size_t place) {
        while (column != ends.end() && *column < place) {
            ++column;
        }
    };
    for (std::size_t end = 0; end < row.size();) {
        const std::size_t begin = BlanksEnd(row, end);
        // What the blank behind a word ends has been added before it.
        passTo(end == 0 ? 0 : end + 1);
        for (; column != ends.end() && *column < begin; ++column) {
            Cell(" ");
        }
        if (begin == row.size()) {
            break;
        }
        end = CopyWord(row, begin);
        const std::string_view word = row.substr(begin, end - begin);
        passTo(end);
        if (end < row.size() && column != ends.end() && *column == end) {
            Cell(" ");
            (void)CopyWord(row, begin);
        }
        if (word != "[k]" && word != "[.]") {
            EndCell(word.size());
        }
    }
}

// Gives the word's end. What is copied beyond it does not count.
std::size_t DiffTable::CopyWord(std::string_view row, std::size_t begin) {
    char* out = text_.Data() + size_;
    *out++ = '"';
    if (EndsAtOnce(row, begin, false)) {
        *out = row[begin];
        return begin + 1;
    }
    std::size_t end = begin;
    for (Bytes bytes = 0; Load(row, end, bytes); end += sizeof bytes) {
        std::memcpy(out, &bytes, sizeof bytes);
        out += sizeof bytes;
        const Bytes blanks = BlankBits(bytes);
        if (blanks != 0) {
            return end + static_cast<std::size_t>(__builtin_ctzll(blanks)) / 8;
        }
    }
    while (end < row.size() && row[end] != ' ') {
        *out++ = row[end++];
    }
    return end;
}

void DiffTable::Cell(std::string_view text) {
    text_.Data()[size_] = '"';
    text.copy(text_.Data() + size_ + 1, text.size());
    EndCell(text.size());
}

void DiffTable::EndCell(std::size_t size) {
    ++column_;
    const bool isLast = column_ == width_;
    column_ = isLast ? 0 : column_;
    size_ += size + kAroundCell;
    text_.Data()[size_ - 2] = '"';
    text_.Data()[size_ - 1] = isLast ? '\n' : ',';
    if (size_ >= kPiece) {
        Flush();
    }
}

void DiffTable::Flush() {
    sink_(text_.Text(size_));
    size_ = 0;
}

}  // namespace zarn
