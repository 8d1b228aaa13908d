#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "analyzers/aicpu/raw_sections.h"
#include "analyzers/aicpu/section_values.h"

namespace zarn {

struct EventRow {
    std::string id;
    std::string published;
    std::string scheduled;
};

// `node_event_summary`. In each pass stand a count of events published, scheduled and woken for,
// with greatest and mean times behind it, of publishing two pairs: by system calls, then in the
// kernel. Refuses: a pass in which one of these is missing or no number. The table of events is of
// the last pass; lines of it that are not of three pieces are skipped.
class EventSummaryReader final : public PassReader {
public:
    // In the order of the document.
    static constexpr std::array<const char*, 11> kSeriesNames = {
        "soc_publish_events",         "soc_sched_events",          "soc_wakeup_events",
        "soc_pub_sys_call_ave_time",  "soc_pub_sys_call_max_time", "soc_pub_in_kernel_ave_time",
        "soc_pub_in_kernel_max_time", "soc_wakeup_ave_time",       "soc_wakeup_max_time",
        "soc_sched_ave_time",         "soc_sched_max_time"};

    void BeginPass() override;
    void Take(std::string_view line) override;
    [[nodiscard]] bool MakesSense() const override { return good_ && PassIsWhole(); }

    // A value of each pass, in the order of kSeriesNames; gives them away.
    [[nodiscard]] std::array<ValueSeries, kSeriesNames.size()> TakeSeries() {
        return std::move(series_);
    }
    [[nodiscard]] const std::vector<EventRow>& Events() const { return events_; }

private:
    enum class Part { Head, Published, Scheduled, Woken, Table };

    [[nodiscard]] bool PassIsWhole() const;
    void TakeCount(std::size_t series, Part part, std::string_view value);
    void TakeTime(bool isGreatest, std::string_view value);
    void TakeEvent(std::string_view line);
    void Add(std::size_t series, std::string_view value);

    std::size_t passes_ = 0;
    bool good_ = true;
    Part part_ = Part::Head;
    std::array<std::size_t, 2> pairs_ = {};  // mean and greatest times behind the last count
    std::array<ValueSeries, kSeriesNames.size()> series_;
    std::vector<EventRow> events_;
};

}  // namespace zarn
