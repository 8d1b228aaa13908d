#include "kit/setting_key.h"

#include <sstream>

#include "foundation/console.h"

namespace zarn {
namespace {

std::string NameOf(JsonType type, bool several) {
    const std::string end = several ? "s" : "";
    switch (type) {
        case JsonType::Array:
            return "array" + end;
        case JsonType::Object:
            return "object" + end;
        case JsonType::String:
            return "string" + end;
        case JsonType::Bool:
            return "boolean" + end;
        case JsonType::Unsigned:
            return "unsigned integer" + end;
        case JsonType::Integer:
            return "integer" + end;
        case JsonType::Floating:
            return "number" + end + " with a point or an exponent";
        case JsonType::Number:
            return "number" + end;
    }
    return {};
}

void AddPart(std::string& text, const std::string& part) {
    if (!part.empty()) {
        text += (text.empty() ? "" : "; ") + part;
    }
}

}  // namespace

SettingKey SettingKey::Required(const char* path, JsonType type) {
    return {path, type};
}

SettingKey SettingKey::Optional(const char* path, JsonType type, const char* fallback) {
    SettingKey key(path, type);
    key.required_ = false;
    key.fallback_ = fallback;
    return key;
}

SettingKey SettingKey::Of(JsonType element) && {
    element_ = element;
    return std::move(*this);
}

SettingKey SettingKey::NotEmpty() && {
    notEmpty_ = true;
    return std::move(*this);
}

SettingKey SettingKey::Words(std::vector<std::string> words, Outside outside) && {
    words_ = std::move(words);
    outside_ = outside;
    return std::move(*this);
}

SettingKey SettingKey::Within(double least, double greatest, Outside outside) && {
    range_ = {least, greatest};
    outside_ = outside;
    return std::move(*this);
}

SettingKey SettingKey::Limits(const char* text) && {
    limits_ = text;
    return std::move(*this);
}

SettingKey SettingKey::Unit(const char* unit) && {
    unit_ = unit;
    return std::move(*this);
}

SettingKey SettingKey::Means(const char* meaning) && {
    meaning_ = meaning;
    return std::move(*this);
}

std::string SettingKey::TypeText() const {
    return element_ ? NameOf(type_, false) + " of " + NameOf(*element_, true)
                    : NameOf(type_, false);
}

std::string SettingKey::LimitsText() const {
    if (!limits_.empty()) {
        return limits_;
    }
    std::string text;
    for (const std::string& word : words_) {
        text += (text.empty() ? "\"" : ", \"") + word + "\"";
    }
    if (range_) {
        std::ostringstream range;
        range << range_->first << " to " << range_->second;
        AddPart(text, range.str());
    }
    if (type_ == JsonType::Array) {
        AddPart(text, notEmpty_ ? "not empty" : "may be empty");
    }
    return text;
}

const JsonValue* OpenSection(const JsonDocument& config, const char* name, const SettingKeys& keys,
                             const SectionWords& words) {
    const auto refuse = [&words](const char* line) {
        PrintError(line);
        if (words.behind != nullptr) {
            PrintError(words.behind);
        }
        return nullptr;
    };
    const JsonValue* section = FindMember(config, name);
    if (section == nullptr) {
        return refuse(words.missing);
    }
    const auto isTested = [](const SettingKey& key) {
        return key.IsRequired() && key.IsTopLevel();
    };
    for (const SettingKey& key : keys) {
        if (isTested(key) && FindMember(*section, key.Path().c_str()) == nullptr) {
            return refuse(words.missing);
        }
    }
    for (const SettingKey& key : keys) {
        if (isTested(key) && !HasType((*section)[key.Path().c_str()], key.Type())) {
            return refuse(words.wrongType);
        }
    }
    return section;
}

}  // namespace zarn
