#include "tests/unit/report/shown.h"

#include <gtest/gtest.h>

#include "foundation/numbers.h"
#include "report/compose.h"
#include "tests/unit/report/unpack.h"

namespace zarn::test {
namespace {

const JsonValue& Null() {
    static const JsonValue null;
    return null;
}

std::string TextOf(const JsonValue& value) {
    return {value.GetString(), value.GetStringLength()};
}

std::string NumberText(const JsonValue& value) {
    std::string text;
    AppendNumber(text, value.GetDouble());
    return text;
}

}  // namespace

Shown::Shown(const std::vector<std::string>& paths) {
    report::Files files;
    std::vector<std::string> labels;
    for (const std::string& path : paths) {
        (void)path;
        labels.push_back("run" + std::to_string(labels.size() + 1));
    }
    const report::Report report =
        report::ComposeReport(paths, labels, files, [](const std::string& /*what*/) {});
    report::WritePayload(report, files, [this](std::string_view piece) { text_ += piece; });
    EXPECT_TRUE(ParseJson(text_, data_)) << text_;
    Unpack(data_);
}

std::vector<std::string> Shown::Titles(std::string_view page) const {
    std::vector<std::string> titles;
    for (const JsonValue& one : data_["pages"].GetArray()) {
        for (const JsonValue& block : one["blocks"].GetArray()) {
            if (TextOf(one["id"]) == page) {
                titles.push_back(TextOf(block["title"]));
            }
        }
    }
    return titles;
}

const JsonValue& Shown::Block(std::string_view page, std::string_view title) const {
    for (const JsonValue& one : data_["pages"].GetArray()) {
        for (const JsonValue& block : one["blocks"].GetArray()) {
            if (TextOf(one["id"]) == page && TextOf(block["title"]) == title) {
                return block;
            }
        }
    }
    ADD_FAILURE() << "no block " << title << " on the page " << page << " of " << text_;
    return Null();
}

std::vector<std::string> Shown::Rows(std::string_view page, std::string_view title) const {
    std::vector<std::string> rows;
    const JsonValue& block = Block(page, title);
    if (!block.IsObject()) {
        return rows;
    }
    for (const JsonValue& row : block["rows"].GetArray()) {
        std::string& text = rows.emplace_back();
        const JsonValue& cells = row.IsObject() ? row["cells"] : row;
        text = row.IsObject() ? TextOf(row["label"]) : "";
        for (const JsonValue& cell : cells.GetArray()) {
            text += (text.empty() ? "" : "|") + Said(cell);
        }
    }
    return rows;
}

std::vector<std::string> Shown::Greys(std::string_view page, std::string_view title) const {
    std::vector<std::string> greys;
    const JsonValue& block = Block(page, title);
    if (!block.IsObject()) {
        return greys;
    }
    for (const JsonValue& row : block["rows"].GetArray()) {
        const JsonValue& cells = row.IsObject() ? row["cells"] : row;
        const std::string subject = row.IsObject() ? TextOf(row["label"]) : Said(cells[0]);
        for (rapidjson::SizeType i = 0; i < cells.Size(); ++i) {
            if (cells[i].HasMember("grey")) {
                greys.push_back(subject + " " + std::to_string(i + 1));
            }
        }
    }
    return greys;
}

std::string Shown::Note(std::string_view page, std::string_view title) const {
    const JsonValue& block = Block(page, title);
    return block.IsObject() && block.HasMember("note") ? TextOf(block["note"]) : "";
}

std::vector<std::string> Shown::Lines(std::string_view page, std::string_view title,
                                      double from) const {
    std::vector<std::string> lines;
    const JsonValue& block = Block(page, title);
    if (!block.IsObject()) {
        return lines;
    }
    for (const JsonValue& line : block["series"].GetArray()) {
        std::string& text = lines.emplace_back(TextOf(line["name"]) + ":");
        for (rapidjson::SizeType i = 0; i < line["t"].Size(); ++i) {
            text += " ";
            AppendNumber(text, line["t"][i].GetDouble() - from);
            text += "=" + (line["v"][i].IsNull() ? "none" : NumberText(line["v"][i]));
        }
    }
    return lines;
}

std::vector<std::string> Shown::Marks(std::string_view page, std::string_view title,
                                      double from) const {
    std::vector<std::string> marks;
    const JsonValue& block = Block(page, title);
    if (!block.IsObject() || !block.HasMember("marks")) {
        return marks;
    }
    for (const JsonValue& mark : block["marks"].GetArray()) {
        std::string& text = marks.emplace_back(TextOf(mark["sign"]) + " " + TextOf(mark["label"]));
        text += " @";
        AppendNumber(text, mark["t"].GetDouble() - from);
        text += mark.HasMember("series") ? ": " + NumberText(mark["series"]) : "";
    }
    return marks;
}

std::vector<std::string> Shown::Troubles() const {
    std::vector<std::string> troubles;
    for (const JsonValue& file : data_["files"].GetArray()) {
        if (file.HasMember("trouble")) {
            troubles.push_back(TextOf(file["path"]) + ": " + TextOf(file["trouble"]));
        }
    }
    return troubles;
}

std::string Said(const JsonValue& cell) {
    if (cell.HasMember("empty")) {
        return "[" + TextOf(cell["empty"]) + "]";
    }
    return cell["v"].IsString() ? TextOf(cell["v"]) : NumberText(cell["v"]);
}

std::string DocumentLine(std::string_view objectId, std::string_view happenTime,
                         std::string_view content) {
    return R"({"eventId":"1","happenTime":")" + std::string(happenTime) + R"(","objectId":")" +
           std::string(objectId) + R"(","content":)" + std::string(content) + "}\n";
}

}  // namespace zarn::test
