#include <algorithm>
#include <string>

#include "collectors/device/imgp/slice_reader.h"
#include "foundation/files.h"
#include "fuzz/fuzz_input.h"

// The profiling tool's slices: whatever they hold, each line of the table has as many cells as its
// head, and none holds what parts cells or lines.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using zarn::fuzz::Require;
    const std::string_view text = zarn::fuzz::AsText(data, size);
    zarn::CsvTable table;
    zarn::SliceReader reader(table);
    zarn::LineCursor lines(text);
    std::ptrdiff_t cells = 0;
    for (std::string_view line; lines.Next(line);) {
        reader.Take(line);
        const std::string added = table.TakeText();
        if (added.empty()) {
            continue;
        }
        const auto count = std::count(added.begin(), added.end(), ',');
        Require(std::count(added.begin(), added.end(), '\n') == 1, "a line gives a line");
        Require(added.size() < 2 || added[added.size() - 2] == ',', "a comma ends the line");
        const auto columns = zarn::ParseSliceHead(line);
        const bool isKnown = std::any_of(
            columns.begin(), columns.end(),
            [](const zarn::SliceColumn& column) { return column.cell != zarn::SliceCell::Plain; });
        if (cells == 0 || isKnown) {
            cells = count;
        }
        Require(count == cells, "a row has as many cells as its head");
    }
    return 0;
}
