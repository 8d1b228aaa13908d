#include <vector>

#include "analyzers/cpu/cpu_all_processes.h"
#include "foundation/json.h"
#include "fuzz/fuzz_input.h"

// The analyzer's addition to the collector's documents. The first line is a row of top, the rest a
// document: what comes out is JSON, and it has the array that was added.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input = zarn::fuzz::AsText(data, size);
    const std::size_t end = input.find('\n');
    if (end == std::string_view::npos) {
        return 0;
    }
    zarn::Batches<std::string_view> rows;
    rows.Add(input.substr(0, end));
    rows.Close();
    rapidjson::StringBuffer out;
    if (!zarn::AddAllProcesses(input.substr(end + 1), rows.At(0), out)) {
        return 0;
    }
    zarn::JsonDocument document;
    zarn::fuzz::Require(zarn::ParseJson({out.GetString(), out.GetSize()}, document),
                        "JSON comes out");
    const auto content = document.FindMember("content");
    zarn::fuzz::Require(content != document.MemberEnd() && content->value.HasMember("allProcsInfo"),
                        "the array is there");
    return 0;
}
