#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "formats/sched.h"
#include "formats/sched_analysis.h"
#include "report/families/families.h"
#include "report/families/scheduler_history.h"
#include "report/moments.h"
#include "report/samples.h"
#include "report/tables.h"

namespace zarn::report {
namespace {

constexpr const char* kMilliseconds = "ms";
constexpr const char* kSeconds = "s";

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
        const std::string name = SchedulerSubject(file, sched_files::kAnalysisPrefix);
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
                    own.emplace_back(MarkedReport(RowTable(
                        {"Latency report, " + SchedulerSubject(file, ""), kSinceBoot, source},
                        kLatencyMembers, ElementsOf(&content), source)));
                },
                blocks);
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
