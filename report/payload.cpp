#include "report/payload.h"

#include <array>
#include <cmath>

namespace zarn::report {
namespace {

constexpr std::uint64_t kFormat = 2;

constexpr std::array<const char*, 4> kSigns = {"peak", "trough", "over", "event"};

// What the page resolves moments to. Those of a report are on the clock, so that it has their
// number.
[[nodiscard]] std::int64_t Microseconds(Moment moment) {
    return std::llround(moment * 1000.0);
}
[[nodiscard]] Moment InMilliseconds(std::int64_t microseconds) {
    return static_cast<Moment>(microseconds) / 1000.0;
}

[[nodiscard]] bool IsSame(const Source& one, const Source& other) {
    return one.file == other.file && one.line == other.line;
}

// Whether there is nothing to say of a cell but its value, and that it is of that place.
[[nodiscard]] bool IsPlain(const Cell& cell, const Source& place) {
    const auto* number = std::get_if<double>(&cell.value);
    const bool hasValue = number != nullptr ? std::isfinite(*number)
                                            : std::holds_alternative<std::string>(cell.value);
    return hasValue && cell.source && IsSame(*cell.source, place) && cell.computed.empty() &&
           !cell.grey;
}

// Whether the values of a line were measured at the same moments, and come from the same places.
[[nodiscard]] bool IsBeside(const SeriesLine& line, const SeriesLine& before) {
    return !line.like && !before.like && line.sources.empty() && before.sources.empty() &&
           line.file == before.file && line.lines == before.lines && line.moments == before.moments;
}

// Writes blocks as members and elements of what the page knows, most of it as the page resolves it:
// what many values have in common is written once, and of moments and lines the differences.
class PayloadWriter {
public:
    explicit PayloadWriter(const JsonOut::Take& take) : out_(take) {}

    void Write(const Report& report, const Files& files) {
        out_.BeginObject();
        out_.Key("format");
        out_.Integer(kFormat);
        TextMember("version", report.version);
        TextMember("made", report.made);
        Runs(report.runs);
        FileList(files);
        Lines(files);
        Reasons();
        out_.Key("pages");
        Each(report.pages, [this](const Page& page) { Write(page); });
        out_.Key("foot");
        Each(report.foot, [this](const std::string& line) { out_.Text(line); });
        out_.EndObject();
        out_.Finish();
    }

private:
    template <typename List, typename WriteOne>
    void Each(const List& list, WriteOne&& writeOne) {
        out_.BeginArray();
        for (const auto& one : list) {
            writeOne(one);
        }
        out_.EndArray();
    }

    void TextMember(std::string_view name, std::string_view text) {
        out_.Key(name);
        out_.Text(text);
    }
    void TextUnlessEmpty(std::string_view name, std::string_view text) {
        if (!text.empty()) {
            TextMember(name, text);
        }
    }
    void NumberMember(std::string_view name, double value) {
        out_.Key(name);
        out_.Number(value);
    }
    void CountUnlessZero(std::string_view name, std::uint64_t count) {
        if (count != 0) {
            out_.Key(name);
            out_.Integer(count);
        }
    }
    void MomentIfKnown(std::string_view name, const std::optional<Moment>& moment) {
        if (moment) {
            MomentMember(name, *moment);
        }
    }
    void MomentMember(std::string_view name, Moment moment) {
        NumberMember(name, InMilliseconds(Microseconds(moment)));
    }
    // The first moment, and the microseconds from each to the next.
    template <typename List, typename MomentOf>
    void Moments(std::string_view name, const List& list, MomentOf&& momentOf) {
        std::optional<std::int64_t> last;
        out_.Key(name);
        Each(list, [&](const auto& one) {
            const std::int64_t now = Microseconds(momentOf(one));
            last ? out_.Difference(now - *last) : out_.Number(InMilliseconds(now));
            last = now;
        });
    }
    // The file, the first line and the differences from each to the next.
    template <typename List, typename LineOf>
    void Places(std::uint32_t file, const List& list, LineOf&& lineOf) {
        std::int64_t last = 0;
        out_.Key("src");
        out_.BeginObject();
        out_.Key("file");
        out_.Integer(file);
        out_.Key("lines");
        Each(list, [&](const auto& one) {
            const auto now = static_cast<std::int64_t>(lineOf(one));
            out_.Difference(now - last);
            last = now;
        });
        out_.EndObject();
    }
    void Write(const Source& source) {
        out_.BeginArray();
        out_.Integer(source.file);
        out_.Integer(source.line);
        out_.EndArray();
    }
    void SourceIfKnown(const std::optional<Source>& source) {
        if (source) {
            out_.Key("src");
            Write(*source);
        }
    }

