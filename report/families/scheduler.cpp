#include <algorithm>
#include <array>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "formats/sched.h"
#include "formats/sched_analysis.h"
#include "formats/sched_timehist.h"
#include "foundation/text.h"
#include "foundation/time.h"
#include "report/families/families.h"
#include "report/lines.h"
#include "report/moments.h"
#include "report/page_room.h"
#include "report/samples.h"
#include "report/series.h"
#include "report/tables.h"

namespace zarn::report {
namespace {

constexpr const char* kMilliseconds = "ms";
constexpr const char* kSeconds = "s";

// When the machine came up, which the moments of the recordings count from; none where no document
// tells it.
using BootMoment = std::optional<Moment>;

// A figure with its unit behind it, as the recorder prints it.
[[nodiscard]] Cell MeasureCell(const JsonValue* value, const char* unit, const Source& source) {
    const auto text = TextOf(value);
    return text ? NumberCellOf(*text, source, unit) : NumberCell(value, source);
}

// A table of rows whose members are columns: those of a unit hold numbers, be it an empty one.
struct Member {
    const char* name;
    const char* column;
    const char* unit;
};
constexpr const char* kText = nullptr;  // in place of a unit
template <std::size_t kCount>
[[nodiscard]] TableBlock RowTable(BlockHead head, const std::array<Member, kCount>& members,
                                  const std::vector<const JsonValue*>& rows, const Source& source) {
    TableBlock table;
    table.head = std::move(head);
    for (const Member& member : members) {
        const bool isNumber = member.unit != kText;
        table.columns.push_back({member.column, isNumber ? member.unit : "", isNumber});
    }
    constexpr std::size_t kMostShown = 60;  // of hundreds that a thread may have
    for (const JsonValue* row : rows) {
        if (table.rows.size() == kMostShown) {
            table.total = rows.size();
            break;
        }
        std::vector<Cell> cells;
        for (const Member& member : members) {
            const JsonValue* value = MemberOf(row, member.name);
            cells.push_back(member.unit == kText ? TextCell(value, source)
                                                 : MeasureCell(value, member.unit, source));
        }
        AddRow(table, std::move(cells));
    }
    return table;
}

constexpr std::array<Member, 6> kLatencyMembers = {
    {{"Task", "task", kText},
     {"runtime", "run time", kMilliseconds},
     {"switches", "switches", ""},
     {"averageDelay", "mean delay", kMilliseconds},
     {"maximumDelay", "greatest delay", kMilliseconds},
     {"maximumDelayAt", "at", kSeconds}}};
constexpr std::array<Member, 6> kSortedMembers = {
    {{"task", "task", kText},
     {"runtime", "run time", kMilliseconds},
     {"switches", "switches", ""},
     {"averageDelay", "mean delay", kMilliseconds},
     {"maximumDelay", "greatest delay", kMilliseconds},
     {"maximumDelayAt", "at", kSeconds}}};
constexpr std::size_t kSwitches = 2;
constexpr std::size_t kMeanDelay = 3;
constexpr std::array<Member, 6> kHistoryMembers = {{{"task", "task", kText},
                                                    {"time", "left its core at", kSeconds},
                                                    {"cpu", "core", kText},
                                                    {"waitTime", "wait", kMilliseconds},
                                                    {"schedDelay", "delay", kMilliseconds},
                                                    {"runTime", "run", kMilliseconds}}};

// A latency report: each delay is that of one switch to the task.
[[nodiscard]] TableBlock MarkedReport(TableBlock table) {
    FewSamples few;
    for (std::vector<Cell>& row : table.rows) {
        few.Mark(SamplesIn(row[kSwitches]), row[kMeanDelay]);
    }
    few.TellIn(table.head);
    return table;
}

constexpr const char* kSinceBoot = "Moments count seconds from when the machine came up.";

// The rows of a document's `content` that have a member.
[[nodiscard]] std::vector<const JsonValue*> RowsWith(const JsonValue& content, const char* member) {
    std::vector<const JsonValue*> rows;
    for (const JsonValue* row : ElementsOf(&content)) {
        if (MemberOf(row, member) != nullptr) {
            rows.push_back(row);
        }
    }
    return rows;
}

void TakeBoot(const JsonValue& content, BootMoment& boot) {
    for (const JsonValue* row : ElementsOf(&content)) {
        if (const auto moment = MomentOf(MemberOf(row, kSchedBootMember))) {
            boot = moment;
        }
    }
}

// What a file is about: its name without folder, suffixes, time, and what all names of a kind
// begin with.
[[nodiscard]] std::string SubjectOf(const RunFile& file, const std::string& prefix) {
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

// The moment of seconds since the machine came up.
[[nodiscard]] Cell WhenCell(const BootMoment& boot, const JsonValue* seconds,
                            const Source& source) {
    const Cell since = MeasureCell(seconds, kSeconds, source);
    const auto* number = std::get_if<double>(&since.value);
    if (!boot || number == nullptr) {
        return EmptyCell(Reason::NotInFile);
    }
    constexpr double kMillisecondsOfSecond = 1000.0;
    Cell cell = TextCellOf(DateOf(*boot + *number * kMillisecondsOfSecond), source);
    cell.computed = "when the machine came up, told in whole seconds, and the seconds since then";
    return cell;
}

// The row whose figure is the greatest; nullptr if none has one above 0.
[[nodiscard]] const JsonValue* GreatestOf(const std::vector<const JsonValue*>& rows,
                                          const char* figure) {
    const JsonValue* greatest = nullptr;
    double most = 0.0;
    for (const JsonValue* row : rows) {
        const Cell cell = MeasureCell(MemberOf(row, figure), kMilliseconds, {});
        const auto* number = std::get_if<double>(&cell.value);
        if (number != nullptr && *number > most) {
            greatest = row;
            most = *number;
        }
    }
    return greatest;
}

// Where a document of the analyzer stands, what it is about, and when the machine came up.
struct Analysed {
    std::string name;
    Source source;
    BootMoment boot;
};

// Which members of a row are for the first page.
struct Worst {
    const char* words;
    const char* figure;
    const char* task;
    const char* seconds;
};

// Tells of the row whose figure is the greatest.
void TellWorst(const Analysed& analysed, const std::vector<const JsonValue*>& rows,
               const Worst& worst, std::vector<Finding>& findings) {
    const JsonValue* row = GreatestOf(rows, worst.figure);
    if (row != nullptr) {
        const auto task = TextOf(MemberOf(row, worst.task));
        std::string what = "Scheduler, " + analysed.name;
        what.append(worst.words).append(task.value_or("?"));
        findings.push_back(
            {TextCellOf(what, analysed.source),
             MeasureCell(MemberOf(row, worst.figure), kMilliseconds, analysed.source),
             kMilliseconds,
             WhenCell(analysed.boot, MemberOf(row, worst.seconds), analysed.source)});
    }
}

// The latency analysis: an object for the top list and one for each of its tasks.
void AddLatencyAnalysis(const JsonValue& content, const Analysed& analysed, FamilyContext& context,
                        std::vector<Block>& blocks) {
    const auto& [name, source, boot] = analysed;
    TableBlock targets;
    targets.head = {"Delays by task, " + name, "", source};
    targets.columns = {{"task", "", false},
                       {"mean of the rows' greatest delays", kMilliseconds, true},
                       {"greatest delay", kMilliseconds, true}};
    std::optional<Finding> worst;
    FewSamples few;
    for (const JsonValue* one : RowsWith(content, "sortedList")) {
        const Cell greatest = MeasureCell(MemberOf(one, "maxDelay"), kMilliseconds, source);
        const std::string target = ShortText(TextOf(MemberOf(one, "target")).value_or("?"));
        const auto rows = ElementsOf(MemberOf(one, "sortedList"));
        Cell mean = MeasureCell(MemberOf(one, "avgDelay"), kMilliseconds, source);
        few.Mark(rows.size(), mean);
        AddRow(targets, {TextCellOf(target, source), std::move(mean), greatest});
        if (targets.rows.size() == 1) {
            blocks.emplace_back(
                MarkedReport(RowTable({"Worst rows of the latency report, " + name,
                                       std::string("In order of time. ") + kSinceBoot, source},
                                      kSortedMembers, rows, source)));
        } else if (const auto* delay = std::get_if<double>(&greatest.value);
                   delay != nullptr && (!worst || *delay > std::get<double>(worst->value.value))) {
            std::string what = "Scheduler, " + name;
            what.append(": greatest delay, of ").append(target);
            worst =
                Finding{TextCellOf(what, source), greatest, kMilliseconds,
                        WhenCell(boot, MemberOf(GreatestOf(rows, "maximumDelay"), "maximumDelayAt"),
                                 source)};
        }
    }
    if (worst) {
        context.findings.push_back(std::move(*worst));
    }
    if (!targets.rows.empty()) {
        few.TellIn(targets.head);
        blocks.emplace_back(std::move(targets));
    }
}

// What the analyzer left, by what its rows hold.
void AddAnalyses(FamilyContext& context, BootMoment& boot, std::vector<Block>& blocks) {
    const std::vector<RunFile> files = context.run.Find(
        run_tree::kJsonDir, sched_files::kAnalysisPrefix, std::string(".") + kDataSuffix);
    for (const RunFile& file : files) {
        const std::string name = SubjectOf(file, sched_files::kAnalysisPrefix);
        // The document of a thread bears the whole name of the thread's log.
        const bool isThread =
            file.name.find(std::string(".") + kLogSuffix + ".") != std::string::npos;
        AddLastDocuments(
            context, {file}, "",
            [&](const JsonValue& content, const Source& source, std::vector<Block>& own) {
                TakeBoot(content, boot);
                const Analysed analysed{name, source, boot};
                AddLatencyAnalysis(content, analysed, context, own);
                const auto history = RowsWith(content, "runTime");
                if (!history.empty()) {
                    const char* title =
                        isThread ? "History of a thread, " : "Longest runs without a break, ";
                    own.emplace_back(RowTable({title + name, kSinceBoot, source}, kHistoryMembers,
                                              history, source));
                }
                if (!isThread) {
                    TellWorst(analysed, history,
                              {": longest run without a break, of ", "runTime", "task", "time"},
                              context.findings);
                }
                const auto delays = RowsWith(content, "maximumDelay");
                TellWorst(
                    analysed, delays,
                    {": longest wait for a core, of ", "maximumDelay", "Task", "maximumDelayAt"},
                    context.findings);
                if (!delays.empty()) {
                    own.emplace_back(
                        RowTable({"Longest waits for a core, " + name, kSinceBoot, source},
                                 kLatencyMembers, delays, source));
                }
            },
            blocks);
    }
}

// The collector's latency reports.
void AddReports(FamilyContext& context, BootMoment& boot, std::vector<Block>& blocks) {
    for (const char* kind : {kSchedGlobalLatency, kSchedCoreLatency}) {
        for (const RunFile& file :
             context.run.Find(run_tree::kJsonDir, kind, std::string(".") + kDataSuffix)) {
            AddLastDocuments(
                context, {file}, "",
                [&](const JsonValue& content, const Source& source, std::vector<Block>& own) {
                    TakeBoot(content, boot);
                    own.emplace_back(MarkedReport(
                        RowTable({"Latency report, " + SubjectOf(file, ""), kSinceBoot, source},
                                 kLatencyMembers, ElementsOf(&content), source)));
                },
                blocks);
        }
    }
}

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
        const std::string name = SubjectOf(file, std::string(sched_files::kTargetPrefix) + "_");
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

void AddHistories(FamilyContext& context, const BootMoment& boot, std::vector<Block>& blocks) {
    for (const RunFile& file : context.run.Find(sched_files::kRawDir, sched_files::kTargetPrefix,
                                                std::string(".") + kLogSuffix)) {
        if (file.name.find(sched_files::kTimehistMark) != std::string::npos) {
            AddHistory(context, file, boot, blocks);
        }
    }
}

// How processes and threads are set up: a block for each process, each with its head.
void AddSetup(FamilyContext& context, std::vector<Block>& blocks) {
    const auto file = context.run.FindOne(sched_files::kThreadTable);
    if (!file) {
        return;
    }
    TableBlock table;
    table.head = {"Priorities and cores of the threads", "", Source{file->index, 0}};
    table.columns = {{"process", "", false},
                     {"thread", "", false},
                     {"priority", "", false},
                     {"policy", "", false},
                     {"cores", "", false}};
    std::vector<std::string> head;
    ReadTable(context.files, *file, [&](const auto& cells, std::uint64_t line) {
        if (line == 1) {
            head.assign(cells.begin(), cells.end());
        }
        if (std::equal(cells.begin(), cells.end(), head.begin(), head.end())) {
            return;
        }
        std::vector<Cell> row;
        for (std::size_t i = 0; i < table.columns.size(); ++i) {
            row.push_back(i < cells.size() && cells[i] != "NA"
                              ? TextCellOf(cells[i], context.At(*file, line))
                              : EmptyCell(Reason::NotInFile));
        }
        AddRow(table, std::move(row));
    });
    if (!table.rows.empty()) {
        blocks.emplace_back(std::move(table));
    }
}

}  // namespace

std::vector<Block> SchedulerBlocks(FamilyContext& context) {
    BootMoment boot;
    std::vector<Block> tables;
    AddAnalyses(context, boot, tables);
    AddReports(context, boot, tables);
    std::vector<Block> blocks;
    AddHistories(context, boot, blocks);
    std::move(tables.begin(), tables.end(), std::back_inserter(blocks));
    AddSetup(context, blocks);
    return blocks;
}

}  // namespace zarn::report
