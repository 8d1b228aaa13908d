#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "kit/event_reader.h"

namespace zarn {

// One line of event documents, taken apart. A plain line, as zarn's own missions write them, is
// read without the JSON library; any other by it, so that both give the same.
class EventLine {
public:
    enum class Content { Missing, NoArray, Array };

    EventLine() = default;
    // For documents whose objects lie in a nest.
    explicit EventLine(const EventNest& nest) : nest_(nest) {}

    // Takes the next line; what was taken from the one before is lost. False if it is no JSON.
    [[nodiscard]] bool Read(std::string_view line);

    // The document; without members if it is no object.
    [[nodiscard]] EventObject Document() const { return {members_.data(), members_.size()}; }
    // What its member `content` is, the first of that name.
    [[nodiscard]] Content ContentKind() const { return content_; }

    // Whether the nest is where it should be.
    [[nodiscard]] bool HasNest() const { return hasNest_; }

    // Calls `onElement` for the elements of `content`, an array, or for the objects of the nest,
    // until it gives false, which is the result then.
    [[nodiscard]] bool TellElements(const OnEventElement& onElement);

private:
    // Where the scanning of a plain line stands.
    struct Scan {
        const char* at;
        const char* end;
    };

    // A plain line: {"name":"text",...} with one "content":[{"name":"text",...},...] among them, no
    // space, no escape, no control byte, no other type. With a nest, `content` holds nothing else:
    // "content":[{"nest":{"name":"text",...}}]. False, with nothing taken, for any other.
    bool ReadPlain(std::string_view line);
    bool ScanObject(Scan& scan, std::vector<EventMember>& members, bool mayHaveContent);
    bool ScanContent(Scan& scan);
    bool ScanNest(Scan& scan);
    bool ScanElements(Scan& scan);
    bool ScanElement(Scan& scan);
    bool ReadJson(std::string_view line);
    // Where in `content` of a document the nest lies; nullptr if it does not.
    [[nodiscard]] const JsonValue* FindNest(const JsonValue& content) const;
    bool TellElement(const JsonValue& element, const OnEventElement& onElement);

    std::optional<EventNest> nest_;
    bool hasNest_ = false;
    std::vector<EventMember> members_;
    Content content_ = Content::Missing;
    bool isPlain_ = false;

    // Of a plain line: the members of all elements, and where each element's end.
    std::vector<EventMember> elementMembers_;
    std::vector<std::size_t> elementEnds_;

    EventDocument document_;  // of any other line
};

}  // namespace zarn
