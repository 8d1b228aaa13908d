#include "foundation/event_lines.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/settings_reader.h"

namespace zarn {
namespace {

constexpr const char* kContent = "content";

// A document is made for each line; its first memory is this, so that lines of usual length cost no
// allocation.
constexpr std::size_t kDocumentMemory = std::size_t{64} << 10;

bool CheckLine(const JsonDocument& event, const EventLineWords& words,
               std::initializer_list<const char*> texts) {
    const JsonValue* content = event.IsObject() ? FindMember(event, kContent) : nullptr;
    if (content == nullptr || FirstMissingKey(event, texts)) {
        return PrintFailure(words.lacksMember);
    }
    const bool allTexts = std::all_of(texts.begin(), texts.end(), [&event](const char* key) {
        return FindMember(event, key)->IsString();
    });
    return (content->IsArray() && allTexts) || PrintFailure(words.wrongContent);
}

}  // namespace

bool ReadEventLines(std::string_view text, const EventLineWords& words,
                    std::initializer_list<const char*> texts, const OnEventElement& onElement) {
    const auto memory = std::make_unique<std::array<char, kDocumentMemory>>();
    JsonAllocator allocator(memory->data(), memory->size());
    LineCursor cursor(text);
    std::string_view line;
    while (cursor.Next(line)) {
        allocator.Clear();
        JsonDocument event(&allocator);
        if (!ParseJson(line, event)) {
            return PrintFailure(words.badJson);
        }
        if (!CheckLine(event, words, texts)) {
            return false;
        }
        for (const JsonValue& element : event[kContent].GetArray()) {
            if (!onElement(event, element)) {
                return false;
            }
        }
    }
    return true;
}

MemberFinder::MemberFinder(std::vector<std::string> names)
    : names_(std::move(names)), positions_(names_.size(), 0) {}

bool MemberFinder::HasShape(const JsonValue& object) const {
    return object.MemberCount() == shape_.size() &&
           std::equal(shape_.begin(), shape_.end(), object.MemberBegin(),
                      [](const std::string& name, const auto& member) {
                          return name == TextOf(member.name);
                      });
}

void MemberFinder::Enter(const JsonValue& object) {
    if (!object.IsObject()) {
        shape_.clear();
        std::fill(positions_.begin(), positions_.end(), 0);
        return;
    }
    members_ = object.MemberBegin();
    if (HasShape(object)) {
        return;
    }
    shape_.clear();
    for (const auto& member : object.GetObject()) {
        shape_.emplace_back(TextOf(member.name));
    }
    for (std::size_t i = 0; i < names_.size(); ++i) {
        const auto found = std::find(shape_.begin(), shape_.end(), names_[i]);
        positions_[i] = static_cast<std::size_t>(found - shape_.begin());
    }
}

const JsonValue* MemberFinder::Find(std::size_t index) const {
    const std::size_t position = positions_[index];
    return position == shape_.size() ? nullptr
                                     : &(members_ + static_cast<std::ptrdiff_t>(position))->value;
}

bool TakeTexts(MemberFinder& finder, const JsonValue& object, const MemberWords& words,
               std::vector<std::string_view>& texts) {
    finder.Enter(object);
    texts.clear();
    bool allTexts = true;
    for (std::size_t i = 0; i < finder.Names().size(); ++i) {
        const JsonValue* member = finder.Find(i);
        if (member == nullptr) {
            return PrintFailure(words.lacks);
        }
        allTexts = allTexts && member->IsString();
        texts.push_back(member->IsString() ? TextOf(*member) : std::string_view());
    }
    return allTexts || PrintFailure(words.wrongType);
}

}  // namespace zarn
