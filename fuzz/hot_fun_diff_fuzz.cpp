#include <algorithm>
#include <string>

#include "comparators/hot_fun/diff_rows.h"
#include "foundation/files.h"
#include "fuzz/fuzz_input.h"

// What `perf diff` prints: cells in quotes, as many to a line as the table has columns, nothing of
// the words lost.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using zarn::fuzz::Require;
    const std::string_view text = zarn::fuzz::AsText(data, size);
    zarn::DiffColumns columns;
    zarn::LineCursor comments(text);
    for (std::string_view line; comments.Next(line);) {
        columns.Read(line);
    }
    std::string csv;
    zarn::DiffTable table({"v1", "v2"}, [&csv](std::string_view piece) { csv += piece; });
    std::size_t letters = 0;
    zarn::LineCursor rows(text);
    for (std::string_view line; rows.Next(line);) {
        table.Add(line, columns);
        letters += static_cast<std::size_t>(std::count(line.begin(), line.end(), 'a'));
    }
    table.Flush();
    constexpr std::string_view kHead = "v1,v2,Shared Object,Symbol\n";
    Require(csv.substr(0, kHead.size()) == kHead, "the head line comes first");
    const std::string_view body = std::string_view(csv).substr(kHead.size());
    Require(static_cast<std::size_t>(std::count(body.begin(), body.end(), 'a')) == letters,
            "words keep their bytes");
    std::string_view line;
    for (zarn::LineCursor lines(body); lines.Next(line);) {
        Require(line.front() == '"', "a line begins with a cell");
    }
    Require(body.empty() || body.back() == ',' || body.substr(body.size() - 2) == "\"\n",
            "a table ends behind a cell");
    return 0;
}
