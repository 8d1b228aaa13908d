#include "analyzers/aicpu/event_summary.h"

#include <algorithm>

#include "foundation/text.h"

namespace zarn {
namespace {

constexpr std::string_view kTableHead = "event id,publish event num,sched event num";
constexpr std::string_view kPublished = "publish_event_num ";
constexpr std::string_view kScheduled = "sched_event_num ";
constexpr std::string_view kWoken = "wakeup_event_num ";
constexpr std::string_view kGreatest = "max time(us) ";
constexpr std::string_view kMean = "ave time(us) ";

// Places in kSeriesNames: the counts, and the first of the mean times that stand behind them; the
// greatest times follow the mean ones.
enum : std::size_t {
    kPublishes,
    kSchedules,
    kWakeups,
    kBySysCall,
    kInKernel = 5,
    kWaking = 7,
    kScheduling = 9
};

// What stands behind `prefix`, if the line begins with it.
bool TakePrefix(std::string_view line, std::string_view prefix, std::string_view& value) {
    if (!StartsWith(line, prefix)) {
        return false;
    }
    value = TrimSpacesView(line.substr(prefix.size()));
    return true;
}

}  // namespace

void EventSummaryReader::BeginPass() {
    good_ = good_ && PassIsWhole();
    ++passes_;
    part_ = Part::Head;
    pairs_ = {};
    events_.clear();
}

void EventSummaryReader::Take(std::string_view line) {
    std::string_view value;
    if (part_ == Part::Table) {
        TakeEvent(line);
    } else if (line == kTableHead) {
        part_ = Part::Table;
    } else if (TakePrefix(line, kPublished, value)) {
        TakeCount(kPublishes, Part::Published, value);
    } else if (TakePrefix(line, kScheduled, value)) {
        TakeCount(kSchedules, Part::Scheduled, value);
    } else if (TakePrefix(line, kWoken, value)) {
        TakeCount(kWakeups, Part::Woken, value);
    } else if (TakePrefix(line, kGreatest, value)) {
        TakeTime(true, value);
    } else if (TakePrefix(line, kMean, value)) {
        TakeTime(false, value);
    }
}

bool EventSummaryReader::PassIsWhole() const {
    return std::all_of(series_.begin(), series_.end(),
                       [this](const ValueSeries& series) { return series.Size() == passes_; });
}

void EventSummaryReader::TakeCount(std::size_t series, Part part, std::string_view value) {
    part_ = part;
    pairs_ = {};
    Add(series, value);
}

void EventSummaryReader::TakeTime(bool isGreatest, std::string_view value) {
    const std::size_t pair = pairs_[isGreatest ? 1 : 0]++;
    std::size_t series = 0;
    if (part_ == Part::Published && pair < 2) {
        series = pair == 0 ? kBySysCall : kInKernel;
    } else if (part_ == Part::Woken && pair == 0) {
        series = kWaking;
    } else if (part_ == Part::Scheduled && pair == 0) {
        series = kScheduling;
    } else {
        return;
    }
    Add(series + (isGreatest ? 1 : 0), value);
}

void EventSummaryReader::TakeEvent(std::string_view line) {
    std::vector<std::string_view> pieces;
    SplitViews(line, ",", pieces);
    if (pieces.size() == 3) {
        events_.push_back({std::string(pieces[0]), std::string(pieces[1]), std::string(pieces[2])});
    }
}

// One value a pass: the first.
void EventSummaryReader::Add(std::size_t series, std::string_view value) {
    if (IsPrintedNumber(value) && series_[series].Size() < passes_) {
        series_[series].Add(value);
    }
}

}  // namespace zarn
