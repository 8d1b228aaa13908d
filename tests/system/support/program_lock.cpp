#include "tests/system/support/program_lock.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

namespace zarn::test {
namespace {

// To lock it takes no right to write.
constexpr const char* kLockFile = "/tmp/zarn-test-board-programs.lock";

}  // namespace

ProgramLock::ProgramLock() : fd_(::open(kLockFile, O_RDONLY | O_CREAT | O_CLOEXEC, 0644)) {
    if (fd_ < 0) {
        // Another user's, in a folder where the kernel lets nobody else open it as if it were new.
        fd_ = ::open(kLockFile, O_RDONLY | O_CLOEXEC);
    }
    EXPECT_GE(fd_, 0);
    EXPECT_EQ(::flock(fd_, LOCK_EX), 0);
}

ProgramLock::~ProgramLock() {
    ::close(fd_);
}

}  // namespace zarn::test