    void Runs(const std::vector<RunLabel>& runs) {
        out_.Key("runs");
        Each(runs, [this](const RunLabel& run) {
            out_.BeginObject();
            TextMember("label", run.label);
            TextMember("path", run.path);
            MomentIfKnown("from", run.from);
            MomentIfKnown("to", run.to);
            out_.EndObject();
        });
    }

    void FileList(const Files& files) {
        out_.Key("files");
        Each(files.All(), [this](const File& file) {
            out_.BeginObject();
            out_.Key("run");
            out_.Integer(file.run);
            TextMember("path", file.name);
            out_.Key("bytes");
            out_.Integer(file.bytes);
            TextUnlessEmpty("trouble", file.trouble);
            out_.EndObject();
        });
    }

    void Lines(const Files& files) {
        out_.Key("lines");
        out_.BeginObject();
        for (const auto& [place, text] : files.Lines()) {
            TextMember(std::to_string(place.first) + ":" + std::to_string(place.second), text);
        }
        out_.EndObject();
    }

    void Reasons() {
        out_.Key("reasons");
        out_.BeginObject();
        for (const ReasonWords& reason : kReasons) {
            TextMember(reason.code, reason.words);
        }
        out_.EndObject();
    }

    void Write(const Page& page) {
        out_.BeginObject();
        TextMember("id", page.id);
        TextMember("title", page.title);
        if (page.run) {
            out_.Key("run");
            out_.Integer(*page.run);
        }
        out_.Key("blocks");
        Each(page.blocks, [this](const Block& block) {
            out_.BeginObject();
            std::visit([this](const auto& kind) { Write(kind); }, block);
            out_.EndObject();
        });
        out_.EndObject();
    }

    void Head(std::string_view kind, const BlockHead& head) {
        TextMember("kind", kind);
        TextMember("title", head.title);
        TextUnlessEmpty("note", head.note);
        SourceIfKnown(head.source);
    }

    void Write(const Cell& cell) {
        out_.BeginObject();
        if (const auto* number = std::get_if<double>(&cell.value)) {
            NumberMember("v", *number);
        } else if (const auto* text = std::get_if<std::string>(&cell.value)) {
            TextMember("v", *text);
        } else {
            TextMember("empty", WordsOf(std::get<Reason>(cell.value)).code);
        }
        SourceIfKnown(cell.source);
        TextUnlessEmpty("computed", cell.computed);
        if (cell.grey) {
            out_.Key("grey");
            out_.True();
        }
        out_.EndObject();
    }

    // A value alone is of the place of the last cell before it that has one.
    void Write(const std::vector<Cell>& cells) {
        std::optional<Source> place;
        Each(cells, [&](const Cell& cell) {
            if (!place || !IsPlain(cell, *place)) {
                Write(cell);
            } else if (const auto* number = std::get_if<double>(&cell.value)) {
                out_.Number(*number);
            } else {
                out_.Text(std::get<std::string>(cell.value));
            }
            place = cell.source ? cell.source : place;
        });
    }

    void Write(const TextBlock& block) {
        Head("text", block.head);
        out_.Key("lines");
        Write(block.lines);
    }

    void Write(const TableBlock& block) {
        Head("table", block.head);
        out_.Key("columns");
        Each(block.columns, [this](const Column& column) {
            out_.BeginObject();
            TextMember("name", column.name);
            TextUnlessEmpty("unit", column.unit);
            if (column.isNumber) {
                out_.Key("number");
                out_.True();
            }
            out_.EndObject();
        });
        out_.Key("rows");
        Each(block.rows, [this](const std::vector<Cell>& row) { Write(row); });
        CountUnlessZero("total", block.total);
    }

    void Write(const SeriesBlock& block) {
        Head("series", block.head);
        TextMember("unit", block.unit);
        if (block.isStacked) {
            out_.Key("stacked");
            out_.True();
        }
        CountUnlessZero("total", block.total);
        out_.Key("series");
        const SeriesLine* before = nullptr;
        Each(block.series, [this, &before](const SeriesLine& line) {
            Write(line, before != nullptr && IsBeside(line, *before));
            before = &line;
        });
        if (!block.marks.empty()) {
            out_.Key("marks");
            Each(block.marks, [this](const Mark& mark) { Write(mark); });
        }
        if (!block.bands.empty()) {
            out_.Key("bands");
            Each(block.bands, [this](const Band& band) { Write(band); });
        }
        if (!block.limits.empty()) {
            out_.Key("limits");
            Each(block.limits, [this](const Limit& limit) { Write(limit); });
        }
    }

