#pragma once

#include <sys/resource.h>

#include <csignal>
#include <cstdlib>
#include <optional>
#include <string>

namespace zarn::test {

// A variable of the process environment, put back at the end.
class ScopedVariable {
public:
    ScopedVariable(std::string name, const std::string& value) : name_(std::move(name)) {
        const char* before = std::getenv(name_.c_str());
        if (before != nullptr) {
            before_ = before;
        }
        ::setenv(name_.c_str(), value.c_str(), 1);
    }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;
    ~ScopedVariable() {
        if (before_) {
            ::setenv(name_.c_str(), before_->c_str(), 1);
        } else {
            ::unsetenv(name_.c_str());
        }
    }

private:
    std::string name_;
    std::optional<std::string> before_;
};

// The process's handling of a signal, put back at the end.
class ScopedHandling {
public:
    ScopedHandling(int signal, void (*handler)(int), int flags = 0) : signal_(signal) {
        struct sigaction action {};
        action.sa_handler = handler;
        action.sa_flags = flags;
        ::sigaction(signal, &action, &before_);
    }
    ScopedHandling(const ScopedHandling&) = delete;
    ScopedHandling& operator=(const ScopedHandling&) = delete;
    ~ScopedHandling() { ::sigaction(signal_, &before_, nullptr); }

private:
    int signal_;
    struct sigaction before_ {};
};

// No file may grow beyond `size` bytes, as on a full disk: the part that fits is written.
class ScopedFileSizeLimit {
public:
    explicit ScopedFileSizeLimit(rlim_t size) {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{size, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ScopedFileSizeLimit(const ScopedFileSizeLimit&) = delete;
    ScopedFileSizeLimit& operator=(const ScopedFileSizeLimit&) = delete;
    ~ScopedFileSizeLimit() { ::setrlimit(RLIMIT_FSIZE, &before_); }

private:
    ScopedHandling signal_{SIGXFSZ, SIG_IGN};
    rlimit before_{};
};

}  // namespace zarn::test
