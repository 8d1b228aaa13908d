#include "report/documents.h"

#include <cmath>

#include "foundation/text.h"
#include "kit/event_reader.h"
#include "report/json_out.h"
#include "report/lines.h"
#include "report/moments.h"

namespace zarn::report {

void ReadDocuments(Files& files, const RunFile& file, const OnDocument& onDocument) {
    EventDocument document;
    ReadLines(files, file, [&](std::string_view text, std::uint64_t line) {
        if (document.Read(text)) {
            onDocument(document.Get(), line);
        } else {
            files.Trouble(file.index, "line " + std::to_string(line) + " is no JSON");
        }
    });
}

const JsonValue* MemberOf(const JsonValue* value, std::string_view name) {
    if (value == nullptr || !value->IsObject()) {
        return nullptr;
    }
    for (const auto& member : value->GetObject()) {
        if (std::string_view(member.name.GetString(), member.name.GetStringLength()) == name) {
            return &member.value;
        }
    }
    return nullptr;
}

const JsonValue* MemberOf(const JsonValue* value, std::initializer_list<std::string_view> path) {
    for (const std::string_view name : path) {
        value = MemberOf(value, name);
    }
    return value;
}

std::vector<const JsonValue*> ElementsOf(const JsonValue* value) {
    std::vector<const JsonValue*> elements;
    if (value != nullptr && value->IsArray()) {
        for (const JsonValue& element : value->GetArray()) {
            elements.push_back(&element);
        }
    }
    return elements;
}

const JsonValue* FirstOf(const JsonValue* value) {
    return value != nullptr && value->IsArray() && !value->Empty() ? value->Begin() : nullptr;
}

std::optional<std::string_view> TextOf(const JsonValue* value) {
    if (value == nullptr || !value->IsString()) {
        return std::nullopt;
    }
    return std::string_view(value->GetString(), value->GetStringLength());
}

std::optional<double> NumberOf(const JsonValue* value) {
    if (value != nullptr && value->IsNumber()) {
        const double number = value->GetDouble();
        return std::isfinite(number) ? std::optional(number) : std::nullopt;
    }
    const auto text = TextOf(value);
    return text ? WholeNumberIn(*text) : std::nullopt;
}

std::optional<Moment> MomentOf(const JsonValue* value) {
    const auto text = TextOf(value);
    return text ? MomentIn(*text) : std::nullopt;
}

std::string ShortText(std::string_view text) {
    constexpr std::size_t kMostOfText = 1000;
    const std::string_view begin = CutUtf8(text, kMostOfText);
    return std::string(begin) + (begin.size() < text.size() ? " ..." : "");
}

Cell NumberCell(const JsonValue* value, const Source& source) {
    Cell cell;
    cell.source = source;
    if (const auto number = NumberOf(value)) {
        cell.value = *number;
    } else {
        cell.value = value == nullptr ? Reason::NotInFile : Reason::NotANumber;
    }
    return cell;
}

Cell TextCell(const JsonValue* value, const Source& source) {
    Cell cell;
    cell.source = source;
    if (const auto text = TextOf(value)) {
        cell = TextCellOf(*text, source);
    } else if (const auto number = NumberOf(value)) {
        cell.value = *number;
    }
    return cell;
}

Cell MomentCell(const JsonValue* value, const Source& source) {
    const auto moment = MomentOf(value);
    return moment ? TextCellOf(DateOf(*moment), source) : TextCell(value, source);
}

Cell NumberCellOf(std::string_view text, const Source& source, std::string_view unit) {
    Cell cell;
    cell.source = source;
    if (EndsWith(text, unit)) {
        text.remove_suffix(unit.size());
    }
    if (const auto number = WholeNumberIn(text)) {
        cell.value = *number;
    } else {
        cell.value = text.empty() || text == "N/A" ? Reason::NotInFile : Reason::NotANumber;
    }
    return cell;
}

Cell TextCellOf(std::string_view text, const Source& source) {
    Cell cell;
    cell.source = source;
    if (!text.empty()) {
        cell.value = ShortText(text);
    }
    return cell;
}

Cell EmptyCell(Reason reason) {
    Cell cell;
    cell.value = reason;
    return cell;
}

Cell PlainCell(std::string text) {
    Cell cell;
    cell.value = std::move(text);
    return cell;
}

}  // namespace zarn::report
