#include "foundation/json.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include "foundation/console.h"
#include "foundation/numbers.h"

namespace zarn {
namespace {

// What follows the backslash where a byte must be escaped: 0 not at all, 'u' as four hex digits.
constexpr std::array<char, 256> MakeEscapes() {
    std::array<char, 256> escapes{};
    for (std::size_t c = 0; c < 0x20; ++c) {
        escapes[c] = 'u';
    }
    escapes['\b'] = 'b';
    escapes['\f'] = 'f';
    escapes['\n'] = 'n';
    escapes['\r'] = 'r';
    escapes['\t'] = 't';
    escapes['"'] = '"';
    escapes['\\'] = '\\';
    return escapes;
}
constexpr std::array<char, 256> kEscapes = MakeEscapes();

void Append(rapidjson::StringBuffer& buffer, const char* text, std::size_t size) {
    if (size != 0) {
        std::memcpy(buffer.Push(size), text, size);
    }
}

void AppendEscape(rapidjson::StringBuffer& buffer, unsigned char c) {
    constexpr std::string_view kHexDigits = "0123456789ABCDEF";
    buffer.Put('\\');
    buffer.Put(kEscapes[c]);
    if (kEscapes[c] == 'u') {
        Append(buffer, "00", 2);
        buffer.Put(kHexDigits[c >> 4U]);
        buffer.Put(kHexDigits[c & 15U]);
    }
}

// Whether one of eight bytes is below 0x20, a quote or a backslash.
bool NeedsEscape(std::uint64_t bytes) {
    constexpr std::uint64_t kOnes = 0x0101010101010101U;
    const std::uint64_t quote = bytes ^ (kOnes * '"');
    const std::uint64_t backslash = bytes ^ (kOnes * '\\');
    const std::uint64_t below = (bytes - kOnes * 0x20) & ~bytes;
    const std::uint64_t equal = ((quote - kOnes) & ~quote) | ((backslash - kOnes) & ~backslash);
    return ((below | equal) & (kOnes * 0x80)) != 0;
}

template <typename Word>
Word Load(const char* text) {
    Word word = 0;
    std::memcpy(&word, text, sizeof(word));
    return word;
}

// Copies `text`, of at least one word, if none of its bytes needs an escape. The last word may
// overlap the one before.
template <typename Word>
bool CopyPlainWords(std::string_view text, char* out) {
    for (std::size_t i = 0;;) {
        const auto word = Load<Word>(text.data() + i);
        // A half word leaves zeros above it, which would count as bytes to escape.
        constexpr std::uint64_t kFill = sizeof(Word) == 8 ? 0 : 0x2020202000000000U;
        if (NeedsEscape(word | kFill)) {
            return false;
        }
        std::memcpy(out + i, &word, sizeof(word));
        if (i + sizeof(Word) == text.size()) {
            return true;
        }
        i = std::min(i + sizeof(Word), text.size() - sizeof(Word));
    }
}

void AppendString(rapidjson::StringBuffer& buffer, const JsonValue& value) {
    WriteJsonString({value.GetString(), value.GetStringLength()}, buffer);
}

void AppendNumber(rapidjson::StringBuffer& buffer, const JsonValue& value) {
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    if (!value.Accept(writer)) {
        Append(buffer, "null", 4);  // not a number, or infinite: the writer refuses it
    }
}

// An array or object that is being written: what is left of it.
struct OpenContainer {
    explicit OpenContainer(const JsonValue& value) : isObject(value.IsObject()) {
        if (isObject) {
            member = value.MemberBegin();
            lastMember = value.MemberEnd();
        } else {
            element = value.Begin();
            lastElement = value.End();
        }
    }

