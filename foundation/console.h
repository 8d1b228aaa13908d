#pragma once

#include <string>
#include <string_view>

namespace zarn {

// The only place that knows the streams. A line goes out, newline included, in one write,
// unbuffered, so that lines of missions on different threads never mix and nothing is lost when the
// process ends.

// Writes `line` and a newline to standard output.
void PrintLine(std::string_view line);

// Writes `line` and a newline to the error stream.
void PrintError(std::string_view line);

// The same, and gives false: how an operation that says its one line fails.
bool PrintFailure(std::string_view line);

// Writes text that is a constant to standard output from a signal handler; nothing is allocated.
void PrintFromSignalHandler(std::string_view constantText) noexcept;

}  // namespace zarn
