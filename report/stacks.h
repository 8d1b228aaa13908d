#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "report/family.h"

namespace zarn::report {

// Call stacks of samples, counted. Takes no more memory than a number of different stacks, however
// many samples come.
class StackCounts {
public:
    StackCounts();

    // A sample: the functions from the outermost to the innermost.
    void Add(const std::vector<std::string_view>& stack);

    [[nodiscard]] std::uint64_t Samples() const { return nodes_.front().samples; }

    // The tree, each node with the samples of all that it called; without what has fewer than one
    // sample in two thousand, which `left` tells of.
    [[nodiscard]] FlameNode Tree(bool& left) const;

private:
    struct Node {
        std::uint32_t name;
        std::uint32_t parent;
        std::uint64_t samples = 0;
    };

    // A node and the name of one that it calls.
    [[nodiscard]] static std::uint64_t KeyOf(std::uint32_t node, std::uint32_t name) {
        return std::uint64_t{node} << 32U | name;
    }
    [[nodiscard]] std::uint32_t NameIndex(std::string_view name);
    // None where there is no room for one more.
    [[nodiscard]] std::optional<std::uint32_t> ChildOf(std::uint32_t node, std::string_view name);

    std::deque<std::string> names_;
    std::unordered_map<std::string_view, std::uint32_t> nameIndexes_;  // of texts in names_
    std::vector<Node> nodes_;  // the root first; parents before their children
    std::unordered_map<std::uint64_t, std::uint32_t> children_;  // by their keys
    bool isCut_ = false;
};

// The flame graph of counted stacks.
[[nodiscard]] FlameBlock FlameOf(const StackCounts& counts, std::string title, Source source);

// A sample of `perf script`.
struct PerfSample {
    std::string_view command;
    std::string_view event;
    std::vector<std::string_view> functions;  // from the outermost to the innermost
    std::vector<std::string_view> files;      // that they are in
};

// Calls `onSample` for each sample of a text that `perf script` printed: a head line with the
// command, pid, core, time, the event's count and its name, and a line for each function, the
// innermost first. A sample ends at an empty line. Lines of none of these are passed over.
void ReadPerfScript(FamilyContext& context, const RunFile& file,
                    const std::function<void(const PerfSample&)>& onSample);

}  // namespace zarn::report
