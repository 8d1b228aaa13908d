#include <string>
#include <string_view>

#include "collectors/profiling/bench/bench_commands.h"
#include "collectors/profiling/bench/bench_results.h"
#include "foundation/files.h"
#include "foundation/json.h"
#include "fuzz/fuzz_input.h"

// Outputs of commands of any bytes, one a line: a list of pids never takes a line end into the
// command that it is put into, and each value stands in the result as it was printed.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using zarn::fuzz::Require;
    const std::string_view output = zarn::fuzz::AsText(data, size);
    const std::string pids(zarn::PidListOf(output));
    const std::string command = zarn::ProcessStatCommand(pids, 1, "log");
    Require(command.find_first_of("\r\n") == std::string::npos, "a command of one line");
    Require(output.substr(0, pids.size()) == pids, "the pids as they were printed");

    zarn::BenchResult result{zarn::bench_files::kStatistics, "1", {}, {}};
    result.values.emplace_back("whole", zarn::ValueOf(output));
    zarn::BenchValues values;
    zarn::LineCursor lines(output);
    for (std::string_view line; lines.Next(line);) {
        values.emplace_back("value " + std::to_string(values.size()), line);
    }
    result.groups.emplace_back("group", values);
    zarn::EventWriter events;
    zarn::WriteBenchResult(result, events);
    const std::string_view text = events.Lines();
    Require(text.find('\n') == text.size() - 1, "one line");
    zarn::JsonDocument document;
    Require(zarn::ParseJson(text.substr(0, text.size() - 1), document), "the result is JSON");
    const auto textOf = [](const zarn::JsonValue& value) {
        return std::string_view(value.GetString(), value.GetStringLength());
    };
    const zarn::JsonValue& content = document["content"];
    Require(textOf(content["whole"]) == zarn::ValueOf(output), "the value with all its lines");
    Require(content["group"].MemberCount() == values.size(), "a member each");
    for (const auto& [name, value] : values) {
        Require(textOf(content["group"][name]) == value, "a value as it was printed");
    }
    return 0;
}
