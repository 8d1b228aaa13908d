#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kit/section.h"

namespace zarn {

// One key of a mission's section, as data: what the option check opens the section by, what the
// mission's page lists, and what tests hold the check to. Built by Required or Optional and then
// told more, one property a call.
class SettingKey {
public:
    // What becomes of a value outside the limits, or of a word that is none of the words.
    enum class Outside { Refused, Adjusted, PassedOver };

    // `path`: the key below the section, nested ones joined by "."; "<group>" stands for a name
    // that the user picks from a list.
    [[nodiscard]] static SettingKey Required(const char* path, JsonType type);
    // `fallback`: what an absent one counts as, in words.
    [[nodiscard]] static SettingKey Optional(const char* path, JsonType type, const char* fallback);

    // Of an array: the type of its elements, and whether there must be one.
    [[nodiscard]] SettingKey Of(JsonType element) &&;
    [[nodiscard]] SettingKey NotEmpty() &&;
    // Of a string, or of an array of them: the words that have a meaning.
    [[nodiscard]] SettingKey Words(std::vector<std::string> words, Outside outside) &&;
    // Of a number: the limits, both allowed.
    [[nodiscard]] SettingKey Within(double least, double greatest, Outside outside) &&;
    // What the page says of the limits, where the properties above do not say it all.
    [[nodiscard]] SettingKey Limits(const char* text) &&;
    [[nodiscard]] SettingKey Unit(const char* unit) &&;
    [[nodiscard]] SettingKey Means(const char* meaning) &&;

    [[nodiscard]] const std::string& Path() const { return path_; }
    [[nodiscard]] bool IsRequired() const { return required_; }
    [[nodiscard]] bool IsTopLevel() const { return path_.find('.') == std::string::npos; }
    [[nodiscard]] JsonType Type() const { return type_; }
    [[nodiscard]] std::optional<JsonType> Element() const { return element_; }
    [[nodiscard]] bool MustHaveElements() const { return notEmpty_; }
    [[nodiscard]] const std::vector<std::string>& KnownWords() const { return words_; }
    [[nodiscard]] const std::optional<std::pair<double, double>>& Range() const { return range_; }
    [[nodiscard]] Outside WhatOutside() const { return outside_; }
    [[nodiscard]] const std::string& Meaning() const { return meaning_; }
    [[nodiscard]] const std::string& UnitText() const { return unit_; }
    [[nodiscard]] const std::string& Fallback() const { return fallback_; }

    // The columns "type" and "limits" of the page's table.
    [[nodiscard]] std::string TypeText() const;
    [[nodiscard]] std::string LimitsText() const;

private:
    SettingKey(const char* path, JsonType type) : path_(path), type_(type) {}

    std::string path_;
    JsonType type_;
    std::optional<JsonType> element_;
    bool required_ = true;
    bool notEmpty_ = false;
    Outside outside_ = Outside::Refused;
    std::vector<std::string> words_;
    std::optional<std::pair<double, double>> range_;
    std::string limits_;
    std::string fallback_ = "required";
    std::string unit_;
    std::string meaning_;
};

// The keys of a section, in the order in which the option check tests them.
using SettingKeys = std::vector<SettingKey>;

// The lines about a section that cannot be opened, for the error stream.
struct SectionWords {
    const char* missing;           // there is no such section, or a required key is missing
    const char* wrongType;         // a key has a wrong type
    const char* behind = nullptr;  // a second line behind either
};

// The section `name` of `config`, an object: first all required keys of its top level must be
// there, then all must have their types, in their order. nullptr after the words otherwise. A
// section that is no object trips the JSON library's assertion, which ends the process.
[[nodiscard]] const JsonValue* OpenSection(const JsonDocument& config, const char* name,
                                           const SettingKeys& keys, const SectionWords& words);

}  // namespace zarn
