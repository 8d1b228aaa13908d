#include "report/payload.h"

#include <array>

namespace zarn::report {
namespace {

constexpr std::uint64_t kFormat = 1;

constexpr std::array<const char*, 4> kSigns = {"peak", "trough", "over", "event"};

// Writes blocks as members and elements of what the page knows.
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
            NumberMember(name, *moment);
        }
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

    void Cells(std::string_view name, const std::vector<Cell>& cells) {
        out_.Key(name);
        Each(cells, [this](const Cell& cell) { Write(cell); });
    }

    void Write(const TextBlock& block) {
        Head("text", block.head);
        Cells("lines", block.lines);
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
        Each(block.rows, [this](const std::vector<Cell>& row) {
            Each(row, [this](const Cell& cell) { Write(cell); });
        });
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
        Each(block.series, [this](const SeriesLine& line) { Write(line); });
        if (!block.marks.empty()) {
            out_.Key("marks");
            Each(block.marks, [this](const Mark& mark) { Write(mark); });
        }
        if (!block.bands.empty()) {
            out_.Key("bands");
            Each(block.bands, [this](const Band& band) { WriteSpan(band); });
        }
        if (!block.limits.empty()) {
            out_.Key("limits");
            Each(block.limits, [this](const Limit& limit) { Write(limit); });
        }
    }

    void Write(const SeriesLine& line) {
        out_.BeginObject();
        TextMember("name", line.name);
        out_.Key("run");
        out_.Integer(line.run);
        out_.Key("t");
        Each(line.moments, [this](Moment moment) { out_.Number(moment); });
        out_.Key("v");
        Each(line.values, [this](const std::optional<double>& value) {
            value ? out_.Number(*value) : out_.Null();
        });
        if (line.file) {
            out_.Key("src");
            out_.BeginObject();
            out_.Key("file");
            out_.Integer(*line.file);
            out_.Key("lines");
            Each(line.lines, [this](std::uint64_t number) { out_.Integer(number); });
            out_.EndObject();
        }
        if (!line.sources.empty()) {
            out_.Key("srcs");
            Each(line.sources, [this](const Source& source) { Write(source); });
        }
        out_.EndObject();
    }

    void Write(const Mark& mark) {
        out_.BeginObject();
        NumberMember("t", mark.moment);
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

    template <typename Span>
    void WriteSpan(const Span& span) {
        out_.BeginObject();
        NumberMember("from", span.from);
        NumberMember("to", span.to);
        TextUnlessEmpty("label", span.label);
        SourceIfKnown(span.source);
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
            Cells("cells", row.cells);
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
            out_.BeginObject();
            TextMember("name", row.name);
            out_.Key("spans");
            Each(row.spans, [this](const TimelineBlock::Span& span) { WriteSpan(span); });
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
