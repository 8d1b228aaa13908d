#include "analyzers/correlation/peak_reader.h"

#include "foundation/console.h"
#include "foundation/files.h"

namespace zarn {

bool FailJson(const char* reason) {
    return PrintFailure(std::string("[CorrelationAnalyzer] Error occurs when parsing json:") +
                        reason);
}

const JsonValue* MemberOf(const JsonValue* object, const char* name, JsonType type) {
    const JsonValue* member =
        object == nullptr || !object->IsObject() ? nullptr : FindMember(*object, name);
    return member == nullptr || !HasType(*member, type) ? nullptr : member;
}

const JsonValue* ContentOf(const JsonValue& document) {
    const JsonValue* content = document.IsObject() ? FindMember(document, "content") : nullptr;
    if (content == nullptr) {
        FailJson("Json file lacks of required field [content].");
    }
    return content;
}

bool FirstDocument::Open(const std::string& path) {
    return ReadFileHead(path, 1, line_) == FileResult::Ok;
}

const JsonValue* FirstDocument::Parse() {
    if (!document_.Read(line_)) {
        FailJson("Parse error.");
        return nullptr;
    }
    return &document_.Get();
}

const JsonValue* FirstDocument::Content() {
    const JsonValue* document = Parse();
    return document == nullptr ? nullptr : ContentOf(*document);
}

bool ReadTimes(const JsonValue& list, const char* member, const char* lacks, const TakeTime& take) {
    for (const JsonValue& element : list.GetArray()) {
        const JsonValue* text = MemberOf(&element, member, JsonType::String);
        if (text == nullptr) {
            return FailJson(lacks);
        }
        take({text->GetString(), text->GetStringLength()});
    }
    return true;
}

bool ReadPeakStamps(const JsonValue& list, const char* lacks, std::vector<TimeDigits>& peaks) {
    std::vector<TimeDigits> read;
    const auto take = [&read](std::string_view stamp) {
        TimeDigits time;
        if (ReadStamp(stamp, time)) {
            read.push_back(time);
        }
    };
    if (!ReadTimes(list, "timeStamp", lacks, take)) {
        return false;
    }
    peaks.insert(peaks.end(), read.begin(), read.end());
    return true;
}

}  // namespace zarn
