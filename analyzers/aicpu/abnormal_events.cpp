#include "analyzers/aicpu/abnormal_events.h"

#include <algorithm>
#include <optional>

#include "foundation/text.h"

namespace zarn {
namespace {

constexpr std::size_t kStartField = 1;
constexpr std::size_t kFewestFields = 8;

}  // namespace

void AbnormalEventReader::Take(std::string_view line) {
    PieceCursor fields(line, ',');
    std::string_view field;
    for (std::size_t i = 0; i <= kStartField; ++i) {
        if (!fields.Next(field)) {
            return;
        }
    }
    const std::optional<std::uint64_t> start = WholeNumber(field);
    if (!start || starts_.Holds(*start)) {
        return;
    }
    std::string_view pid;
    std::size_t count = kStartField + 1;
    while (fields.Next(field)) {
        if (count++ == pidField_) {
            pid = field;
        }
    }
    const std::optional<std::uint64_t> number = WholeNumber(pid);
    if (count < kFewestFields || !number) {
        return;
    }
    starts_.Add(*start);
    key_.assign(pid).append(1, ':').append(field);
    ++counts_[key_];
    if (*number == ownPid_) {
        ownStarts_.push_back(*start);
    }
}

std::vector<ThreadCount> AbnormalEventReader::Ranked() const {
    std::vector<ThreadCount> ranked(counts_.begin(), counts_.end());
    std::sort(ranked.begin(), ranked.end(), [](const ThreadCount& a, const ThreadCount& b) {
        return a.second != b.second ? a.second > b.second : a.first < b.first;
    });
    return ranked;
}

void ThresholdReader::Take(std::string_view line) {
    if (value_.empty()) {
        value_ = TrimSpacesView(line);
    }
}

}  // namespace zarn
