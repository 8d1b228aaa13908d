#pragma once

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>

namespace zarn::board {

// A child of the server that is told what to be as it starts.
struct OrderedChild {
    pid_t pid = -1;
    int answers = -1;  // its standard output, which is the caller's to close
};

// What a child is told, as bytes.
struct ChildOrder {
    const void* bytes = nullptr;
    std::size_t size = 0;
};

// Starts the program `path` under a name with the order on its standard input. Nothing if it cannot
// be started or told.
[[nodiscard]] std::optional<OrderedChild> StartOrdered(const std::string& path,
                                                       const std::string& name,
                                                       const ChildOrder& order);

// Ends a child and waits for that.
void EndChild(pid_t pid);

// The path of a program that users do not call: it is beside this one where it was built, apart
// from what they call where it is installed.
[[nodiscard]] std::string InnerProgramPath(const std::string& name);

}  // namespace zarn::board
