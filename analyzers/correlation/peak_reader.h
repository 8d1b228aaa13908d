#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "analyzers/correlation/time_digits.h"
#include "kit/event_reader.h"
#include "kit/section.h"

// Reading of the documents that the sources' peaks stand in. Nothing in them ends the process: what
// is missing or of a wrong type is told by the words that are handed in, behind those about all
// JSON.
namespace zarn {

// Prints `reason` behind the words about JSON that cannot be taken; gives false.
bool FailJson(const char* reason);

// The member of that name and type; nullptr if there is none, or `object` is none.
[[nodiscard]] const JsonValue* MemberOf(const JsonValue* object, const char* name, JsonType type);

// The member `content` of a document, of whatever type; nullptr after a line if there is none.
[[nodiscard]] const JsonValue* ContentOf(const JsonValue& document);

// The document on the first line of a file; those behind it do not count.
class FirstDocument {
public:
    // False, without a line, if the file cannot be read.
    [[nodiscard]] bool Open(const std::string& path);

    // After Open: the document; nullptr after a line if the text is no JSON.
    [[nodiscard]] const JsonValue* Parse();
    // The same for its member `content`, of whatever type; nullptr after a line also without it.
    [[nodiscard]] const JsonValue* Content();

private:
    std::string line_;
    EventDocument document_;
};

// Takes the text of a moment; what is no moment is passed over.
using TakeTime = std::function<void(std::string_view)>;

// Calls `take` with the text `member` of each object of `list`. False after FailJson with `lacks`
// at the first element that has none.
[[nodiscard]] bool ReadTimes(const JsonValue& list, const char* member, const char* lacks,
                             const TakeTime& take);

// The same for a list of peaks, whose moments are stamps: appends them to `peaks`, but none if one
// is missing.
[[nodiscard]] bool ReadPeakStamps(const JsonValue& list, const char* lacks,
                                  std::vector<TimeDigits>& peaks);

}  // namespace zarn
