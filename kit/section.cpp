#include "kit/section.h"

#include <algorithm>

#include "foundation/console.h"

namespace zarn {

bool HasType(const JsonValue& value, JsonType type) {
    switch (type) {
        case JsonType::Array:
            return value.IsArray();
        case JsonType::Object:
            return value.IsObject();
        case JsonType::String:
            return value.IsString();
        case JsonType::Bool:
            return value.IsBool();
        case JsonType::Unsigned:
            return value.IsUint();
        case JsonType::Integer:
            return value.IsInt();
        case JsonType::Floating:
            return value.IsDouble();
        case JsonType::Number:
            return value.IsNumber();
    }
    return false;
}

const JsonValue* FindMember(const JsonValue& object, const char* key) {
    const auto member = object.FindMember(key);
    return member == object.MemberEnd() ? nullptr : &member->value;
}

std::optional<std::string> FirstMissingKey(const JsonValue& section,
                                           std::initializer_list<const char*> keys) {
    const auto* missing = std::find_if(keys.begin(), keys.end(), [&section](const char* key) {
        return FindMember(section, key) == nullptr;
    });
    return missing == keys.end() ? std::nullopt : std::optional<std::string>(*missing);
}

bool AllHaveType(const JsonValue& section, std::initializer_list<KeyRule> rules) {
    return std::all_of(rules.begin(), rules.end(), [&section](const KeyRule& rule) {
        const JsonValue* value = FindMember(section, rule.key);
        return value != nullptr && HasType(*value, rule.type);
    });
}

bool ReadStrings(const JsonValue& array, std::string_view wordsIfNotString,
                 std::vector<std::string>& list) {
    for (const auto& element : array.GetArray()) {
        if (!element.IsString()) {
            PrintError(wordsIfNotString);
            return false;
        }
        list.emplace_back(element.GetString(), element.GetStringLength());
    }
    return true;
}

}  // namespace zarn
