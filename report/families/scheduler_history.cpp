#include "report/families/scheduler_history.h"

#include <algorithm>
#include <deque>
#include <map>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "formats/sched.h"
#include "formats/sched_timehist.h"
#include "foundation/text.h"
#include "foundation/time.h"
#include "report/lines.h"
#include "report/moments.h"
#include "report/page_room.h"
#include "report/series.h"
#include "report/tables.h"

namespace zarn::report {
namespace {

constexpr const char* kMilliseconds = "ms";

// The history of one recording: what ran when, thinned to the longest runs, and all waits, delays
// and runs over time.
class History {
public:
    History() : figures_({"wait", "delay", "run"}, false) {}

    void Take(const TimehistRow& row, const BootMoment& boot, std::uint64_t line) {
        const auto seconds = MillisecondsIn(row.time);
        const auto run = WholeNumberIn(row.runTime);
        if (!seconds || !boot || IsIdleTask(row.task)) {
            return;
        }
        const Moment moment = *boot + *seconds;
        if (!IsOnTheClock(moment)) {
            figures_.PassOver();
            return;
        }
        values_ = {WholeNumberIn(row.waitTime), WholeNumberIn(row.schedDelay), run};
        figures_.Add(moment, values_, line);
        if (run && *run > 0.0 && IsOnTheClock(moment - *run)) {
            ++total_;
            spans_.push_back({moment - *run, moment, TaskIndex(row.task), line});
        }
        if (spans_.size() >= 2 * kMostKept) {
            KeepLongest(kMostKept);
        }
    }

    [[nodiscard]] bool HasRows() const { return figures_.HasSamples(); }

    void AddTo(FamilyContext& context, const RunFile& file, const std::string& note,
               std::vector<Block>& blocks) {
        const std::string name =
            SchedulerSubject(file, std::string(sched_files::kTargetPrefix) + "_");
        KeepLongest(kMostSpans);
        TimelineBlock timeline;
        timeline.head = {"What ran when, " + name, note, Source{file.index, 0}};
        timeline.rows = Rows(context, file);
        std::size_t shown = 0;
        for (const TimelineBlock::Row& row : timeline.rows) {
            shown += row.spans.size();
        }
        timeline.total = total_ > shown ? total_ : 0;
        if (shown > 0) {
            blocks.emplace_back(std::move(timeline));
        }
        blocks.emplace_back(figures_.Make(
            context, file, {"Waits, delays and runs, " + name, note, std::nullopt}, kMilliseconds));
    }

private:
    static constexpr std::size_t kMostKept = 20000;  // while reading
    static constexpr std::size_t kMostSpans = 4000;
    static constexpr std::size_t kMostTasks = 4096;
    static constexpr std::size_t kMostTaskRows = 40;

    struct Span {
        Moment from;
        Moment to;
        std::uint32_t task;
        std::uint64_t line;
    };

    // Tasks beyond those that are kept share the last place.
    std::uint32_t TaskIndex(std::string_view task) {
        const auto known = indexes_.find(task);
        if (known != indexes_.end()) {
            return known->second;
        }
        if (names_.size() == kMostTasks) {
            names_.emplace_back("(others)");
        }
        if (names_.size() > kMostTasks) {
            return kMostTasks;
        }
        const auto index = static_cast<std::uint32_t>(names_.size());
        names_.push_back(ShortText(task));
        indexes_.emplace(tasks_.emplace_back(task), index);
        return index;
    }

    void KeepLongest(std::size_t count) {
        if (spans_.size() <= count) {
            return;
        }
        const auto end = spans_.begin() + static_cast<std::ptrdiff_t>(count);
        std::nth_element(spans_.begin(), end, spans_.end(), [](const Span& a, const Span& b) {
            return a.to - a.from > b.to - b.from;
        });
        spans_.erase(end, spans_.end());
    }

