#pragma once

#include <functional>
#include <string>

namespace zarn::test {

// What an action wrote to each stream.
struct Captured {
    std::string out;
    std::string err;
};

// Runs `action` with both streams of the process redirected; an exception goes on to the caller.
[[nodiscard]] Captured Capture(const std::function<void()>& action);

}  // namespace zarn::test
