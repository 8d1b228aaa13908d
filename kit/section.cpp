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
            return PrintFailure(wordsIfNotString);
        }
        list.push_back(TextOf(element));
    }
    return true;
}

std::string TextOf(const JsonValue& string) {
    return {string.GetString(), string.GetStringLength()};
}

bool ReadJobs(const JsonValue& list, const std::vector<std::string>& known, const JobWords& words,
              std::set<std::string>& jobs) {
    if (list.Empty() && words.empty != nullptr) {
        return PrintFailure(words.empty);
    }
    for (const JsonValue& job : list.GetArray()) {
        if (!job.IsString()) {
            return PrintFailure(words.notString);
        }
        const std::string name = TextOf(job);
        if (std::find(known.begin(), known.end(), name) == known.end()) {
            const bool isNamed = words.behindName != nullptr;
            PrintError(words.unknown + (isNamed ? name + words.behindName : ""));
            return words.behind != nullptr && PrintFailure(words.behind);
        }
        jobs.insert(name);
    }
    return true;
}

}  // namespace zarn
