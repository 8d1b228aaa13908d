#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "formats/bench.h"
#include "kit/event_writer.h"

// The bench collector's results. Pure functions.
namespace zarn {

// Names and texts, in their order.
using BenchValues = std::vector<std::pair<std::string, std::string>>;

// A result: values that lie in `content` itself, and those that lie in an object of a job or node.
struct BenchResult {
    bench_files::Kind kind;
    std::string time;
    BenchValues values;
    std::vector<std::pair<std::string, BenchValues>> groups;
};

void WriteBenchResult(const BenchResult& result, EventWriter& events);

// What a command printed, without the end of its last line: several lines stay as they are.
[[nodiscard]] std::string_view ValueOf(std::string_view output);

// Its first line alone.
[[nodiscard]] std::string_view PidListOf(std::string_view output);

}  // namespace zarn