    bool isObject;
    bool isFirst = true;
    JsonValue::ConstMemberIterator member{};
    JsonValue::ConstMemberIterator lastMember{};
    JsonValue::ConstValueIterator element{};
    JsonValue::ConstValueIterator lastElement{};
};

// Takes the next value of `open`, writing what stands before it; nullptr at the end.
const JsonValue* TakeNext(OpenContainer& open, rapidjson::StringBuffer& buffer) {
    if (open.isObject ? open.member == open.lastMember : open.element == open.lastElement) {
        return nullptr;
    }
    if (!open.isFirst) {
        buffer.Put(',');
    }
    open.isFirst = false;
    if (!open.isObject) {
        return open.element++;
    }
    const auto& member = *open.member++;
    AppendString(buffer, member.name);
    buffer.Put(':');
    return &member.value;
}

// Starts a container or writes a plain value, which never recurses.
void WriteOrOpen(const JsonValue& value, rapidjson::StringBuffer& buffer,
                 std::vector<OpenContainer>& open) {
    switch (value.GetType()) {
        case rapidjson::kObjectType:
            buffer.Put('{');
            open.emplace_back(value);
            break;
        case rapidjson::kArrayType:
            buffer.Put('[');
            open.emplace_back(value);
            break;
        case rapidjson::kStringType:
            AppendString(buffer, value);
            break;
        case rapidjson::kNumberType:
            AppendNumber(buffer, value);
            break;
        case rapidjson::kTrueType:
            Append(buffer, "true", 4);
            break;
        case rapidjson::kFalseType:
            Append(buffer, "false", 5);
            break;
        case rapidjson::kNullType:
            Append(buffer, "null", 4);
            break;
    }
}

}  // namespace

void FailJsonAssertion(const char* condition, const char* file, int line) noexcept {
    PrintError(std::string("zarn: ") + file + ":" + std::to_string(line) + ": JSON assertion `" +
               condition + "' failed.");
    std::abort();
}

bool ParseJson(std::string_view text, JsonDocument& document) {
    rapidjson::MemoryStream stream(text.data(), text.size());
    document.ParseStream(stream);
    return !document.HasParseError() && stream.Tell() == text.size();
}

void WriteJson(const JsonValue& value, rapidjson::StringBuffer& buffer) {
    std::vector<OpenContainer> open;
    WriteOrOpen(value, buffer, open);
    while (!open.empty()) {
        const JsonValue* next = TakeNext(open.back(), buffer);
        if (next != nullptr) {
            WriteOrOpen(*next, buffer, open);
        } else {
            buffer.Put(open.back().isObject ? '}' : ']');
            open.pop_back();
        }
    }
}

bool CopyPlainJson(std::string_view text, char* out) {
    if (text.size() >= sizeof(std::uint64_t)) {
        return CopyPlainWords<std::uint64_t>(text, out);
    }
    if (text.size() >= sizeof(std::uint32_t)) {
        return CopyPlainWords<std::uint32_t>(text, out);
    }
    bool plain = true;
    for (std::size_t i = 0; i < text.size(); ++i) {
        plain = plain && kEscapes[static_cast<unsigned char>(text[i])] == 0;
        out[i] = text[i];
    }
    return plain;
}

// Bytes from 0x80 on pass as they are.
void WriteJsonString(std::string_view text, rapidjson::StringBuffer& buffer) {
    char* const out = buffer.Push(text.size() + 2);
    out[0] = '"';
    if (CopyPlainJson(text, out + 1)) {
        out[text.size() + 1] = '"';
        return;
    }
    buffer.Pop(text.size() + 1);
    for (const char c : text) {
        if (kEscapes[static_cast<unsigned char>(c)] != 0) {
            AppendEscape(buffer, static_cast<unsigned char>(c));
        } else {
            buffer.Put(c);
        }
    }
    buffer.Put('"');
}

void AddJsonString(const std::string& key, const std::string& value, JsonDocument& document) {
    JsonAllocator& allocator = document.GetAllocator();
    document.AddMember(JsonValue(key, allocator), JsonValue(value, allocator), allocator);
}

}  // namespace zarn
