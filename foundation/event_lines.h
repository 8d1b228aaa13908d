#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/json.h"

// Reading of event documents, one to a line, whose `content` is an array of objects: shared by the
// missions that read what others wrote. The words of a failure are the mission's own.
namespace zarn {

// The lines of a file that cannot be read, each for the error stream.
struct EventLineWords {
    const char* badJson;       // a line is no JSON
    const char* lacksMember;   // it is no object, or lacks `content` or a text
    const char* wrongContent;  // `content` is no array, or a text no string
};

// Called with a line's document and with each element of its `content`, in order; false ends the
// reading.
using OnEventElement = std::function<bool(const JsonValue& event, const JsonValue& element)>;

// Reads all lines of `text`, up to the first that cannot be read, which gives false after its
// words; what came before it has been told. `texts` are members beside `content` that must be
// strings. An empty line is no JSON. The values live until the next line.
[[nodiscard]] bool ReadEventLines(std::string_view text, const EventLineWords& words,
                                  std::initializer_list<const char*> texts,
                                  const OnEventElement& onElement);

[[nodiscard]] inline std::string_view TextOf(const JsonValue& value) {
    return {value.GetString(), value.GetStringLength()};
}

// Finds the members called `names` in objects that, as a rule, come with the same members in the
// same order, so that their names need not be searched for in each.
class MemberFinder {
public:
    explicit MemberFinder(std::vector<std::string> names);

    // Takes the next object, which must live while members are asked for. A value that is no object
    // has no members.
    void Enter(const JsonValue& object);

    // The member names[index] of that object, the first of that name; nullptr if it has none.
    [[nodiscard]] const JsonValue* Find(std::size_t index) const;

    [[nodiscard]] const std::vector<std::string>& Names() const { return names_; }

private:
    [[nodiscard]] bool HasShape(const JsonValue& object) const;

    std::vector<std::string> names_;
    std::vector<std::string> shape_;      // the last object's member names
    std::vector<std::size_t> positions_;  // of each of names_ in it; shape_.size(): none
    JsonValue::ConstMemberIterator members_{};
};

// The words of texts that cannot be taken from an object.
struct MemberWords {
    const char* lacks;      // a member is missing
    const char* wrongType;  // one is no string
};

// Enters `object` and takes all members of the finder as texts that live as long as the object.
// False after its words if one is missing, or else if one is no string.
[[nodiscard]] bool TakeTexts(MemberFinder& finder, const JsonValue& object,
                             const MemberWords& words, std::vector<std::string_view>& texts);

}  // namespace zarn
