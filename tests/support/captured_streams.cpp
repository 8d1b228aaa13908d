#include "tests/support/captured_streams.h"

#include <gtest/gtest.h>

namespace zarn::test {

Captured Capture(const std::function<void()>& action) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const auto take = [] {
        Captured captured;
        captured.out = testing::internal::GetCapturedStdout();
        captured.err = testing::internal::GetCapturedStderr();
        return captured;
    };
    try {
        action();
    } catch (...) {
        (void)take();
        throw;
    }
    return take();
}

}  // namespace zarn::test
