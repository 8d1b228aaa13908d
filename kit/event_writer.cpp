#include "kit/event_writer.h"

#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/numbers.h"

namespace zarn {
namespace {

// Memory that is kept from file to file, unless a huge document has swollen it: more than callers
// gather before they save.
constexpr std::size_t kKeptSize = 4U << 20U;

// Pieces long enough that writing them costs no more than writing the whole at once.
constexpr std::size_t kPiece = 256U << 10U;

}  // namespace

void EventWriter::Begin() {
    needsComma_ = false;
    Open('{');
}

void EventWriter::End() {
    Close('}');
    EndLine();
}

void EventWriter::BeginEvent(std::string_view eventId, std::string_view happenTime,
                             std::string_view objectId) {
    Begin();
    Text("eventId", eventId);
    Text("happenTime", happenTime);
    Text("objectId", objectId);
    Key("content");
}

void EventWriter::BeginEventList(std::string_view eventId, std::string_view happenTime,
                                 std::string_view objectId) {
    BeginEvent(eventId, happenTime, objectId);
    BeginArray();
}

void EventWriter::EndEventList() {
    EndArray();
    End();
}

void EventWriter::EndLine() {
    buffer_.Put('\n');
    whole_ = buffer_.GetSize();
}

void EventWriter::Key(std::string_view name) {
    Separate();
    WriteJsonString(name, buffer_);
    buffer_.Put(':');
    needsComma_ = false;
}

void EventWriter::Text(std::string_view text) {
    Separate();
    WriteJsonString(text, buffer_);
}

void EventWriter::Fixed(double value) {
    digits_.clear();
    AppendFixed(digits_, value);
    Text(digits_);
}

void EventWriter::Integer(std::int64_t value) {
    Separate();
    WriteJson(JsonValue(value), buffer_);
}

void EventWriter::Number(double value) {
    Separate();
    WriteJson(JsonValue(value), buffer_);
}

void EventWriter::Text(std::string_view name, std::string_view text) {
    Key(name);
    Text(text);
}

void EventWriter::Fixed(std::string_view name, double value) {
    Key(name);
    Fixed(value);
}

void EventWriter::Separate() {
    if (needsComma_) {
        buffer_.Put(',');
    }
    needsComma_ = true;
}

void EventWriter::Open(char bracket) {
    Separate();
    buffer_.Put(bracket);
    needsComma_ = false;
}

void EventWriter::Close(char bracket) {
    buffer_.Put(bracket);
    needsComma_ = true;
}

void EventWriter::Save(const std::string& path) {
    Finish(AppendFile(path, Lines()));
}

void EventWriter::SaveAnew(const std::string& path) {
    Finish(WriteFile(path, Lines()));
}

void EventWriter::HandOn(FileAppender& file) {
    if (buffer_.GetSize() >= kPiece) {
        file.Append({buffer_.GetString(), buffer_.GetSize()});
        buffer_.Clear();
        whole_ = 0;
    }
}

void EventWriter::Save(FileAppender& file) {
    file.Append(Lines());
    Finish(file.Keep());
}

void EventWriter::Finish(FileResult result) {
    if (result != FileResult::Ok) {
        PrintError("[zarn_utils] Cannot open outfile, check your filePath.");
    }
    const bool isSwollen = buffer_.GetSize() > kKeptSize;
    buffer_.Clear();
    if (isSwollen) {
        buffer_.ShrinkToFit();
    }
    whole_ = 0;
}

void SaveJsonToFile(const std::string& path, const JsonValue& document) {
    thread_local EventWriter writer;
    WriteJson(document, writer.Buffer());
    writer.EndLine();
    writer.Save(path);
}

}  // namespace zarn
