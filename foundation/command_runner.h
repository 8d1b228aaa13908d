#pragma once

#include <string>

namespace zarn {

// The way out to other programs. Missions get it by reference; tests hand in one that records the
// command lines and answers with canned text.
class CommandRunner {
public:
    CommandRunner() = default;
    CommandRunner(const CommandRunner&) = delete;
    CommandRunner& operator=(const CommandRunner&) = delete;
    virtual ~CommandRunner() = default;

    // Runs `command` by /bin/sh -c and waits for it. Returns the wait status that system(3) would
    // give (0: exit status 0), -1 if the shell cannot be started.
    virtual int Run(const std::string& command) = 0;

    // Runs `command` by /bin/sh -c and appends everything it writes to standard output to `output`.
    // False only if it cannot be started; the exit status is not looked at.
    [[nodiscard]] virtual bool Capture(const std::string& command, std::string& output) = 0;
};

// The real one. It has no state, so any number of threads may use it at once. Children run under
// LC_ALL=C whatever the caller's locale, with default signal handling. Unlike the C library's
// system(3) the caller keeps receiving interrupts while it waits; an interrupted wait goes on.
CommandRunner& SystemCommandRunner();

}  // namespace zarn
