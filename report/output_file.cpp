#include "report/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <system_error>
#include <utility>

#include "foundation/paths.h"

namespace zarn::report {
namespace {

// What a signal has to remove: a path that ends in a zero byte, empty if there is none.
std::array<char, PATH_MAX + 1> unfinished{};
static_assert(std::atomic<bool>::is_always_lock_free);
std::atomic<bool> isUnfinished{false};

extern "C" void RemoveUnfinished(int number) {
    if (isUnfinished.load()) {
        (void)::unlink(unfinished.data());
    }
    // With the action reset the signal ends the process, so that whoever waits sees by what.
    (void)::raise(number);
}

void WatchSignals() {
    struct sigaction action {};
    action.sa_handler = RemoveUnfinished;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        (void)::sigaction(number, &action, nullptr);
    }
}

[[nodiscard]] std::string ReasonOf(int error) {
    return std::generic_category().message(error);
}

}  // namespace

OutputFile::OutputFile(const std::string& path) : path_(ResolvePath(path).value_or(path)) {
    struct stat status {};
    if (::stat(path_.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        error_ = "it is no regular file";
    } else if (path_.size() + 8 > unfinished.size()) {
        error_ = ReasonOf(ENAMETOOLONG);
    } else {
        Open();
    }
}

void OutputFile::Open() {
    temporary_ = path_ + ".XXXXXX";
    WatchSignals();
    fd_ = ::mkostemp(temporary_.data(), O_CLOEXEC);
    if (fd_ < 0) {
        Fail();
        temporary_.clear();
        return;
    }
    *std::copy(temporary_.begin(), temporary_.end(), unfinished.begin()) = '\0';
    isUnfinished = true;
    const mode_t mask = ::umask(0);
    (void)::umask(mask);
    (void)::fchmod(fd_, 0666 & ~mask);
}

void OutputFile::Fail() {
    if (error_.empty()) {
        error_ = ReasonOf(errno);
    }
}

void OutputFile::Write(std::string_view piece) {
    while (error_.empty() && !piece.empty()) {
        const ssize_t written = ::write(fd_, piece.data(), piece.size());
        if (written > 0) {
            piece.remove_prefix(static_cast<std::size_t>(written));
        } else if (written == 0 || errno != EINTR) {
            Fail();
        }
    }
}

bool OutputFile::Keep() {
    if (error_.empty() && ::fsync(fd_) != 0) {
        Fail();
    }
    if (fd_ >= 0 && ::close(std::exchange(fd_, -1)) != 0) {
        Fail();
    }
    if (error_.empty() && ::rename(temporary_.c_str(), path_.c_str()) != 0) {
        Fail();
    }
    if (error_.empty()) {
        isUnfinished = false;
        temporary_.clear();
    }
    Drop();
    return error_.empty();
}

void OutputFile::Drop() {
    if (fd_ >= 0) {
        (void)::close(std::exchange(fd_, -1));
    }
    if (!temporary_.empty()) {
        (void)::unlink(temporary_.c_str());
        temporary_.clear();
    }
    isUnfinished = false;
}

}  // namespace zarn::report
