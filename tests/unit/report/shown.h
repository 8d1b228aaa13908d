#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "foundation/json.h"
#include "tests/support/run_tree.h"

namespace zarn::test {

// What the page is given of some run trees.
class Shown {
public:
    // Composes the report of these trees and parses what the page would.
    explicit Shown(const std::vector<std::string>& paths);
    explicit Shown(const RunTree& tree) : Shown(std::vector{tree.Path()}) {}

    // The data as it stands in the page; parsed, and unpacked as the page does it.
    [[nodiscard]] const std::string& Text() const { return text_; }
    [[nodiscard]] const JsonValue& Data() const { return data_; }

    // The titles of a page's blocks, in their order; none where there is no such page.
    [[nodiscard]] std::vector<std::string> Titles(std::string_view page) const;
    // A block by its page and title; fails the test, and gives null, if there is none.
    [[nodiscard]] const JsonValue& Block(std::string_view page, std::string_view title) const;

    // The rows of a table block, the cells joined by "|": numbers as JSON has them, and reasons in
    // brackets.
    [[nodiscard]] std::vector<std::string> Rows(std::string_view page,
                                                std::string_view title) const;
    // The grey figures of a table block: what the row says first, and the column from 1.
    [[nodiscard]] std::vector<std::string> Greys(std::string_view page,
                                                 std::string_view title) const;
    // What stands below a block's title; empty if nothing does.
    [[nodiscard]] std::string Note(std::string_view page, std::string_view title) const;
    // The lines of a chart: "name: moment=value ..." with moments counted from `from`.
    [[nodiscard]] std::vector<std::string> Lines(std::string_view page, std::string_view title,
                                                 double from) const;
    // The marks of a chart: "sign label @moment", on a line ": index" behind it.
    [[nodiscard]] std::vector<std::string> Marks(std::string_view page, std::string_view title,
                                                 double from) const;
    // What is wrong with each file: "name: words".
    [[nodiscard]] std::vector<std::string> Troubles() const;

private:
    std::string text_;
    JsonDocument data_;
};

// What a cell, a number or a text says, as in Shown::Rows.
[[nodiscard]] std::string Said(const JsonValue& cell);

// When most trees of these tests begin, as files tell it and as the page has it.
inline constexpr const char* kTime = "20260101000000000";
inline constexpr double kFrom = 1767225600000.0;

// A document of a mission, one line.
[[nodiscard]] std::string DocumentLine(std::string_view objectId, std::string_view happenTime,
                                       std::string_view content);

}  // namespace zarn::test
