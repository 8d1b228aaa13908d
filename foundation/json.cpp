#include "foundation/json.h"

#include <vector>

namespace zarn {
namespace {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

// An array or object that is being written: what is left of it.
struct OpenContainer {
    explicit OpenContainer(const JsonValue& value) : container(&value) {
        if (value.IsObject()) {
            member = value.MemberBegin();
        } else {
            element = value.Begin();
        }
    }

    const JsonValue* container;
    JsonValue::ConstMemberIterator member{};
    JsonValue::ConstValueIterator element{};
};

// Takes the next value of `open`, writing its key where it has one; nullptr at the end.
const JsonValue* TakeNext(OpenContainer& open, Writer& writer) {
    if (open.container->IsObject()) {
        if (open.member == open.container->MemberEnd()) {
            return nullptr;
        }
        const auto& member = *open.member++;
        writer.Key(member.name.GetString(), member.name.GetStringLength());
        return &member.value;
    }
    return open.element == open.container->End() ? nullptr : open.element++;
}

// Starts a container or writes a plain value, which never recurses.
void WriteOrOpen(const JsonValue& value, Writer& writer, std::vector<OpenContainer>& open) {
    if (value.IsObject()) {
        writer.StartObject();
        open.emplace_back(value);
    } else if (value.IsArray()) {
        writer.StartArray();
        open.emplace_back(value);
    } else {
        value.Accept(writer);
    }
}

}  // namespace

void FailJsonAssertion(const char* condition, const char* file, int line) noexcept {
    std::fprintf(stderr, "zarn: %s:%d: JSON assertion `%s' failed.\n", file, line, condition);
    std::abort();
}

bool ParseJson(std::string_view text, JsonDocument& document) {
    rapidjson::MemoryStream stream(text.data(), text.size());
    document.ParseStream(stream);
    return !document.HasParseError() && stream.Tell() == text.size();
}

void WriteJson(const JsonValue& value, rapidjson::StringBuffer& buffer) {
    Writer writer(buffer);
    std::vector<OpenContainer> open;
    WriteOrOpen(value, writer, open);
    while (!open.empty()) {
        const JsonValue* next = TakeNext(open.back(), writer);
        if (next != nullptr) {
            WriteOrOpen(*next, writer, open);
        } else if (open.back().container->IsObject()) {
            writer.EndObject();
            open.pop_back();
        } else {
            writer.EndArray();
            open.pop_back();
        }
    }
}

}  // namespace zarn
