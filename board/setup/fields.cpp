#include "board/setup/fields.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace zarn::board {
namespace {

std::string RangeText(double least, double most) {
    std::ostringstream text;
    text << "a number from " << least << " to " << most;
    return text.str();
}

}  // namespace

bool IsPlainName(std::string_view text, std::size_t most) {
    constexpr std::string_view kAllowed =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-";
    return !text.empty() && text.size() <= most &&
           text.find_first_not_of(kAllowed) == std::string_view::npos;
}

void Refuse(const std::string& where, const std::string& what) {
    throw std::invalid_argument(where + ": expected " + what);
}

Fields::Fields(const JsonValue& value, std::string where)
    : object_(value), where_(std::move(where)) {
    if (!object_.IsObject()) {
        Refuse(where_.empty() ? "file" : where_, "an object");
    }
}

std::string Fields::NameOf(std::string_view key) const {
    return where_.empty() ? std::string(key) : where_ + "." + std::string(key);
}

bool Fields::Has(const char* key) const {
    return object_.HasMember(key);
}

const JsonValue* Fields::Find(const char* key) {
    asked_.emplace_back(key);
    const auto member = object_.FindMember(key);
    return member == object_.MemberEnd() ? nullptr : &member->value;
}

template <typename Test>
const JsonValue* Fields::FindTyped(const char* key, const Test& isRight, const std::string& what) {
    const JsonValue* member = Find(key);
    if (member != nullptr && !isRight(*member)) {
        Refuse(NameOf(key), what);
    }
    return member;
}

void Fields::Real(const char* key, double& value, double least, double most) {
    const auto isRight = [=](const JsonValue& member) {
        return member.IsNumber() && member.GetDouble() >= least && member.GetDouble() <= most;
    };
    if (const JsonValue* member = FindTyped(key, isRight, RangeText(least, most))) {
        value = member->GetDouble();
    }
}

void Fields::Count(const char* key, std::uint32_t& value, std::uint32_t most) {
    const auto isRight = [=](const JsonValue& member) {
        return member.IsUint() && member.GetUint() <= most;
    };
    const std::string what = "a whole number from 0 to " + std::to_string(most);
    if (const JsonValue* member = FindTyped(key, isRight, what)) {
        value = member->GetUint();
    }
}

void Fields::Whole(const char* key, std::int32_t& value) {
    const auto isRight = [](const JsonValue& member) { return member.IsInt(); };
    if (const JsonValue* member = FindTyped(key, isRight, "a whole number of 32 bits")) {
        value = member->GetInt();
    }
}

void Fields::Text(const char* key, std::string& value) {
    const auto isRight = [](const JsonValue& member) { return member.IsString(); };
    if (const JsonValue* member = FindTyped(key, isRight, "a text")) {
        value.assign(member->GetString(), member->GetStringLength());
    }
}

const JsonValue* Fields::List(const char* key, std::size_t most) {
    const auto isRight = [=](const JsonValue& member) {
        return member.IsArray() && member.Size() <= most;
    };
    return FindTyped(key, isRight, "a list of at most " + std::to_string(most) + " entries");
}

void Fields::Finish() const {
    for (const auto& member : object_.GetObject()) {
        const std::string name(member.name.GetString(), member.name.GetStringLength());
        if (std::find(asked_.begin(), asked_.end(), name) == asked_.end()) {
            throw std::invalid_argument(NameOf(name) + ": unknown");
        }
    }
}

}  // namespace zarn::board
