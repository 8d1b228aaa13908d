#include "report/options.h"

namespace zarn::report {
namespace {

// Whether the word is an option; what begins with "-" is one.
[[nodiscard]] bool IsOption(const std::string& word) {
    return word.size() > 1 && word.front() == '-';
}

[[nodiscard]] std::optional<Options> Complete(const Options& options, std::string& error) {
    if (options.action == Options::Action::Report && options.runs.empty()) {
        error = "no run is named";
    } else if (options.output.empty()) {
        error = "-o needs a file";
    } else {
        return options;
    }
    return std::nullopt;
}

}  // namespace

std::optional<Options> ParseOptions(const std::vector<std::string>& words, std::string& error) {
    Options options;
    bool onlyRuns = false;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (onlyRuns || !IsOption(word)) {
            options.runs.push_back(word);
        } else if (word == "--") {
            onlyRuns = true;
        } else if (word == "--help" || word == "--version") {
            options.action = word == "--help" ? Options::Action::Help : Options::Action::Version;
            return options;
        } else if (word == "-o" && i + 1 < words.size()) {
            options.output = words[++i];
        } else {
            error = word == "-o" ? "-o needs a file" : "unknown option " + word;
            return std::nullopt;
        }
    }
    return Complete(options, error);
}

}  // namespace zarn::report
