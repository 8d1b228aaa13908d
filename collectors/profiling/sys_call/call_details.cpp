#include "collectors/profiling/sys_call/call_details.h"

#include <algorithm>

#include "foundation/text.h"

namespace zarn {
namespace {

// The last word of a text that does not end in a blank.
std::string_view LastWord(std::string_view text) {
    return text.substr(text.rfind(' ') + 1);  // npos + 1 is 0
}

}  // namespace

void CallDetails::Add(std::string_view line) {
    line = TrimSpacesView(line);
    const std::string_view begin = line.substr(0, line.find(' '));
    std::string_view cost = LastWord(line);
    if (begin.size() == line.size() || cost.size() < 2) {
        return;
    }
    cost = cost.substr(1, cost.size() - 2);
    if (!IsDecimalString(cost)) {
        return;
    }
    words_.Reserve(size_, begin.size() + cost.size() + 2);
    char* out = words_.Data() + size_;
    out = std::copy(begin.begin(), begin.end(), out);
    *out++ = ' ';
    out = std::copy(cost.begin(), cost.end(), out);
    *out++ = ' ';
    size_ = static_cast<std::size_t>(out - words_.Data());
}

void CallDetails::ForEach(
    const std::function<void(std::string_view, std::string_view)>& take) const {
    PieceCursor words(words_.Text(size_), ' ');
    std::string_view begin;
    std::string_view cost;
    while (words.Next(begin) && words.Next(cost)) {
        take(begin, cost);
    }
}

}  // namespace zarn
