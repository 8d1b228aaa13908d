#include "collectors/system/sched/setup_parser.h"

#include <algorithm>
#include <optional>

#include "foundation/files.h"
#include "foundation/text.h"

namespace zarn {
namespace {

constexpr std::size_t kListColumnsBeforeName = 4;  // PID SPID TTY TIME
constexpr std::size_t kThreadIdColumn = 1;
constexpr std::size_t kTopColumnsBeforeName = 11;  // PID USER PR ... TIME+
constexpr std::size_t kTopPriorityColumn = 2;

bool IsNumber(std::string_view word) {
    return !word.empty() && word.find_first_not_of("0123456789") == std::string_view::npos;
}

// A line's words, as views, and what stands behind the first `count` of them.
struct Words {
    std::vector<std::string_view> words;
    std::string_view rest;
};

Words SplitWords(std::string_view line, std::size_t count) {
    Words split;
    while (split.words.size() < count) {
        line.remove_prefix(std::min(line.find_first_not_of(" \t\r"), line.size()));
        if (line.empty()) {
            break;
        }
        const std::size_t end = std::min(line.find_first_of(" \t\r"), line.size());
        split.words.push_back(line.substr(0, end));
        line.remove_prefix(end);
    }
    split.rest = TrimSpacesView(line.substr(0, line.find('\r')));
    return split;
}

std::size_t ColumnOf(const std::vector<std::string_view>& head, std::string_view name) {
    return static_cast<std::size_t>(std::find(head.begin(), head.end(), name) - head.begin());
}

// Where a head of `ps -l` has the columns that count.
struct PriorityColumns {
    std::size_t id;
    std::size_t priority;
};

std::optional<PriorityColumns> ParseHead(const std::vector<std::string_view>& words) {
    const std::size_t priority = ColumnOf(words, "PRI");
    const std::size_t thread = ColumnOf(words, "SPID");
    const std::size_t process = ColumnOf(words, "PID");
    if (priority == words.size() || process == words.size()) {
        return std::nullopt;
    }
    return PriorityColumns{thread < words.size() ? thread : process, priority};
}

// Lines such as "pid 12's current affinity list: 0,1": those with `label` are rows.
SetupRows ParseCurrent(std::string_view text, std::string_view label) {
    constexpr std::string_view kBegin = "pid ";
    SetupRows parsed;
    LineCursor lines(text);
    for (std::string_view line; lines.Next(line);) {
        const std::size_t at = line.find(label);
        if (!StartsWith(line, kBegin) || at == std::string_view::npos) {
            continue;
        }
        const std::string_view id = line.substr(kBegin.size(), at - kBegin.size());
        const std::string_view value = SplitWords(line.substr(at + label.size()), 0).rest;
        if (IsNumber(id) && !value.empty()) {
            parsed.rows.push_back({std::string(id), std::string(value)});
        } else {
            ++parsed.shortRows;
        }
    }
    return parsed;
}

}  // namespace

SetupRows ParseThreadList(std::string_view text) {
    SetupRows parsed;
    LineCursor lines(text);
    for (std::string_view line; lines.Next(line);) {
        const Words split = SplitWords(line, kListColumnsBeforeName);
        if (split.words.empty() || !IsNumber(split.words.front())) {
            continue;
        }
        if (split.rest.empty() || !IsNumber(split.words[kThreadIdColumn])) {
            ++parsed.shortRows;
            continue;
        }
        parsed.rows.push_back({std::string(split.words[kThreadIdColumn]), std::string(split.rest)});
    }
    return parsed;
}

SetupRows ParsePriorities(std::string_view text) {
    constexpr std::size_t kMostColumns = 32;
    SetupRows parsed;
    std::optional<PriorityColumns> columns;
    LineCursor lines(text);
    for (std::string_view line; lines.Next(line);) {
        const std::vector<std::string_view> words = SplitWords(line, kMostColumns).words;
        if (const auto head = ParseHead(words)) {
            columns = head;
        } else if (words.empty()) {
            continue;
        } else if (columns && std::max(columns->id, columns->priority) < words.size() &&
                   IsNumber(words[columns->id])) {
            parsed.rows.push_back(
                {std::string(words[columns->id]), std::string(words[columns->priority])});
        } else {
            ++parsed.shortRows;
        }
    }
    return parsed;
}

SetupRows ParsePolicies(std::string_view text) {
    return ParseCurrent(text, "'s current scheduling policy:");
}

SetupRows ParseAffinities(std::string_view text) {
    return ParseCurrent(text, "'s current affinity list:");
}

TopRows ParseTopThreads(std::string_view text) {
    TopRows parsed;
    LineCursor lines(text);
    for (std::string_view line; lines.Next(line);) {
        const Words split = SplitWords(line, kTopColumnsBeforeName);
        if (split.words.empty() || !IsNumber(split.words.front())) {
            continue;
        }
        if (split.rest.empty()) {
            ++parsed.shortRows;
            continue;
        }
        parsed.rows.push_back({std::string(split.words.front()), std::string(split.rest),
                               std::string(split.words[kTopPriorityColumn])});
    }
    return parsed;
}

}  // namespace zarn
