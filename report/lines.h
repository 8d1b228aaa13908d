#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "foundation/files.h"
#include "report/run.h"

namespace zarn::report {

// What a report reads of one line at most: what is longer is none of zarn's.
inline constexpr std::size_t kLongestLine = std::size_t{4} << 20;

// The lines of a file with their numbers, of which no line takes more than kLongestLine of memory.
class NumberedLines {
public:
    explicit NumberedLines(const std::string& path) : file_(path) { file_.CutLines(kLongestLine); }

    [[nodiscard]] bool IsOpen() const { return file_.IsOpen(); }

    // Takes the next line; false at the end.
    bool Next() {
        ++number_;
        return file_.Next(text_);
    }

    // Without the "\r" of a line that ends in one. A view that holds until the next call of Next.
    [[nodiscard]] std::string_view Text() const {
        return !text_.empty() && text_.back() == '\r' ? text_.substr(0, text_.size() - 1) : text_;
    }
    [[nodiscard]] std::uint64_t Number() const { return number_; }
    // Whether the line goes on behind its text.
    [[nodiscard]] bool IsCut() const { return file_.WasCut(); }

private:
    LineFile file_;
    std::string_view text_;
    std::uint64_t number_ = 0;
};

using OnLine = std::function<void(std::string_view text, std::uint64_t line)>;

// Calls `onLine` for each line of a file. What cannot be read is the file's trouble: a file that
// cannot be opened or holds nothing, a line that is too long.
void ReadLines(Files& files, const RunFile& file, const OnLine& onLine);

}  // namespace zarn::report
