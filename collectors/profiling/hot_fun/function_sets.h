#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace zarn {

// Named groups of functions. A function is given by its name or, if it holds a "*", by a regular
// expression that is searched in names.
class FunctionSets {
public:
    // False if there is a set of that name.
    [[nodiscard]] bool AddSet(const std::string& set);
    void Add(const std::string& set, const std::string& function);

    // The functions of each set as they were added.
    [[nodiscard]] const std::map<std::string, std::vector<std::string>>& Sets() const {
        return sets_;
    }
    // The regular expressions of all sets as they were added.
    [[nodiscard]] const std::vector<std::string>& Patterns() const { return patterns_; }

    [[nodiscard]] static bool IsPattern(const std::string& function);

private:
    std::map<std::string, std::vector<std::string>> sets_;
    std::vector<std::string> patterns_;
};

// A set's part of all cycles, in percent; not a number where there are none.
struct FunctionShares {
    double total = 0.0;
    std::map<std::string, double> functions;  // those that got samples
};

// Adds up the cycles of samples by the names that the sets ask for. Keeps each such name once, and
// nothing of other samples but their part of the total.
class FunctionCycles {
public:
    // `sets` outlives the object. Nothing if one of its patterns is no regular expression; `error`
    // then says why.
    [[nodiscard]] static std::optional<FunctionCycles> Make(const FunctionSets& sets,
                                                            std::string& error);

    void Add(std::string_view name, std::uint64_t cycles);

    // By set. A function counts once for each of the set's strings that means it, in all sets that
    // have one.
    [[nodiscard]] std::map<std::string, FunctionShares> Shares() const;

private:
    explicit FunctionCycles(const FunctionSets& sets);

    [[nodiscard]] bool IsAsked(std::string_view name);

    struct Cycles {
        std::uint64_t count = 0;
        bool sampled = false;
    };

    const FunctionSets* sets_;
    std::map<std::string, std::regex> patterns_;
    std::map<std::string, Cycles, std::less<>> functions_;
    std::set<std::string, std::less<>> others_;  // names lately found to be none that is asked for
    std::uint64_t total_ = 0;
};

}  // namespace zarn
