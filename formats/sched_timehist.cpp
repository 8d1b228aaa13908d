#include "formats/sched_timehist.h"

#include <array>

#include "foundation/numbers.h"

namespace zarn {
namespace {

bool EndsInBracket(std::string_view piece) {
    return piece.back() == ']';
}

// A piece of a name may begin with a number: "3[77]".
bool IsNumber(std::string_view piece) {
    return !EndsInBracket(piece) && NumberIn(piece).has_value();
}

// The pieces of a line, cut as PieceCursor does, but byte by byte: they are short, and there are
// millions of lines.
class Pieces {
public:
    explicit Pieces(std::string_view line) : at_(line.data()), end_(line.data() + line.size()) {}

    bool Next(std::string_view& piece) {
        const char* begin = at_;
        while (begin != end_ && *begin == ' ') {
            ++begin;
        }
        const char* end = begin;
        while (end != end_ && *end != ' ') {
            ++end;
        }
        at_ = end;
        piece = {begin, static_cast<std::size_t>(end - begin)};
        return begin != end;
    }

private:
    const char* at_;
    const char* end_;
};

// From the beginning of `first` to the end of `last`, two pieces of one line.
std::string_view Span(std::string_view first, std::string_view last) {
    return {first.data(), static_cast<std::size_t>(last.data() - first.data()) + last.size()};
}

}  // namespace

bool ReadTimehistRow(std::string_view line, TimehistRow& row) {
    std::array<std::string_view, 3> numbers;
    Pieces pieces(line);
    const auto takeNumbers = [&numbers](Pieces& cursor) {
        return cursor.Next(numbers[0]) && cursor.Next(numbers[1]) && cursor.Next(numbers[2]);
    };
    if (!pieces.Next(row.time) || !pieces.Next(row.cpu) || !pieces.Next(row.task)) {
        return false;
    }
    Pieces rest = pieces;
    bool whole = takeNumbers(pieces);
    const bool plain = EndsInBracket(row.task) || (whole && IsNumber(numbers[0]) &&
                                                   IsNumber(numbers[1]) && IsNumber(numbers[2]));
    if (!plain) {
        std::string_view piece;
        while (rest.Next(piece)) {
            if (EndsInBracket(piece)) {
                row.task = Span(row.task, piece);
                whole = takeNumbers(rest);
                break;
            }
        }
    }
    row.waitTime = numbers[0];
    row.schedDelay = numbers[1];
    row.runTime = numbers[2];
    return whole;
}

bool IsIdleTask(std::string_view task) {
    return task.find("idle") != std::string_view::npos;
}

TimehistTask SplitTimehistTask(std::string_view task) {
    const std::size_t open = task.rfind('[');
    const std::size_t close = task.find(']', open == std::string_view::npos ? 0 : open);
    if (open == std::string_view::npos || close == std::string_view::npos) {
        return {task, {}};
    }
    return {task.substr(0, open), task.substr(open + 1, close - open - 1)};
}

}  // namespace zarn
