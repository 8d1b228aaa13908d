#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "report/reason.h"

// What a report is made of: pages of blocks, which the page in the browser draws without knowing
// what they are about. Texts are bytes as they were read; the writer makes them fit to be written.
namespace zarn::report {

// Milliseconds since 1970 of the board's clock, as if it were UTC.
using Moment = double;

// Index of a file, and a line in it counted from 1; 0 stands for the file as a whole.
struct Source {
    std::uint32_t file = 0;
    std::uint64_t line = 0;
};

// A value as it stands in a file, or why there is none.
struct Cell {
    std::variant<Reason, double, std::string> value = Reason::NotInFile;
    std::optional<Source> source;
    std::string computed;  // how, where the value is made of others; else empty
    bool grey = false;     // too few samples to trust
};

struct BlockHead {
    std::string title;
    std::string note;
    std::optional<Source> source;
};

struct TextBlock {
    BlockHead head;
    std::vector<Cell> lines;
};

struct Column {
    std::string name;
    std::string unit;
    bool isNumber = false;
};

struct TableBlock {
    BlockHead head;
    std::vector<Column> columns;
    std::vector<std::vector<Cell>> rows;
    std::uint64_t total = 0;  // rows in all, where some are cut; else 0
};

// A line of another page's chart: what the page is called, and the places of both in it.
struct LinePlace {
    std::string page;
    std::size_t block = 0;
    std::size_t line = 0;
};

// Values over time. Moments never run backward, and there is one for each value.
struct SeriesLine {
    std::string name;
    std::uint32_t run = 0;
    std::vector<Moment> moments;
    std::vector<std::optional<double>> values;
    // Of a line that was thinned: how many of the values measured each point stands for, and their
    // mean. Else empty.
    std::vector<std::uint64_t> counts;
    std::vector<double> means;
    std::optional<std::uint32_t> file;  // and a line of it for each value
    std::vector<std::uint64_t> lines;
    std::vector<Source> sources;    // or, where the values come from many files, one for each value
    std::optional<LinePlace> like;  // whose values these are; the line has none of its own then
};

enum class Sign : std::uint8_t { Peak, Trough, Over, Event };

struct Mark {
    Moment moment = 0.0;
    std::optional<std::size_t> series;
    std::string label;
    Sign sign = Sign::Event;
    std::optional<Source> source;
};

struct Band {
    Moment from = 0.0;
    Moment to = 0.0;
    std::string label;
    std::optional<Source> source;
};

struct Limit {
    double value = 0.0;
    std::string label;
    std::optional<Source> source;
};

struct SeriesBlock {
    BlockHead head;
    std::string unit;
    bool isStacked = false;
    std::uint64_t total = 0;  // points that were measured, where the lines hold fewer; else 0
    std::vector<SeriesLine> series;
    std::vector<Mark> marks;
    std::vector<Band> bands;
    std::vector<Limit> limits;
};

struct BarsBlock {
    struct Row {
        std::string label;
        std::vector<Cell> cells;  // one for each name
    };

    BlockHead head;
    std::string unit;
    std::vector<std::string> names;
    std::vector<Row> rows;
};

struct TreeNode {
    std::string name;
    Cell cell;
    std::string mark;
    std::vector<TreeNode> children;
};

struct TreeBlock {
    BlockHead head;
    std::string unit;
    std::vector<TreeNode> roots;
};

struct FlameNode {
    std::string name;
    double value = 0.0;           // samples
    std::optional<double> delta;  // of two versions: the difference of the shares, in points
    std::vector<FlameNode> children;
};

struct FlameBlock {
    BlockHead head;
    FlameNode root;
    std::string unit;
};

struct TimelineBlock {
    struct Span {
        Moment from = 0.0;
        Moment to = 0.0;
        std::uint64_t line = 0;
    };
    struct Row {
        std::string name;
        std::uint32_t file = 0;  // which the spans' lines are of
        std::vector<Span> spans;
    };

    BlockHead head;
    std::vector<Row> rows;
    std::uint64_t total = 0;  // spans in all, where some are cut; else 0
};

using Block = std::variant<TextBlock, TableBlock, SeriesBlock, BarsBlock, TreeBlock, FlameBlock,
                           TimelineBlock>;

struct Page {
    std::string id;
    std::string title;
    std::optional<std::uint32_t> run;
    std::vector<Block> blocks;
};

}  // namespace zarn::report
