#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/files.h"
#include "foundation/json.h"

// Writing of event documents, one to a line, as compact JSON. A document reaches its file whole or
// not at all: a file that cannot be opened or written to its end gives one line on the error stream
// and keeps what it held.
namespace zarn {

// Documents in the making: nothing but their text is kept. Members are written in the order of the
// calls; who opens an object or array closes it.
class EventWriter {
public:
    // A document, which is an object.
    void Begin();
    void End();
    // A document with the members that most have: these three, and the name of the fourth,
    // "content", whose value follows.
    void BeginEvent(std::string_view eventId, std::string_view happenTime,
                    std::string_view objectId);
    // The same where the value is an array, whose elements follow.
    void BeginEventList(std::string_view eventId, std::string_view happenTime,
                        std::string_view objectId);
    void EndEventList();
    // Takes back what was written since the last End.
    void Drop() { buffer_.Pop(buffer_.GetSize() - whole_); }

    // The name of a member, before its value.
    void Key(std::string_view name);

    // Values: elements of an array, or what follows a Key.
    void BeginObject() { Open('{'); }
    void EndObject() { Close('}'); }
    void BeginArray() { Open('['); }
    void EndArray() { Close(']'); }
    void Text(std::string_view text);
    // A text: the number in fixed notation with six decimals.
    void Fixed(double value);
    // Numbers. One that JSON cannot express becomes null.
    void Integer(std::int64_t value);
    void Number(double value);

    // Members whose value is a text.
    void Text(std::string_view name, std::string_view text);
    void Fixed(std::string_view name, double value);

    // For a document that is written by other means: its text is appended to Buffer(), then taken
    // for whole.
    [[nodiscard]] rapidjson::StringBuffer& Buffer() { return buffer_; }
    void EndLine();

    // The whole documents, each with its newline.
    [[nodiscard]] std::string_view Lines() const { return {buffer_.GetString(), whole_}; }

    // Appends them to a file, in one piece, and forgets them, written or not.
    void Save(const std::string& path);
    // The same in the place of what the file held.
    void SaveAnew(const std::string& path);

    // Save for a document that need not lie in memory as a whole. HandOn, called again and again
    // while it is written, gives long pieces to `file`, which Drop does not take back; Save the
    // rest.
    void HandOn(FileAppender& file);
    void Save(FileAppender& file);

private:
    void Separate();
    void Open(char bracket);
    void Close(char bracket);
    // Behind a writing that went so.
    void Finish(FileResult result);

    rapidjson::StringBuffer buffer_;
    std::size_t whole_ = 0;    // bytes up to the end of the last whole document
    bool needsComma_ = false;  // before the next name or value
    std::string digits_;
};

// Appends the compact text of `document` and a newline.
void SaveJsonToFile(const std::string& path, const JsonValue& document);

}  // namespace zarn
