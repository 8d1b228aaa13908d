#include "kit/internal/event_line.h"

#include <algorithm>

namespace zarn {
namespace {

constexpr std::string_view kContent = "content";

// Longer lines are none that a mission of zarn writes; their parts would take more memory than the
// document.
constexpr std::size_t kMaxPlainLine = std::size_t{64} << 10;
// A nest may hold as many objects as there are processes.
constexpr std::size_t kMaxPlainNest = std::size_t{1} << 20;

bool Take(const char*& at, const char* end, char expected) {
    if (at == end || *at != expected) {
        return false;
    }
    ++at;
    return true;
}

// Takes a string whose bytes all stand for themselves.
bool TakePlainString(const char*& at, const char* end, std::string_view& text) {
    if (!Take(at, end, '"')) {
        return false;
    }
    const char* const begin = at;
    while (at != end && *at != '"') {
        if (static_cast<unsigned char>(*at) < 0x20 || *at == '\\') {
            return false;
        }
        ++at;
    }
    text = {begin, static_cast<std::size_t>(at - begin)};
    return Take(at, end, '"');
}

std::string_view TextOf(const JsonValue& value) {
    return {value.GetString(), value.GetStringLength()};
}

// Replaces `members` by those of a value; none if it is no object.
void ListMembers(const JsonValue& value, std::vector<EventMember>& members) {
    members.clear();
    if (!value.IsObject()) {
        return;
    }
    for (const auto& member : value.GetObject()) {
        const bool isText = member.value.IsString();
        members.push_back(
            {TextOf(member.name), isText ? TextOf(member.value) : std::string_view(), isText});
    }
}

}  // namespace

bool EventLine::Read(std::string_view line) {
    isPlain_ = line.size() <= (nest_ ? kMaxPlainNest : kMaxPlainLine) && ReadPlain(line);
    return isPlain_ || ReadJson(line);
}

bool EventLine::ReadPlain(std::string_view line) {
    members_.clear();
    elementMembers_.clear();
    elementEnds_.clear();
    content_ = Content::Missing;
    hasNest_ = false;
    Scan scan{line.data(), line.data() + line.size()};
    return ScanObject(scan, members_, true) && scan.at == scan.end;
}

bool EventLine::ScanObject(Scan& scan, std::vector<EventMember>& members, bool mayHaveContent) {
    if (!Take(scan.at, scan.end, '{')) {
        return false;
    }
    do {
        EventMember member;
        if (!TakePlainString(scan.at, scan.end, member.name) || !Take(scan.at, scan.end, ':')) {
            return false;
        }
        if (mayHaveContent && member.name == kContent) {
            if (content_ == Content::Array || !ScanContent(scan)) {
                return false;
            }
            content_ = Content::Array;
        } else {
            member.isText = true;
            if (!TakePlainString(scan.at, scan.end, member.text)) {
                return false;
            }
        }
        members.push_back(member);
    } while (Take(scan.at, scan.end, ','));
    return Take(scan.at, scan.end, '}');
}

bool EventLine::ScanContent(Scan& scan) {
    return nest_ ? ScanNest(scan) : ScanElements(scan);
}

bool EventLine::ScanNest(Scan& scan) {
    std::string_view name;
    if (!Take(scan.at, scan.end, '[') || !Take(scan.at, scan.end, '{') ||
        !TakePlainString(scan.at, scan.end, name) || name != nest_->member ||
        !Take(scan.at, scan.end, ':')) {
        return false;
    }
    hasNest_ = nest_->isArray ? ScanElements(scan) : ScanElement(scan);
    return hasNest_ && Take(scan.at, scan.end, '}') && Take(scan.at, scan.end, ']');
}

bool EventLine::ScanElements(Scan& scan) {
    if (!Take(scan.at, scan.end, '[')) {
        return false;
    }
    do {
        if (!ScanElement(scan)) {
            return false;
        }
    } while (Take(scan.at, scan.end, ','));
    return Take(scan.at, scan.end, ']');
}

bool EventLine::ScanElement(Scan& scan) {
    if (!ScanObject(scan, elementMembers_, false)) {
        return false;
    }
    elementEnds_.push_back(elementMembers_.size());
    return true;
}

bool EventLine::ReadJson(std::string_view line) {
    if (!document_.Read(line)) {
        return false;
    }
    ListMembers(document_.Get(), members_);
    content_ = Content::Missing;
    hasNest_ = false;
    if (Document().Find(kContent) != nullptr) {
        const JsonValue& content = document_.Get()[kContent.data()];
        content_ = content.IsArray() ? Content::Array : Content::NoArray;
        hasNest_ = FindNest(content) != nullptr;
    }
    return true;
}

const JsonValue* EventLine::FindNest(const JsonValue& content) const {
    if (!nest_ || !content.IsArray() || content.Empty() || !content[0].IsObject()) {
        return nullptr;
    }
    const auto found = content[0].FindMember(nest_->member);
    if (found == content[0].MemberEnd()) {
        return nullptr;
    }
    const JsonValue& value = found->value;
    return (nest_->isArray ? value.IsArray() : value.IsObject()) ? &value : nullptr;
}

bool EventLine::TellElement(const JsonValue& element, const OnEventElement& onElement) {
    ListMembers(element, elementMembers_);
    return onElement(Document(), {elementMembers_.data(), elementMembers_.size()});
}

bool EventLine::TellElements(const OnEventElement& onElement) {
    if (isPlain_) {
        std::size_t begin = 0;
        for (const std::size_t end : elementEnds_) {
            if (!onElement(Document(), {elementMembers_.data() + begin, end - begin})) {
                return false;
            }
            begin = end;
        }
        return true;
    }
    const JsonValue& content = document_.Get()[kContent.data()];
    const JsonValue& elements = nest_ ? *FindNest(content) : content;
    if (elements.IsObject()) {
        return TellElement(elements, onElement);
    }
    const auto list = elements.GetArray();
    return std::all_of(list.begin(), list.end(),
                       [&](const JsonValue& element) { return TellElement(element, onElement); });
}

}  // namespace zarn
