#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

// JSON that can stand in an HTML page: no "<", no line separators that a script would take for
// ends of lines, no control bytes, and UTF-8 whatever the texts hold.
namespace zarn::report {

// Appends `text` as a JSON string. Each byte that belongs to no UTF-8 sequence becomes U+FFFD.
void AppendHtmlJson(std::string_view text, std::string& out);

// Bytes of the UTF-8 sequence at the front of `text`; 0 if there is none.
[[nodiscard]] std::size_t Utf8Length(std::string_view text);

// `text` without what is behind its first `most` bytes, cut between sequences.
[[nodiscard]] std::string_view CutUtf8(std::string_view text, std::size_t most);

// A JSON text that is handed on in pieces while it is made. Who opens an object or array closes it.
class JsonOut {
public:
    using Take = std::function<void(std::string_view)>;

    explicit JsonOut(Take take) : take_(std::move(take)) {}

    void BeginObject() { Open('{'); }
    void EndObject() { Close('}'); }
    void BeginArray() { Open('['); }
    void EndArray() { Close(']'); }
    // The name of a member, before its value.
    void Key(std::string_view name);
    void Text(std::string_view text);
    // The shortest text that reads as the same number; null for what JSON cannot express.
    void Number(double value);
    // The same with the digits of a figure that nobody reads: eight.
    void Rounded(double value);
    void Integer(std::uint64_t value);
    void Difference(std::int64_t value);
    void True();
    void Null();

    // Hands on what is left.
    void Finish();

private:
    void Separate();
    void Open(char bracket);
    void Close(char bracket);
    void HandOn();

    Take take_;
    std::string text_;
    bool needsComma_ = false;
};

}  // namespace zarn::report
