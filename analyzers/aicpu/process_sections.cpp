#include "analyzers/aicpu/process_sections.h"

#include "foundation/text.h"

namespace zarn {
namespace {

constexpr std::string_view kPublished = "publish_event";
constexpr std::string_view kScheduled = "sched_event";

// Cuts "name value" at the first blank. False if there is no name or no value.
bool CutPair(std::string_view line, std::string_view& name, std::string_view& value) {
    const std::string_view text = TrimSpacesView(line);
    const std::size_t blank = text.find(' ');
    name = text.substr(0, blank);
    value =
        blank == std::string_view::npos ? std::string_view() : TrimSpacesView(text.substr(blank));
    return !value.empty();
}

}  // namespace

void PriorityReader::BeginPass() {
    name_.clear();
    priority_.clear();
}

void PriorityReader::Take(std::string_view line) {
    std::vector<std::string_view> pieces;
    SplitViews(line, ",", pieces);
    if (priority_.empty() && pieces.size() >= 3 && pieces[0] == pid_) {
        name_ = pieces[1];
        priority_ = pieces[2];
    }
}

void StatusReader::Take(std::string_view line) {
    std::string_view name;
    std::string_view value;
    if (CutPair(line, name, value)) {
        values_.emplace_back(name, value);
    }
}

void EventNumReader::BeginPass() {
    good_ = good_ && PassIsWhole();
    ++passes_;
}

void EventNumReader::Take(std::string_view line) {
    std::string_view name;
    std::string_view value;
    if (!CutPair(line, name, value) || !IsPrintedNumber(value)) {
        return;
    }
    for (auto [head, series] : {std::pair(kPublished, &published_), {kScheduled, &scheduled_}}) {
        if (StartsWith(name, head) && series->Size() < passes_) {
            series->Add(value);
        }
    }
}

bool EventNumReader::PassIsWhole() const {
    return published_.Size() == passes_ && scheduled_.Size() == passes_;
}

void GroupListReader::BeginPass() {
    names_.clear();
    groups_.clear();
}

void GroupListReader::Take(std::string_view line) {
    if (names_.empty()) {
        SplitString(line, ",", names_);
        return;
    }
    std::vector<std::string_view> pieces;
    SplitViews(line, ",", pieces);
    if (pieces.size() != names_.size()) {
        return;
    }
    NamedValues& group = groups_.emplace_back();
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        group.emplace_back(names_[i], pieces[i]);
    }
}

}  // namespace zarn
