#include "kit/event_reader.h"

#include <algorithm>
#include <utility>

#include "foundation/console.h"
#include "foundation/numbers.h"
#include "kit/internal/event_line.h"

namespace zarn {
namespace {

constexpr std::string_view kHappenTime = "happenTime";

bool CheckLine(const EventLine& line, const EventLineWords& words,
               std::initializer_list<const char*> texts) {
    const EventObject document = line.Document();
    bool complete = line.ContentKind() != EventLine::Content::Missing;
    bool allTexts = true;
    for (const char* name : texts) {
        const EventMember* member = document.Find(name);
        complete = complete && member != nullptr;
        allTexts = allTexts && member != nullptr && member->isText;
    }
    if (!complete) {
        return PrintFailure(words.lacksMember);
    }
    return (allTexts && line.ContentKind() == EventLine::Content::Array) ||
           PrintFailure(words.wrongContent);
}

// Reads the member finder.Names()[index] of the object that was entered.
bool ReadNumber(const MemberFinder& finder, std::size_t index, const EventNumberWords& words,
                double& number) {
    const std::string& name = finder.Names()[index];
    const EventMember* member = finder.Find(index);
    if (member == nullptr) {
        return PrintFailure(words.lacks(name));
    }
    if (!member->isText) {
        return PrintFailure(words.wrongType(name));
    }
    return TextToDouble(member->text, number) || PrintFailure(words.noNumber(name));
}

}  // namespace

EventDocument::EventDocument()
    : memory_(std::make_unique<std::array<char, kFirstMemory>>()),
      allocator_(memory_->data(), memory_->size()) {}

// Strings are decoded in the place of a copy of the line.
bool EventDocument::Read(std::string_view line) {
    constexpr unsigned kFlags = rapidjson::kParseDefaultFlags | rapidjson::kParseInsituFlag;
    text_.assign(line);
    document_.reset();
    allocator_.Clear();
    document_ = std::make_unique<JsonDocument>(&allocator_);
    rapidjson::InsituStringStream stream(text_.data());
    document_->ParseStream<kFlags>(stream);
    return !document_->HasParseError() && stream.Tell() == text_.size();
}

const EventMember* EventObject::Find(std::string_view name) const {
    const auto* found = std::find_if(
        begin(), end(), [name](const EventMember& member) { return member.name == name; });
    return found == end() ? nullptr : found;
}

bool ReadEventLines(const NextLine& next, const EventLineWords& words,
                    std::initializer_list<const char*> texts, const OnEventElement& onElement) {
    EventLine line;
    std::string_view text;
    while (next(text)) {
        if (!line.Read(text)) {
            return PrintFailure(words.badJson);
        }
        if (!CheckLine(line, words, texts) || !line.TellElements(onElement)) {
            return false;
        }
    }
    return true;
}

bool ReadEventNests(const NextLine& next, const EventNest& nest, const EventNestWords& words,
                    std::initializer_list<const char*> members, const OnEventNest& onNest) {
    EventLine line(nest);
    const TellObjects tell = [&line](const auto& onObject) {
        return line.TellElements(
            [&onObject](const EventObject& /*event*/, const EventObject& object) {
                return onObject(object);
            });
    };
    std::string_view text;
    while (next(text)) {
        if (!line.Read(text)) {
            return PrintFailure(words.badJson);
        }
        const EventObject event = line.Document();
        const bool complete =
            line.ContentKind() != EventLine::Content::Missing &&
            std::all_of(members.begin(), members.end(),
                        [&event](const char* name) { return event.Find(name) != nullptr; });
        if (!complete) {
            return PrintFailure(words.lacksMember);
        }
        if (!line.HasNest()) {
            return PrintFailure(words.lacksNest);
        }
        if (!onNest(event, tell)) {
            return false;
        }
    }
    return true;
}

std::string_view RequireText(const EventMember& member) {
    RAPIDJSON_ASSERT(member.isText);
    return member.text;
}

bool ReadEventTexts(const NextLine& next, const EventTextWords& words,
                    std::vector<std::string> names, const OnEventTexts& onTexts) {
    MemberFinder finder(std::move(names));
    std::vector<std::string_view> texts;
    return ReadEventLines(
        next, words.lines, {}, [&](const EventObject& /*event*/, const EventObject& element) {
            return TakeTexts(finder, element, words.members, texts) && onTexts(texts);
        });
}

bool ReadEventNumbers(const NextLine& next, const EventNumberWords& words,
                      std::initializer_list<const char*> texts, std::vector<std::string> names,
                      const OnEventNumbers& onNumbers) {
    MemberFinder finder(std::move(names));
    std::vector<double> numbers(finder.Names().size());
    const auto take = [&](const EventObject& event, const EventObject& element) {
        finder.Enter(element);
        std::size_t read = 0;
        while (read < numbers.size() && ReadNumber(finder, read, words, numbers[read])) {
            ++read;
        }
        const bool good = read == numbers.size();
        numbers.resize(read);
        const EventMember* time = event.Find(kHappenTime);
        const std::string_view moment = time == nullptr ? std::string_view() : time->text;
        onNumbers(moment, numbers);
        return good;
    };
    return ReadEventLines(next, words.lines, texts, take);
}

MemberFinder::MemberFinder(std::vector<std::string> names)
    : names_(std::move(names)), positions_(names_.size(), 0) {}

bool MemberFinder::HasShape(const EventObject& object) const {
    return object.Size() == shape_.size() &&
           std::equal(shape_.begin(), shape_.end(), object.begin(),
                      [](const std::string& name, const EventMember& member) {
                          return name == member.name;
                      });
}

void MemberFinder::Enter(const EventObject& object) {
    object_ = object;
    if (HasShape(object)) {
        return;
    }
    shape_.clear();
    for (const EventMember& member : object) {
        shape_.emplace_back(member.name);
    }
    for (std::size_t i = 0; i < names_.size(); ++i) {
        const auto found = std::find(shape_.begin(), shape_.end(), names_[i]);
        positions_[i] = static_cast<std::size_t>(found - shape_.begin());
    }
}

const EventMember* MemberFinder::Find(std::size_t index) const {
    const std::size_t position = positions_[index];
    return position == shape_.size() ? nullptr : object_.begin() + position;
}

bool TakeTexts(MemberFinder& finder, const EventObject& object, const MemberWords& words,
               std::vector<std::string_view>& texts) {
    finder.Enter(object);
    texts.clear();
    bool allTexts = true;
    for (std::size_t i = 0; i < finder.Names().size(); ++i) {
        const EventMember* member = finder.Find(i);
        if (member == nullptr) {
            return PrintFailure(words.lacks);
        }
        allTexts = allTexts && member->isText;
        texts.push_back(member->text);
    }
    return allTexts || PrintFailure(words.wrongType);
}

}  // namespace zarn