    // A row for each of the tasks that ran most, the busiest first.
    [[nodiscard]] std::vector<TimelineBlock::Row> Rows(FamilyContext& context,
                                                       const RunFile& file) {
        std::sort(spans_.begin(), spans_.end(),
                  [](const Span& a, const Span& b) { return a.from < b.from; });
        std::vector<double> sums(names_.size(), 0.0);
        for (const Span& span : spans_) {
            sums[span.task] += span.to - span.from;
        }
        std::vector<std::pair<double, std::uint32_t>> order;
        for (std::uint32_t i = 0; i < sums.size(); ++i) {
            order.emplace_back(-sums[i], i);
        }
        std::sort(order.begin(), order.end());
        order.resize(std::min(order.size(), kMostTaskRows));
        std::map<std::uint32_t, std::size_t> places;
        std::vector<TimelineBlock::Row> rows;
        for (const auto& [sum, task] : order) {
            places[task] = rows.size();
            rows.push_back({names_[task], file.index, {}});
        }
        for (const Span& span : spans_) {
            if (const auto place = places.find(span.task); place != places.end()) {
                rows[place->second].spans.push_back({span.from, span.to, span.line});
                context.files.WantPoint(file.index, span.line);
            }
        }
        return rows;
    }

    SeriesMaker figures_;
    std::vector<std::optional<double>> values_;  // of a row
    std::vector<Span> spans_;
    std::vector<std::string> names_;
    std::deque<std::string> tasks_;  // whole names, which the indexes look at
    std::unordered_map<std::string_view, std::uint32_t> indexes_;
    std::uint64_t total_ = 0;
};

// When the machine came up, if the recording of that name began with its first row.
[[nodiscard]] BootMoment BootByName(const RunFile& file, std::string_view seconds) {
    const auto named = MomentIn(GetFileTimestamp(file.name));
    const auto first = MillisecondsIn(seconds);
    return named && first ? BootMoment(*named - *first) : std::nullopt;
}

void AddHistory(FamilyContext& context, const RunFile& file, BootMoment boot,
                std::vector<Block>& blocks) {
    constexpr std::uint64_t kBlocks = 2;  // what ran when, and its figures
    if (!HasRoom(context, blocks, kBlocks)) {
        return;
    }
    const char* note = boot ? "Placed by when the machine came up, which is told in whole seconds."
                            : "No document tells when the machine came up: the first row stands at "
                              "the moment in the file's name.";
    History history;
    std::uint64_t bad = 0;
    ReadLines(context.files, file, [&](std::string_view text, std::uint64_t line) {
        TimehistRow row;
        if (line <= kTimehistHeadLines || text.empty()) {
            return;
        }
        if (!ReadTimehistRow(text, row)) {
            ++bad;
            return;
        }
        if (!boot) {
            boot = BootByName(file, row.time);
        }
        history.Take(row, boot, line);
    });
    if (bad > 0) {
        context.files.Trouble(file.index, "lines that are no rows: " + std::to_string(bad));
    }
    if (history.HasRows()) {
        history.AddTo(context, file, note, blocks);
    }
}

}  // namespace

std::string SchedulerSubject(const RunFile& file, const std::string& prefix) {
    std::string name = file.name.substr(file.name.rfind('/') + 1);
    for (const char* suffix : {kDataSuffix, kLogSuffix}) {
        const std::string end = std::string(".") + suffix;
        if (name.size() > end.size() && name.substr(name.size() - end.size()) == end) {
            name.resize(name.size() - end.size());
        }
    }
    const std::size_t time = name.rfind('_');
    if (time != std::string::npos && MomentIn(std::string_view(name).substr(time + 1))) {
        name.resize(time);
    }
    return StartsWith(name, prefix) ? name.substr(prefix.size()) : name;
}

void AddHistories(FamilyContext& context, const BootMoment& boot, std::vector<Block>& blocks) {
    for (const RunFile& file : context.run.Find(sched_files::kRawDir, sched_files::kTargetPrefix,
                                                std::string(".") + kLogSuffix)) {
        if (file.name.find(sched_files::kTimehistMark) != std::string::npos) {
            AddHistory(context, file, boot, blocks);
        }
    }
}

}  // namespace zarn::report
