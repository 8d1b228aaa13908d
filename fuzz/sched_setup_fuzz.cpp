#include <string>

#include "collectors/system/sched/setup_documents.h"
#include "collectors/system/sched/setup_parser.h"
#include "fuzz/fuzz_input.h"

namespace {

using zarn::fuzz::Require;

bool IsDigits(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

// Whatever becomes part of a shell line is a number.
void Check(const zarn::SetupRows& parsed) {
    const zarn::SetupValues values(parsed);
    for (const zarn::SetupRow& row : parsed.rows) {
        Require(IsDigits(row.id), "an id is digits");
        Require(!row.value.empty() && row.value.find('\n') == std::string::npos,
                "a value is there, on one line");
        Require(values.Of(row.id) != zarn::kNoSetup || row.value == zarn::kNoSetup ||
                    parsed.rows.size() > 1,
                "a value is found by its id");
    }
}

}  // namespace

// What ps, chrt, taskset and top print.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = zarn::fuzz::AsText(data, size);
    Check(zarn::ParseThreadList(text));
    Check(zarn::ParsePriorities(text));
    Check(zarn::ParsePolicies(text));
    Check(zarn::ParseAffinities(text));
    for (const zarn::TopRow& row : zarn::ParseTopThreads(text).rows) {
        Require(IsDigits(row.id) && !row.name.empty() && !row.priority.empty(),
                "a row of top is whole");
    }
    return 0;
}
