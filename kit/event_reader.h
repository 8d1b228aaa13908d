#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/json.h"

// Reading of event documents, one to a line: shared by the missions that read what others wrote.
// Documents of any shape go through EventDocument; those whose `content` is an array of objects
// with texts are read faster, and all at once, by the functions below. The words of a failure are
// the mission's own.
namespace zarn {

// A document of any shape. Its memory serves the next one, so that a file takes no more of it than
// its longest line.
class EventDocument {
public:
    EventDocument();

    // Takes a line; what was taken from the one before is lost. False if it is no JSON.
    [[nodiscard]] bool Read(std::string_view line);

    // What the line holds; after a line was read.
    [[nodiscard]] const JsonValue& Get() const { return *document_; }

private:
    static constexpr std::size_t kFirstMemory = std::size_t{64} << 10;

    std::unique_ptr<std::array<char, kFirstMemory>> memory_;
    JsonAllocator allocator_;
    std::string text_;
    std::unique_ptr<JsonDocument> document_;
};

// A member of a document or of an element. Only strings have a text.
struct EventMember {
    std::string_view name;
    std::string_view text;
    bool isText = false;
};

// The members of an object, in their order; none for a value that is no object. Views that hold
// until the next line is read.
class EventObject {
public:
    EventObject() = default;
    EventObject(const EventMember* members, std::size_t size) : members_(members), size_(size) {}

    [[nodiscard]] const EventMember* begin() const { return members_; }
    [[nodiscard]] const EventMember* end() const { return members_ + size_; }
    [[nodiscard]] std::size_t Size() const { return size_; }

    // The first member of that name, or nullptr.
    [[nodiscard]] const EventMember* Find(std::string_view name) const;

private:
    const EventMember* members_ = nullptr;
    std::size_t size_ = 0;
};

// The lines of a file that cannot be read, each for the error stream.
struct EventLineWords {
    const char* badJson;       // a line is no JSON
    const char* lacksMember;   // it is no object, or lacks `content` or a text
    const char* wrongContent;  // `content` is no array, or a text no string
};

// Called with a line's document and with each element of its `content`, in order; false ends the
// reading.
using OnEventElement = std::function<bool(const EventObject& event, const EventObject& element)>;

// Gives the next line of what is read; false at the end.
using NextLine = std::function<bool(std::string_view& line)>;

// Lines of a file or of a text, which must outlive the reading.
template <typename Lines>
[[nodiscard]] NextLine LinesOf(Lines& lines) {
    return [&lines](std::string_view& line) { return lines.Next(line); };
}

// Reads all lines, up to the first that cannot be read, which gives false after its words; what
// came before it has been told. `texts` are members beside `content` that must be strings. An empty
// line is no JSON.
[[nodiscard]] bool ReadEventLines(const NextLine& next, const EventLineWords& words,
                                  std::initializer_list<const char*> texts,
                                  const OnEventElement& onElement);

// Where objects lie one level deeper: in a member of the first element of `content`, which is such
// an object itself or an array of them.
struct EventNest {
    const char* member;
    bool isArray;
};

// The lines of a file with nests that cannot be read, each for the error stream.
struct EventNestWords {
    std::string badJson;      // a line is no JSON
    std::string lacksMember;  // it is no object, or lacks `content` or another member
    std::string lacksNest;    // `content` does not hold the nest
};

// Takes a line's document and the objects of its nest, which it asks for by `objects`, at most
// once; false ends the reading.
using TellObjects = std::function<bool(const std::function<bool(const EventObject&)>& onObject)>;
using OnEventNest = std::function<bool(const EventObject& event, const TellObjects& objects)>;

// Reads all lines as ReadEventLines does. `members` are those that must be there beside `content`,
// of whatever type.
[[nodiscard]] bool ReadEventNests(const NextLine& next, const EventNest& nest,
                                  const EventNestWords& words,
                                  std::initializer_list<const char*> members,
                                  const OnEventNest& onNest);

// The text of a member that no check covers: one that is no string trips the JSON library's
// assertion, which ends the process.
[[nodiscard]] std::string_view RequireText(const EventMember& member);

// The words of an element's texts that cannot be taken.
struct MemberWords {
    const char* lacks;      // a member is missing
    const char* wrongType;  // one is no string
};

struct EventTextWords {
    EventLineWords lines;
    MemberWords members;
};

// Called with the texts of one element, in the order of their names; false ends the reading.
using OnEventTexts = std::function<bool(const std::vector<std::string_view>& texts)>;

// Reads all lines, and from each element the members called `names`, as texts. An element that
// cannot be read ends the reading as a line does.
[[nodiscard]] bool ReadEventTexts(const NextLine& next, const EventTextWords& words,
                                  std::vector<std::string> names, const OnEventTexts& onTexts);

// The words of a number that cannot be read, made of its member's name.
using NumberWords = std::string (*)(const std::string& name);

struct EventNumberWords {
    EventLineWords lines;
    NumberWords lacks;      // the member is missing
    NumberWords wrongType;  // it is no string
    NumberWords noNumber;   // its text is no number
};

// Called with the numbers of one element, in the order of their names: all, or those before the
// first that cannot be read. `time` is the document's `happenTime`, empty if that is no text.
using OnEventNumbers =
    std::function<void(std::string_view time, const std::vector<double>& numbers)>;

// Reads all lines, and from each element the members called `names`, as texts that are numbers.
// What cannot be read ends the reading, after what was read of its element has been told. `texts`
// as in ReadEventLines.
[[nodiscard]] bool ReadEventNumbers(const NextLine& next, const EventNumberWords& words,
                                    std::initializer_list<const char*> texts,
                                    std::vector<std::string> names,
                                    const OnEventNumbers& onNumbers);

// Finds the members called `names` in objects that, as a rule, come with the same members in the
// same order, so that their names need not be searched for in each.
class MemberFinder {
public:
    explicit MemberFinder(std::vector<std::string> names);

    // Takes the next object.
    void Enter(const EventObject& object);

    // The member names[index] of that object, the first of that name; nullptr if it has none.
    [[nodiscard]] const EventMember* Find(std::size_t index) const;

    [[nodiscard]] const std::vector<std::string>& Names() const { return names_; }

private:
    [[nodiscard]] bool HasShape(const EventObject& object) const;

    std::vector<std::string> names_;
    std::vector<std::string> shape_;      // the last object's member names
    std::vector<std::size_t> positions_;  // of each of names_ in it; shape_.size(): none
    EventObject object_;
};

// Enters `object` and takes all members of the finder as texts. False after its words if one is
// missing, or else if one is no string.
[[nodiscard]] bool TakeTexts(MemberFinder& finder, const EventObject& object,
                             const MemberWords& words, std::vector<std::string_view>& texts);

}  // namespace zarn
