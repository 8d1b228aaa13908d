#include "comparators/hot_fun/diff_rows.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace zarn {
namespace {

constexpr std::size_t kTextColumns = 2;
constexpr std::size_t kAroundCell = 3;  // two quotes, and what parts it from the next

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

std::size_t BlanksEnd(std::string_view row, std::size_t begin) {
    for (Bytes bytes = 0; Load(row, begin, bytes) && bytes == kBlanks;) {
        begin += sizeof bytes;
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
    ends_.resize(std::max(ends_.size(), comment.size()));
    bool isNew = false;
    for (std::size_t i = 0; i + 1 < comment.size(); ++i) {
        if (comment[i + 1] == ' ' && EndsHeading(comment[i]) && ends_[i] == 0) {
            ends_[i] = 1;
            end_ = std::max(end_, i + 1);
            isNew = true;
        }
    }
    return isNew;
}

DiffTable::DiffTable(const std::vector<std::string>& versions)
    : width_(versions.size() + kTextColumns) {
    std::string head;
    for (const std::string& version : versions) {
        head += version + ",";
    }
    head += "Shared Object,Symbol\n";
    text_.Reserve(0, head.size());
    size_ = head.copy(text_.Data(), head.size());
}

void DiffTable::Add(std::string_view row, const DiffColumns& columns) {
    // Every other byte is a word at most, and every one up to their end that of a column.
    const std::size_t cells = row.size() / 2 + 1 + std::min(row.size(), columns.End());
    text_.Reserve(size_, row.size() + (kAroundCell + 1) * cells + sizeof(Bytes));
    const auto addBlanks = [this, row, &columns](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < std::min(end, columns.End()); ++i) {
            if (columns.EndsAt(i)) {
                Cell(" ");
            }
        }
    };
    for (std::size_t end = 0; end < row.size();) {
        const std::size_t begin = BlanksEnd(row, end);
        // What the blank behind a word ends has been added before it.
        addBlanks(end == 0 ? 0 : end + 1, begin);
        if (begin == row.size()) {
            break;
        }
        end = CopyWord(row, begin);
        const std::string_view word = row.substr(begin, end - begin);
        if (end < row.size() && columns.EndsAt(end)) {
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
}

}  // namespace zarn
