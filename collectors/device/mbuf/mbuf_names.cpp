#include "collectors/device/mbuf/mbuf_names.h"

#include <stdexcept>
#include <vector>

#include "collectors/device/mbuf/mbuf_groups.h"
#include "foundation/commands.h"
#include "foundation/console.h"

namespace zarn {
namespace {

void TellNoGroups() {
    PrintError("[MbufCollector] Failed to get group name!");
}

// The number that the pipeline printed, without the last character of its output.
std::optional<int> ReadCount(std::string output) {
    if (!output.empty()) {
        output.pop_back();
    }
    try {
        return std::stoi(output);
    } catch (const std::invalid_argument& error) {
        PrintError(std::string("[MbufCollector] Invalidargument. ") + error.what());
    } catch (const std::out_of_range& error) {
        PrintError(std::string("[MbufCollector] Out of range. ") + error.what());
    }
    return std::nullopt;
}

}  // namespace

std::string MbufNames::ProcessOf(std::uint32_t pid) {
    const auto known = processes_.find(pid);
    if (known != processes_.end()) {
        return known->second;
    }
    std::string name;
    if (!ExecuteCommand(MbufProcessCommand(pid), name, runner_)) {
        return "";
    }
    if (!name.empty() && name.back() == '\n') {
        name.pop_back();
    }
    return processes_[pid] = name;
}

std::string MbufNames::GroupsOf(std::uint32_t pid) {
    const auto known = groups_.find(pid);
    if (known != groups_.end()) {
        return known->second;
    }
    const std::optional<std::string> groups = AskForGroups(pid);
    if (!groups) {
        TellNoGroups();
        return "";
    }
    return groups_[pid] = *groups;
}

std::optional<std::string> MbufNames::AskForGroups(std::uint32_t pid) {
    std::string output;
    if (!ExecuteCommand(MbufGroupCountCommand(pid), output, runner_)) {
        return std::nullopt;
    }
    const std::optional<int> count = ReadCount(output);
    std::vector<std::string> words;
    if (count && !ExecuteCommandLines(MbufGroupsCommand(pid), words, runner_)) {
        return std::nullopt;
    }
    if (!count || static_cast<long>(words.size()) < *count) {
        TellNoGroups();
    }
    return JoinMbufGroups(words, count.value_or(0));
}

}  // namespace zarn
