#pragma once

#include <cstdlib>
#include <string>
#include <string_view>

// All JSON goes through this header, since the library's behaviour is settled here: its assertions
// stay live in every build type (reading a value of a wrong type, or a missing member, ends the
// process by SIGABRT), and it parses without recursion, so that nesting costs memory and not stack.
#ifdef RAPIDJSON_RAPIDJSON_H_
#error "include foundation/json.h instead of the JSON library's headers"
#endif
#define RAPIDJSON_ASSERT(condition) \
    ((condition) ? static_cast<void>(0) : ::zarn::FailJsonAssertion(#condition, __FILE__, __LINE__))
#define RAPIDJSON_PARSE_DEFAULT_FLAGS kParseIterativeFlag
#define RAPIDJSON_HAS_STDSTRING 1

namespace zarn {

// Says which assertion of the JSON library failed, on the error stream, and aborts the process.
[[noreturn]] void FailJsonAssertion(const char* condition, const char* file, int line) noexcept;

}  // namespace zarn

#include <rapidjson/document.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace zarn {

using JsonDocument = rapidjson::Document;
using JsonValue = rapidjson::Value;
using JsonAllocator = rapidjson::Document::AllocatorType;

// Parses one JSON value that fills the whole of `text`, under the library's default flags. False if
// the text is no such value: empty, torn, followed by anything but white space, or holding a NUL
// byte, even behind the value. What `document` held before is gone either way.
//
// What it promises for input of any size: time in proportion to the size, no recursion at any depth
// of nesting, and memory of at most 20 times the size while it parses (measured: 2 for long
// strings, 3 to 7 for ordinary documents, 16 for "[0,0,...]", 19 for brackets within brackets).
// Only where the system has no memory left at all does the library end the process. The library's
// own Accept, CopyFrom and == do recurse with nesting: keep them away from values of unknown depth.
[[nodiscard]] bool ParseJson(std::string_view text, JsonDocument& document);

// Calls `handler`, as the library's Reader does, for every part of the one JSON value that fills
// the whole of `text`; the same texts are refused as by ParseJson, parts before the fault having
// been told. For documents that are passed on rather than looked into: nothing is kept. The strings
// told of lie in a copy of the text, in which they are unescaped in place.
template <typename Handler>
[[nodiscard]] bool ReadJson(std::string_view text, Handler& handler) {
    constexpr unsigned kFlags = rapidjson::kParseDefaultFlags | rapidjson::kParseInsituFlag;
    std::string copy(text);
    rapidjson::InsituStringStream stream(copy.data());
    rapidjson::Reader reader;
    return !reader.Parse<kFlags>(stream, handler).IsError() && stream.Tell() == text.size();
}

// The compact text of `value`, byte for byte as the library's Writer gives it, but written without
// recursion, so that a value of any depth can be written, and about three times as fast. Appended
// to `buffer`. Bytes from 0x80 on pass as they are, valid UTF-8 or not. A number that JSON cannot
// express (not a number, infinite), where the library would stop and leave the text torn, becomes
// null, so that the document stays readable.
void WriteJson(const JsonValue& value, rapidjson::StringBuffer& buffer);

// Appends `text` as a JSON string, escaped as WriteJson does it.
void WriteJsonString(std::string_view text, rapidjson::StringBuffer& buffer);

// Copies `text` to `out` if it stands in a JSON string as it is. False if something in it must be
// escaped; what is written to as many bytes of `out` as `text` has is then of no use.
[[nodiscard]] bool CopyPlainJson(std::string_view text, char* out);

// Adds a copied string member to the document's root object.
void AddJsonString(const std::string& key, const std::string& value, JsonDocument& document);

}  // namespace zarn
