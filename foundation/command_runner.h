#pragma once

#include <functional>
#include <string>
#include <string_view>

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
    // give: 0 for exit status 0; that of exit status 127 if the shell cannot be executed (a command
    // text of more than 128 kB, for instance); -1 if no process can be made.
    virtual int Run(const std::string& command) = 0;

    // Runs `command` by /bin/sh -c and appends everything it writes to standard output to `output`,
    // NUL bytes too. False only if it cannot be started or memory does not suffice for what it
    // writes, and `output` is then as before; the exit status is not looked at.
    [[nodiscard]] virtual bool Capture(const std::string& command, std::string& output) = 0;

    // Takes a piece of output; it is valid during the call alone.
    using Sink = std::function<void(std::string_view)>;

    // The same for output of which only a part is worth keeping: hands it to `take` as it comes, on
    // this thread, in pieces that end anywhere. After a false result some may have been handed
    // over. A runner that knows no better captures it first.
    [[nodiscard]] virtual bool Stream(const std::string& command, const Sink& take) {
        std::string output;
        if (!Capture(command, output)) {
            return false;
        }
        take(output);
        return true;
    }
};

// The real one. It has no state, so any number of threads may use it at once. Children run under
// LC_ALL=C whatever the caller's locale, with SIGINT, SIGQUIT, SIGTERM, SIGPIPE and SIGCHLD at
// their default and no signal blocked, whatever the caller ignores or blocks; of descriptors they
// get the three standard ones and what the caller itself was started with. Unlike with the C
// library's system(3) the caller keeps receiving interrupts while it waits; an interrupted wait
// goes on.
//
// What it promises for output of any size: Capture takes it as it comes, into memory alone (at most
// three times its size while the text grows), never through a buffer that could fill and block the
// child; a child that writes more than memory holds is cut off. It returns when every process that
// has the output open has closed it (a grandchild too) and the shell has ended, so a child that
// closes its output and lives on is waited for. A child killed in the middle leaves what it wrote.
// How long a child runs is not bounded here: a command that must end says so itself.
CommandRunner& SystemCommandRunner();

}  // namespace zarn
