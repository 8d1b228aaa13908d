#pragma once

#include <initializer_list>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/json.h"

// Reading of configuration sections, shared by all missions: test presence, test the type, then
// read. The words of a failure are the mission's own, so they are handed in or printed by the
// caller.
namespace zarn {

// The JSON types that settings are tested for. Unsigned: a non-negative integer of at most 32 bits;
// Integer: one that fits a signed 32-bit integer; Floating: a number written with a point or
// exponent; Number: any of these.
enum class JsonType { Array, Object, String, Bool, Unsigned, Integer, Floating, Number };

// One key of a section and the type it must have.
struct KeyRule {
    const char* key;
    JsonType type;
};

[[nodiscard]] bool HasType(const JsonValue& value, JsonType type);

// The member `key` of `object`, or nullptr. A value that is no object trips the JSON library's
// assertion, which ends the process: a caller that may meet one tests for it first. The same holds
// below.
[[nodiscard]] const JsonValue* FindMember(const JsonValue& object, const char* key);

// The first of `keys`, in their order, that `section` lacks.
[[nodiscard]] std::optional<std::string> FirstMissingKey(const JsonValue& section,
                                                         std::initializer_list<const char*> keys);

// True if every key is present and has its type.
[[nodiscard]] bool AllHaveType(const JsonValue& section, std::initializer_list<KeyRule> rules);

// The text of a string, NUL bytes included.
[[nodiscard]] std::string TextOf(const JsonValue& string);

// The lines about a list of jobs, for the error stream.
struct JobWords {
    const char* empty;             // the list is; nullptr where it may be
    const char* notString;         // an element is no string
    const char* unknown;           // an element is none of the known ones; the name follows
    const char* behindName = "";   // of the unknown one; nullptr where its name is not told
    const char* behind = nullptr;  // a second line behind that of an unknown one
};

// Inserts the names of `list`, an array, into `jobs`. At the first element that is no string or
// none of `known` it prints the words and gives false; what was inserted before stays.
[[nodiscard]] bool ReadJobs(const JsonValue& list, const std::vector<std::string>& known,
                            const JobWords& words, std::set<std::string>& jobs);

// Appends the strings of `array` to `list`, in order. At the first element that is no string prints
// `wordsIfNotString` on the error stream and returns false; what was appended before stays.
[[nodiscard]] bool ReadStrings(const JsonValue& array, std::string_view wordsIfNotString,
                               std::vector<std::string>& list);

}  // namespace zarn
