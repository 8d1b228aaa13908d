#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/json.h"

namespace zarn::board {

// Reads the members of one JSON object of a board's file, strictly: a member of a wrong type or out
// of its range, and one that nobody asked for, is refused by a std::invalid_argument whose text
// names the place and what was expected. A member that is absent leaves its variable as it was.
class Fields {
public:
    // `where` names the object in messages. `value` must outlive the reader.
    Fields(const JsonValue& value, std::string where);

    // A number from `least` to `most`.
    void Real(const char* key, double& value, double least, double most);
    // A whole number from 0 to `most`.
    void Count(const char* key, std::uint32_t& value, std::uint32_t most);
    // A whole number of 32 bits with a sign.
    void Whole(const char* key, std::int32_t& value);
    void Text(const char* key, std::string& value);
    // The member, or nullptr.
    [[nodiscard]] const JsonValue* Find(const char* key);
    // The member, which must be an array of at most `most` elements, or nullptr.
    [[nodiscard]] const JsonValue* List(const char* key, std::size_t most);

    // Refuses what has not been asked for. Call last.
    void Finish() const;

    // The name of a member in messages.
    [[nodiscard]] std::string NameOf(std::string_view key) const;
    [[nodiscard]] bool Has(const char* key) const;

    // Hands the object of that key, if there is one, to `read` and finishes it.
    template <typename Read>
    void Section(const char* key, const Read& read) {
        const JsonValue* member = Find(key);
        if (member != nullptr) {
            Fields section(*member, NameOf(key));
            read(section);
            section.Finish();
        }
    }

private:
    // The member, or nullptr; refused if `isRight` does not hold for it.
    template <typename Test>
    const JsonValue* FindTyped(const char* key, const Test& isRight, const std::string& what);

    const JsonValue& object_;
    std::string where_;
    std::vector<std::string> asked_;
};

// Whether the text is 1 to `most` letters, digits, "_" and "-".
[[nodiscard]] bool IsPlainName(std::string_view text, std::size_t most);

// Raises "<where>: expected <what>".
[[noreturn]] void Refuse(const std::string& where, const std::string& what);

}  // namespace zarn::board
