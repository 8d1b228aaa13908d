#include "tests/unit/support/captured_streams.h"

#include <gtest/gtest.h>

namespace zarn::test {

Captured Capture(const std::function<void()>& action) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    action();
    Captured captured;
    captured.out = testing::internal::GetCapturedStdout();
    captured.err = testing::internal::GetCapturedStderr();
    return captured;
}

}  // namespace zarn::test