    void Write(const SeriesLine& line, bool isBeside) {
        out_.BeginObject();
        TextMember("name", line.name);
        out_.Key("run");
        out_.Integer(line.run);
        if (line.like) {
            Write(*line.like);
        } else {
            WriteValues(line, isBeside);
        }
        out_.EndObject();
    }

    void Write(const LinePlace& place) {
        out_.Key("like");
        out_.BeginArray();
        out_.Text(place.page);
        out_.Integer(place.block);
        out_.Integer(place.line);
        out_.EndArray();
    }

    void WriteValues(const SeriesLine& line, bool isBeside) {
        if (!isBeside) {
            Moments("t", line.moments, [](Moment moment) { return moment; });
        }
        out_.Key("v");
        Each(line.values, [this](const std::optional<double>& value) {
            value ? out_.Number(*value) : out_.Null();
        });
        if (!line.counts.empty()) {
            out_.Key("counts");
            Each(line.counts, [this](std::uint64_t count) { out_.Integer(count); });
            out_.Key("means");
            Each(line.means, [this](double mean) { out_.Rounded(mean); });
        }
        if (line.file && !isBeside) {
            Places(*line.file, line.lines, [](std::uint64_t number) { return number; });
        }
        if (!line.sources.empty()) {
            out_.Key("srcs");
            Each(line.sources, [this](const Source& source) { Write(source); });
        }
    }

    void Write(const Mark& mark) {
        out_.BeginObject();
        MomentMember("t", mark.moment);
        if (mark.series) {
            out_.Key("series");
            out_.Integer(*mark.series);
        }
        TextMember("label", mark.label);
        TextMember("sign", kSigns[static_cast<std::size_t>(mark.sign)]);
        SourceIfKnown(mark.source);
        out_.EndObject();
    }

    void Write(const Limit& limit) {
        out_.BeginObject();
        NumberMember("v", limit.value);
        TextMember("label", limit.label);
        SourceIfKnown(limit.source);
        out_.EndObject();
    }

    void Write(const Band& band) {
        out_.BeginObject();
        MomentMember("from", band.from);
        MomentMember("to", band.to);
        TextUnlessEmpty("label", band.label);
        SourceIfKnown(band.source);
        out_.EndObject();
    }

    void Write(const BarsBlock& block) {
        Head("bars", block.head);
        TextMember("unit", block.unit);
        out_.Key("names");
        Each(block.names, [this](const std::string& name) { out_.Text(name); });
        out_.Key("rows");
        Each(block.rows, [this](const BarsBlock::Row& row) {
            out_.BeginObject();
            TextMember("label", row.label);
            out_.Key("cells");
            Write(row.cells);
            out_.EndObject();
        });
    }

    void Write(const TreeBlock& block) {
        Head("tree", block.head);
        TextMember("unit", block.unit);
        out_.Key("roots");
        Each(block.roots, [this](const TreeNode& node) { Write(node); });
    }

    // Trees are as deep as the families let them be, which is not deep.
    void Write(const TreeNode& node) {
        out_.BeginObject();
        TextMember("name", node.name);
        out_.Key("cell");
        Write(node.cell);
        TextUnlessEmpty("mark", node.mark);
        Children(node);
        out_.EndObject();
    }

    void Write(const FlameNode& node) {
        out_.BeginObject();
        TextMember("name", node.name);
        NumberMember("value", node.value);
        if (node.delta) {
            NumberMember("delta", *node.delta);
        }
        Children(node);
        out_.EndObject();
    }

    template <typename Node>
    void Children(const Node& node) {
        if (!node.children.empty()) {
            out_.Key("children");
            Each(node.children, [this](const Node& child) { Write(child); });
        }
    }

    void Write(const FlameBlock& block) {
        Head("flame", block.head);
        TextMember("unit", block.unit);
        out_.Key("root");
        Write(block.root);
    }

    void Write(const TimelineBlock& block) {
        Head("timeline", block.head);
        out_.Key("rows");
        Each(block.rows, [this](const TimelineBlock::Row& row) {
            using Span = TimelineBlock::Span;
            out_.BeginObject();
            TextMember("name", row.name);
            Moments("from", row.spans, [](const Span& span) { return span.from; });
            out_.Key("us");
            Each(row.spans, [this](const Span& span) {
                out_.Difference(Microseconds(span.to) - Microseconds(span.from));
            });
            Places(row.file, row.spans, [](const Span& span) { return span.line; });
            out_.EndObject();
        });
        CountUnlessZero("total", block.total);
    }

    JsonOut out_;
};

}  // namespace

void WritePayload(const Report& report, const Files& files, const JsonOut::Take& take) {
    PayloadWriter(take).Write(report, files);
}

}  // namespace zarn::report
