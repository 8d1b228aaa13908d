#include "kit/event_reader.h"

#include <algorithm>
#include <utility>

#include "foundation/console.h"
#include "kit/event_line.h"

namespace zarn {
namespace {

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

}  // namespace

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
