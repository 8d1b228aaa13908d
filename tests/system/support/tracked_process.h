#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zarn::test {

// A process whose streams are collected while it runs and which asks for things on the way.
struct TrackedProcess {
    std::vector<std::string> command;      // the first one is a path
    std::vector<std::string> environment;  // "NAME=value"
    std::string workingDirectory;
    bool mergeStreams = false;
    // Called in the child before the command starts; false ends it with status 126.
    std::function<bool()> prepare;
    // A FIFO of words, one a line, and the FIFO that takes one line when a word has been dealt
    // with.
    std::string requests;
    std::string answers;
    // Deals with a word. False: not yet, ask again when more output has come or a moment later.
    // `out` is what has been written so far; `pid` is the process that was started.
    std::function<bool(const std::string& word, pid_t pid, const std::string& out)> onRequest;
};

struct TrackedResult {
    std::string out;
    std::string err;
    int waitStatus = -1;
};

// Runs it to its end. A process that could not be started gives status 126 << 8.
[[nodiscard]] TrackedResult RunTracked(const TrackedProcess& process);

}  // namespace zarn::test
