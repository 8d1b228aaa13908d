#include "tests/system/support/program_lock.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

namespace zarn::test {

ProgramLock::ProgramLock()
    : fd_(::open("/tmp/zarn-test-board-programs.lock", O_RDWR | O_CREAT | O_CLOEXEC, 0666)) {
    EXPECT_GE(fd_, 0);
    EXPECT_EQ(::flock(fd_, LOCK_EX), 0);
}

ProgramLock::~ProgramLock() {
    ::close(fd_);
}

}  // namespace zarn::test
