#pragma once

#include <string>
#include <string_view>

#include "analyzers/cpu/cpu_log_parser.h"
#include "foundation/json.h"

// The collector's documents with all processes of `top` added to them.
namespace zarn {

// Turns a process row of `top` into the order of `ps`, user first and pid second, the words divided
// by one blank each: appends it to `row` and gives true. A memory size in GiB, such as "10.2g" as
// fifth word, becomes KiB with one decimal. False, `row` untouched, for a line that is no process
// row: fewer than twelve words, or a first word that is not all digits.
[[nodiscard]] bool RewriteProcessRow(std::string_view line, std::string& row);

// Appends to `out` the compact text of `document`, one JSON object, with an array `allProcsInfo`
// added at the end of its `content`: an object with `procInfo` for each process row of `lines`.
// False if the text is no JSON, no object, or its first `content` is missing or no object; `out`
// then holds rubbish. Any nesting is taken, without recursion.
[[nodiscard]] bool AddAllProcesses(std::string_view document,
                                   Batches<std::string_view>::Range lines,
                                   rapidjson::StringBuffer& out);

}  // namespace zarn
