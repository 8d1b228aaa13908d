#include "report/summary.h"

#include <map>
#include <utility>

#include "report/moments.h"

namespace zarn::report {
namespace {

constexpr const char* kNoCost =
    "the log of costs lacks it: it did not succeed, or worked in another run's directory";

[[nodiscard]] Cell DateCell(const std::optional<Moment>& moment) {
    return moment ? PlainCell(DateOf(*moment)) : EmptyCell(Reason::NotInFile);
}

[[nodiscard]] TableBlock RunTable(const std::vector<RunView>& views) {
    TableBlock table;
    table.head = {views.size() == 1 ? "The run" : "The runs", "", {}};
    table.columns = {{"run", "", false},
                     {"directory", "", false},
                     {"collectors began", "", false},
                     {"collectors had ended", "", false}};
    for (const RunView& view : views) {
        AddRow(table, {PlainCell(view.label), PlainCell(view.run.Path()), DateCell(view.facts.from),
                       DateCell(view.facts.to)});
    }
    return table;
}

[[nodiscard]] TableBlock MissionTable(const std::vector<RunView>& views) {
    TableBlock table;
    table.head = {"Missions", "", {}};
    table.columns = {
        {"run", "", false}, {"stage", "", false}, {"mission", "", false}, {"cost", "s", true}};
    for (const RunView& view : views) {
        for (const RunFacts::Mission& mission : view.facts.missions) {
            AddRow(table,
                   {PlainCell(view.label),
                    mission.stage.empty() ? EmptyCell(Reason::NotInFile) : PlainCell(mission.stage),
                    PlainCell(mission.name), mission.cost});
        }
    }
    return table;
}

[[nodiscard]] TableBlock FindingTable(const std::vector<RunView>& views) {
    TableBlock table;
    table.head = {"What was found", "", {}};
    table.columns = {{"run", "", false},
                     {"what", "", false},
                     {"value", "", true},
                     {"unit", "", false},
                     {"when", "", false}};
    for (const RunView& view : views) {
        for (const Finding& finding : view.findings) {
            AddRow(table, {PlainCell(view.label), finding.what, finding.value,
                           PlainCell(finding.unit), finding.when});
        }
    }
    return table;
}

[[nodiscard]] TableBlock MissingTable(const std::vector<RunView>& views) {
    TableBlock table;
    table.head = {"What is missing, and why", "", {}};
    table.columns = {{"run", "", false}, {"what", "", false}, {"why", "", false}};
    for (const RunView& view : views) {
        std::map<Reason, std::string> byReason;
        for (const Missing& missing : view.missing) {
            std::string& names = byReason[missing.reason];
            names += (names.empty() ? "" : ", ") + missing.what;
        }
        for (const auto& [reason, names] : byReason) {
            AddRow(table,
                   {PlainCell(view.label), PlainCell(names), PlainCell(WordsOf(reason).words)});
        }
        for (const RunFacts::Mission& mission : view.facts.missions) {
            const auto* reason = std::get_if<Reason>(&mission.cost.value);
            if (reason != nullptr && *reason == Reason::NotInFile) {
                AddRow(table, {PlainCell(view.label), PlainCell(mission.name), PlainCell(kNoCost)});
            }
        }
    }
    return table;
}

[[nodiscard]] TableBlock TroubleTable(const std::vector<RunView>& views, const Files& files) {
    TableBlock table;
    table.head = {
        "Files that could not be read as a whole", "The rest of the report does without them.", {}};
    table.columns = {{"run", "", false},
                     {"file", "", false},
                     {"size", "bytes", true},
                     {"what is wrong", "", false}};
    for (std::uint32_t i = 0; i < files.All().size(); ++i) {
        const File& file = files.All()[i];
        if (!file.trouble.empty()) {
            Cell size;
            size.value = static_cast<double>(file.bytes);
            size.source = Source{i, 0};
            AddRow(table, {PlainCell(views[file.run].label), TextCellOf(file.name, Source{i, 0}),
                           std::move(size), PlainCell(file.trouble)});
        }
    }
    return table;
}

}  // namespace

Page SummaryPage(const std::vector<RunView>& views, const Files& files) {
    Page page{"summary", "Summary", {}, {}};
    page.blocks.emplace_back(RunTable(views));
    for (TableBlock table : {FindingTable(views), MissingTable(views), TroubleTable(views, files),
                             MissionTable(views)}) {
        if (!table.rows.empty()) {
            page.blocks.emplace_back(std::move(table));
        }
    }
    for (const RunView& view : views) {
        for (Block block : view.facts.blocks) {
            if (views.size() > 1) {
                std::visit([&](auto& kind) { kind.head.title += ": " + view.label; }, block);
            }
            page.blocks.push_back(std::move(block));
        }
    }
    return page;
}

}  // namespace zarn::report
