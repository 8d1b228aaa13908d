#pragma once

#include <optional>
#include <string>

#include "foundation/command_runner.h"

namespace zarn {

// A mission's lines about a name that it passes over, for the error stream: each in two halves,
// with the name between them.
struct ProcessIdWords {
    struct Halves {
        const char* before;
        const char* behind;
    };

    Halves failed;  // `pidof` could not be started
    Halves absent;  // no process has the name, or several have it
};

// The pid of the one process that `pidof` knows by that name, as text. Nothing, after a line, where
// there is not exactly one. Of an answer's digits those before its first line end count: one that
// begins with an empty line and goes on with digits alone gives an empty text.
[[nodiscard]] std::optional<std::string> FindProcessId(const std::string& name,
                                                       const ProcessIdWords& words,
                                                       CommandRunner& runner);

}  // namespace zarn
