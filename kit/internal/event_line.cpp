#include "kit/internal/event_line.h"

namespace zarn {
namespace {

constexpr std::string_view kContent = "content";

// Longer lines are none that a mission of zarn writes; their parts would take more memory than the
// document.
constexpr std::size_t kMaxPlainLine = std::size_t{64} << 10;

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
    isPlain_ = line.size() <= kMaxPlainLine && ReadPlain(line);
    return isPlain_ || ReadJson(line);
}

bool EventLine::ReadPlain(std::string_view line) {
    members_.clear();
    elementMembers_.clear();
    elementEnds_.clear();
    content_ = Content::Missing;
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
    if (!Take(scan.at, scan.end, '[')) {
        return false;
    }
    do {
        if (!ScanObject(scan, elementMembers_, false)) {
            return false;
        }
        elementEnds_.push_back(elementMembers_.size());
    } while (Take(scan.at, scan.end, ','));
    return Take(scan.at, scan.end, ']');
}

bool EventLine::ReadJson(std::string_view line) {
    if (!document_.Read(line)) {
        return false;
    }
    ListMembers(document_.Get(), members_);
    content_ = Content::Missing;
    if (Document().Find(kContent) != nullptr) {
        content_ = document_.Get()[kContent.data()].IsArray() ? Content::Array : Content::NoArray;
    }
    return true;
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
    for (const JsonValue& element : document_.Get()[kContent.data()].GetArray()) {
        ListMembers(element, elementMembers_);
        if (!onElement(Document(), {elementMembers_.data(), elementMembers_.size()})) {
            return false;
        }
    }
    return true;
}

}  // namespace zarn
