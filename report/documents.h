#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>

#include "foundation/json.h"
#include "report/blocks.h"
#include "report/run.h"

// Reading of documents that are not to be trusted: nothing in them ends the reading of the file or
// the process.
namespace zarn::report {

using OnDocument = std::function<void(const JsonValue& document, std::uint64_t line)>;

// Calls `onDocument` with the document of each line. A line that is no JSON, or too long, is the
// file's trouble, and the next one is read; so is a file that cannot be opened or holds nothing.
void ReadDocuments(Files& files, const RunFile& file, const OnDocument& onDocument);

// The member of an object; nullptr of anything else, and where there is none.
[[nodiscard]] const JsonValue* MemberOf(const JsonValue* value, std::string_view name);
[[nodiscard]] const JsonValue* MemberOf(const JsonValue* value,
                                        std::initializer_list<std::string_view> path);

// The elements of an array; none of anything else.
[[nodiscard]] std::vector<const JsonValue*> ElementsOf(const JsonValue* value);
// The first of them, or nullptr.
[[nodiscard]] const JsonValue* FirstOf(const JsonValue* value);

// The text of a string; nothing of anything else.
[[nodiscard]] std::optional<std::string_view> TextOf(const JsonValue* value);

// What stands there as a number: a number, or a text that is one as a whole.
[[nodiscard]] std::optional<double> NumberOf(const JsonValue* value);

// The moment that stands there as digits.
[[nodiscard]] std::optional<Moment> MomentOf(const JsonValue* value);

// A text, or the beginning of a long one.
[[nodiscard]] std::string ShortText(std::string_view text);

// Cells of what stands there. That of a moment is text. An empty text is no value.
[[nodiscard]] Cell NumberCell(const JsonValue* value, const Source& source);
[[nodiscard]] Cell TextCell(const JsonValue* value, const Source& source);
[[nodiscard]] Cell MomentCell(const JsonValue* value, const Source& source);

// Cells of texts that were read elsewhere. A unit that the text ends in may be named.
[[nodiscard]] Cell NumberCellOf(std::string_view text, const Source& source,
                                std::string_view unit = "");
[[nodiscard]] Cell TextCellOf(std::string_view text, const Source& source);
[[nodiscard]] Cell EmptyCell(Reason reason);
[[nodiscard]] Cell PlainCell(std::string text);

}  // namespace zarn::report
