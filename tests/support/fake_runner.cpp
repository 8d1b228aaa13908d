#include "tests/support/fake_runner.h"

#include <algorithm>

namespace zarn::test {

FakeRunner& FakeRunner::On(std::string text, std::string output, int status) {
    rules_.push_back({std::move(text), std::move(output), status, false});
    return *this;
}

FakeRunner& FakeRunner::Refuse(std::string text) {
    rules_.push_back({std::move(text), "", -1, true});
    return *this;
}

FakeRunner& FakeRunner::Before(std::string text, std::function<void(const std::string&)> action) {
    actions_.emplace_back(std::move(text), std::move(action));
    return *this;
}

const FakeRunner::Rule* FakeRunner::Note(const std::string& command) {
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        commands_.push_back(command);
    }
    for (const auto& [text, action] : actions_) {
        if (command.find(text) != std::string::npos) {
            action(command);
        }
    }
    const auto rule = std::find_if(rules_.begin(), rules_.end(), [&command](const Rule& candidate) {
        return command.find(candidate.text) != std::string::npos;
    });
    return rule == rules_.end() ? nullptr : &*rule;
}

int FakeRunner::Run(const std::string& command) {
    const Rule* rule = Note(command);
    return rule == nullptr ? 0 : rule->status;
}

bool FakeRunner::Capture(const std::string& command, std::string& output) {
    const Rule* rule = Note(command);
    if (rule != nullptr && rule->refused) {
        return false;
    }
    if (rule != nullptr) {
        output += rule->output;
    }
    return true;
}

std::vector<std::string> FakeRunner::Commands() const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return commands_;
}

}  // namespace zarn::test
