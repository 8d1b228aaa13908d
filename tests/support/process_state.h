#pragma once

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

}  // namespace zarn::test
