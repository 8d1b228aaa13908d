#include "analyzers/correlation/sched_rows.h"

#include <algorithm>

namespace zarn {

bool SchedRows::Next() {
    for (std::string_view line; next_(line);) {
        if (headLines_ > 0) {
            --headLines_;
            continue;
        }
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        if (ReadTimehistRow(line, row_) && clock_.Read(row_.time, time_)) {
            ++taken_;
            return true;
        }
    }
    return false;
}

// Byte by byte, since cells are short and there are millions.
void SchedRows::AppendCells(std::string& line) const {
    const std::string_view cells[] = {row_.cpu, row_.task, row_.waitTime, row_.schedDelay,
                                      row_.runTime};
    std::size_t end = line.size();
    for (const std::string_view cell : cells) {
        end += cell.size() + 1;
    }
    const std::size_t begin = line.size();
    line.resize(end);
    char* at = line.data() + begin;
    for (const std::string_view cell : cells) {
        at = std::replace_copy(cell.begin(), cell.end(), at, ',', ' ');
        *at++ = ',';
    }
}

}  // namespace zarn
