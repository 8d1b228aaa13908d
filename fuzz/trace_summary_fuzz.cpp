#include <string>
#include <vector>

#include "collectors/profiling/sys_call/sys_call_document.h"
#include "foundation/commands.h"
#include "foundation/text.h"
#include "fuzz/fuzz_input.h"

// The summary of a trace: rows are the words of lines, and the document of any of them is JSON in
// which each has the same columns.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using zarn::fuzz::Require;
    const std::string_view text = zarn::fuzz::AsText(data, size);
    zarn::TraceSummary summary;
    zarn::CommandLineCursor lines(text);
    for (std::string_view line; lines.Next(line);) {
        summary.Add(line);
    }
    std::vector<zarn::SysCallRecord> records(1);
    records[0].rows = summary.Take();
    for (const zarn::SummaryRow& row : records[0].rows) {
        Require(row.size() >= 2, "a row has a word and its errors");
        for (const std::string& word : row) {
            Require(!word.empty() && word.find_first_of(" \n") == std::string::npos,
                    "words lie between blanks");
        }
    }
    zarn::EventWriter events;
    zarn::WriteSysCallDocument(records, "", events);
    zarn::JsonDocument document;
    Require(zarn::ParseJson(events.Lines(), document), "the document is JSON");
    const zarn::JsonValue& rows = document["content"][""];
    Require(rows.Size() == records[0].rows.size(), "each row is shown");
    for (const zarn::JsonValue& row : rows.GetArray()) {
        Require(row.MemberCount() == 8, "each has the columns");
    }
    return 0;
}
