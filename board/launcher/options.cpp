#include "board/launcher/options.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace zarn::board {
namespace {

struct ValueOption {
    std::string_view name;
    std::string LauncherOptions::*member;
};

constexpr std::array<ValueOption, 8> kValueOptions{{
    {"--scenario", &LauncherOptions::scenario},
    {"--seed", &LauncherOptions::seed},
    {"--faults", &LauncherOptions::faults},
    {"--opt-usr", &LauncherOptions::optUsr},
    {"--board", &LauncherOptions::board},
    {"--workdir", &LauncherOptions::workdir},
    {"--build", &LauncherOptions::build},
    {"--perf", &LauncherOptions::perf},
}};

const ValueOption* FindValueOption(std::string_view name) {
    for (const ValueOption& option : kValueOptions) {
        if (option.name == name) {
            return &option;
        }
    }
    return nullptr;
}

std::optional<LauncherOptions::Action> ActionOf(std::string_view word) {
    using Action = LauncherOptions::Action;
    if (word == "--list") {
        return Action::List;
    }
    if (word == "--help") {
        return Action::Help;
    }
    return word == "--doctor" ? std::optional(Action::Doctor) : std::nullopt;
}

std::optional<Paths> PathsOf(std::string_view word) {
    if (word == "namespace") {
        return Paths::Namespace;
    }
    return word == "proot" ? std::optional(Paths::Proot) : std::nullopt;
}

}  // namespace

ParsedCall ParseLauncherOptions(const std::vector<std::string>& words) {
    LauncherOptions options;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        const ValueOption* valued = FindValueOption(word);
        if (word == "--") {
            options.command.assign(words.begin() + static_cast<std::ptrdiff_t>(i) + 1, words.end());
            break;
        }
        if (const auto action = ActionOf(word)) {
            options.action = *action;
            return {options, ""};
        }
        if (word == "--namespace") {
            options.paths = Paths::Namespace;
            continue;
        }
        if (valued == nullptr && word != "--paths") {
            return {};
        }
        ++i;
        if (i == words.size()) {
            return {std::nullopt, word + " needs a value"};
        }
        if (valued != nullptr) {
            options.*(valued->member) = words[i];
            if (word == "--perf" && words[i] != "machine" && words[i] != "model") {
                return {std::nullopt, "--perf takes machine or model, not " + words[i]};
            }
            continue;
        }
        const auto paths = PathsOf(words[i]);
        if (!paths) {
            return {std::nullopt, "--paths takes namespace or proot, not " + words[i]};
        }
        options.paths = *paths;
    }
    return options.command.empty() ? ParsedCall{} : ParsedCall{options, ""};
}

}  // namespace zarn::board
