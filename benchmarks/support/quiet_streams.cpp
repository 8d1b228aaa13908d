#include "benchmarks/support/quiet_streams.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace zarn::bench {

QuietStreams::QuietStreams() : savedOut_(::dup(STDOUT_FILENO)), savedErr_(::dup(STDERR_FILENO)) {
    std::fflush(stdout);
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    ::dup2(nowhere, STDOUT_FILENO);
    ::dup2(nowhere, STDERR_FILENO);
    ::close(nowhere);
}

QuietStreams::~QuietStreams() {
    ::dup2(savedOut_, STDOUT_FILENO);
    ::dup2(savedErr_, STDERR_FILENO);
    ::close(savedOut_);
    ::close(savedErr_);
}

}  // namespace zarn::bench
