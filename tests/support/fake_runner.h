#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "foundation/command_runner.h"

namespace zarn::test {

// Records every command line and answers from a script: the first rule whose text is found in the
// command. Without a rule Run gives 0 and Capture gives nothing. May be used from several threads.
class FakeRunner final : public CommandRunner {
public:
    // What a command that holds `text` does: its wait status, and what it prints (Capture).
    FakeRunner& On(std::string text, std::string output, int status = 0);
    // The command that holds `text` cannot be started: Capture false, Run -1.
    FakeRunner& Refuse(std::string text);
    // Calls `action` with the command line before the command is answered.
    FakeRunner& Before(std::string text, std::function<void(const std::string&)> action);

    int Run(const std::string& command) override;
    bool Capture(const std::string& command, std::string& output) override;

    // Command lines in the order they came.
    [[nodiscard]] std::vector<std::string> Commands() const;

private:
    struct Rule {
        std::string text;
        std::string output;
        int status = 0;
        bool refused = false;
    };

    const Rule* Note(const std::string& command);

    mutable std::mutex mutex_;
    std::vector<Rule> rules_;
    std::vector<std::pair<std::string, std::function<void(const std::string&)>>> actions_;
    std::vector<std::string> commands_;
};

}  // namespace zarn::test
