#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/files.h"

namespace zarn {

// Walks the samples of a raw log of CPU load: runs of lines between blank lines, as views.
// Accepts: any text; a sample at the end of the text counts without a blank line after it.
// Blanks at both ends of a line and a carriage return at its end do not belong to it, and a line
// with nothing else in it is a blank one. Refuses nothing.
class SampleCursor {
public:
    // `text` must outlive the cursor and the lines taken from it.
    explicit SampleCursor(std::string_view text) : cursor_(text) {}

    // Replaces `lines` by those of the next sample, at least one; false at the end.
    bool Next(std::vector<std::string_view>& lines);

private:
    LineCursor cursor_;
};

// What the usage logs of a version say of one process.
struct ProcessRows {
    bool unique = true;                   // no sample has two lines of that name
    std::vector<std::string_view> lines;  // in the order of the samples; counts only if unique
};

// Collects, for each of `names`, the lines whose last blank-separated token is that name, headers
// and all, from every sample of every text. A sample does not reach from one text into the next.
// `texts` must outlive the lines. One pass, linear in the texts' size.
[[nodiscard]] std::vector<ProcessRows> FindProcessRows(const std::vector<std::string>& texts,
                                                       const std::vector<std::string>& names);

}  // namespace zarn
