#include "collectors/profiling/hot_fun/function_sets.h"

#include <algorithm>
#include <utility>

#include "foundation/regex_guard.h"

namespace zarn {
namespace {

// As many names as a system has, and of a length that commands have: what is kept stays small.
constexpr std::size_t kMostOthers = 4096;
constexpr std::size_t kLongestOther = 64;

double Percent(std::uint64_t cycles, std::uint64_t total) {
    return static_cast<double>(cycles) / static_cast<double>(total) * 100;
}

}  // namespace

bool FunctionSets::IsPattern(const std::string& function) {
    return function.find('*') != std::string::npos;
}

bool FunctionSets::AddSet(const std::string& set) {
    return sets_.try_emplace(set).second;
}

void FunctionSets::Add(const std::string& set, const std::string& function) {
    sets_[set].push_back(function);
    if (IsPattern(function)) {
        patterns_.push_back(function);
    }
}

FunctionCycles::FunctionCycles(const FunctionSets& sets) : sets_(&sets) {
    for (const auto& [set, functions] : sets.Sets()) {
        for (const std::string& function : functions) {
            if (!FunctionSets::IsPattern(function)) {
                functions_[function];
            }
        }
    }
}

std::optional<FunctionCycles> FunctionCycles::Make(const FunctionSets& sets, std::string& error) {
    FunctionCycles cycles(sets);
    for (const std::string& pattern : sets.Patterns()) {
        std::optional<std::regex> compiled = CompileGuarded(pattern, error);
        if (!compiled) {
            return std::nullopt;
        }
        cycles.patterns_.try_emplace(pattern, *std::move(compiled));
    }
    return cycles;
}

void FunctionCycles::Add(std::string_view name, std::uint64_t cycles) {
    total_ += cycles;
    auto found = functions_.find(name);
    if (found == functions_.end()) {
        if (!IsAsked(name)) {
            return;
        }
        found = functions_.try_emplace(std::string(name)).first;
    }
    found->second.count += cycles;
    found->second.sampled = true;
}

bool FunctionCycles::IsAsked(std::string_view name) {
    if (others_.find(name) != others_.end()) {
        return false;
    }
    const bool asked = std::any_of(patterns_.begin(), patterns_.end(), [name](const auto& pattern) {
        return SearchGuarded(name, pattern.second);
    });
    if (!asked && name.size() <= kLongestOther) {
        if (others_.size() == kMostOthers) {
            others_.clear();
        }
        others_.emplace(name);
    }
    return asked;
}

std::map<std::string, FunctionShares> FunctionCycles::Shares() const {
    std::map<std::string, FunctionShares> all;
    for (const auto& [set, functions] : sets_->Sets()) {
        FunctionShares& shares = all[set];
        double sum = 0.0;
        const auto count = [this, &shares, &sum](const std::string& name, const Cycles& cycles) {
            if (cycles.sampled) {
                sum += static_cast<double>(cycles.count);
                shares.functions[name] = Percent(cycles.count, total_);
            }
        };
        for (const std::string& function : functions) {
            const auto own = functions_.find(function);
            if (own != functions_.end()) {
                count(own->first, own->second);
                continue;
            }
            for (const auto& [name, cycles] : functions_) {
                if (SearchGuarded(name, patterns_.at(function))) {
                    count(name, cycles);
                }
            }
        }
        shares.total = sum / static_cast<double>(total_) * 100;
    }
    return all;
}

}  // namespace zarn
