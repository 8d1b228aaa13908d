#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Readers of what the system's tools tell of processes and threads. Each takes the whole text of a
// log, in which the outputs of several calls stand one below the other. Lines that are no row,
// heads among them, are passed over; a row that is cut short is counted and left out.
namespace zarn {

// What a tool tells of one process or thread. `id`: its pid or tid, digits.
struct SetupRow {
    std::string id;
    std::string value;
};

struct SetupRows {
    std::vector<SetupRow> rows;
    std::size_t shortRows = 0;
};

// `ps -T -p`: the names of threads, which are the rest of the line and may hold blanks.
[[nodiscard]] SetupRows ParseThreadList(std::string_view text);

// `ps -l`, with -T or without: the column PRI. The head says where the columns are; with a column
// SPID that is the id, else PID. Rows without a head before them are short.
[[nodiscard]] SetupRows ParsePriorities(std::string_view text);

// `chrt -p`: the policy, flags such as "|SCHED_RESET_ON_FORK" included.
[[nodiscard]] SetupRows ParsePolicies(std::string_view text);

// `taskset -pc`: the list of cores.
[[nodiscard]] SetupRows ParseAffinities(std::string_view text);

// Rows of `top -H -b`: names, the rest of the line, and priorities.
struct TopRow {
    std::string id;
    std::string name;
    std::string priority;
};
struct TopRows {
    std::vector<TopRow> rows;
    std::size_t shortRows = 0;
};
[[nodiscard]] TopRows ParseTopThreads(std::string_view text);

}  // namespace zarn
