#include "report/compose.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "report/families/families.h"
#include "report/page_room.h"
#include "report/run_facts.h"
#include "report/summary.h"
#include "report/together.h"

namespace zarn::report {
namespace {

// Of the report, for texts of lines: the rest of them is named by its file.
constexpr std::size_t kLineBudget = std::size_t{256} << 10;

// Of the report, for what its pages hold, so that it stays below 30 MB with all that is beside it.
constexpr std::size_t kPagesBudget = std::size_t{24} << 20;

struct Family {
    const char* id;
    const char* title;
    std::vector<std::string> missions;  // that leave its files
    std::vector<Block> (*make)(FamilyContext& context);
};

[[nodiscard]] std::vector<std::string> Comparators() {
    return {"CpuComparator", "MemComparator", "DdrComparator", "HotFunComparator"};
}

[[nodiscard]] const std::vector<Family>& Families() {
    static const std::vector<Family> families = {
        {"cpu", "CPU", {"CpuCollector", "CpuAnalyzer"}, CpuBlocks},
        {"peaks", "CPU peaks", {"CpuPeakCollector"}, CpuPeakBlocks},
        {"ddr", "DDR", {"DdrCollector", "DdrAnalyzer"}, DdrBlocks},
        {"memory", "Memory", {"MemCollector", "MemAnalyzer"}, MemoryBlocks},
        {"scheduler", "Scheduler", {"SchedCollector", "SchedAnalyzer"}, SchedulerBlocks},
        {"topdown", "Topdown", {"TopdownCollector"}, TopdownBlocks},
        {"functions", "Hot functions", {"HotFunCollector"}, HotFunctionBlocks},
        {"calls", "System calls", {"SysCallCollector"}, SystemCallBlocks},
        {"bench", "Benchmarks", {"BenchCollector"}, BenchBlocks},
        {"libraries", "Libraries", {"LibCollector"}, LibraryBlocks},
        {"heap", "Heap", {"MassifCollector"}, HeapBlocks},
        {"aicore", "AI cores", {"AiCoreCollector"}, AiCoreBlocks},
        {"aicpu", "AI CPUs", {"AicpuCollector", "AicpuAnalyzer"}, AicpuBlocks},
        {"image", "Image block", {"ImgpCollector"}, ImageBlocks},
        {"buffers", "Held buffers", {"MbufCollector"}, HeldBufferBlocks},
        {"correlation", "Correlation", {"CorrelationAnalyzer"}, CorrelationBlocks},
        {"versions", "Versions", Comparators(), ComparisonBlocks},
        {"optimizer", "Optimizer", {"DdrOptimizer"}, OptimizerBlocks},
    };
    return families;
}

// Why a run has no page of a family.
[[nodiscard]] Missing MissingPage(const Family& family, const RunView& view) {
    const bool wasRun = std::any_of(
        family.missions.begin(), family.missions.end(),
        [&view](const std::string& mission) { return view.facts.names.count(mission) != 0; });
    return {family.title, wasRun ? Reason::FileMissing : Reason::NotMeasured};
}

// The name of a directory, without the path.
[[nodiscard]] std::string NameOfDirectory(std::string path) {
    while (!path.empty() && path.back() == '/') {
        path.pop_back();
    }
    return path.substr(path.rfind('/') + 1);
}

// The runs that a comparison is of. Trees are looked at elsewhere than where they were made, so
// that their directories' names count alone; a name of two of them tells nothing.
[[nodiscard]] std::map<std::string, Run*> VersionsOf(const RunView& view,
                                                     std::vector<RunView>& views) {
    std::map<std::string, Run*> versions;
    for (const auto& [version, directory] : view.facts.versions) {
        std::vector<Run*> named;
        for (RunView& other : views) {
            if (NameOfDirectory(other.run.Path()) == NameOfDirectory(directory)) {
                named.push_back(&other.run);
            }
        }
        if (named.size() == 1) {
            versions[version] = named.front();
        }
    }
    return versions;
}

// The page of a family, if the run has something of it.
void AddPage(const Family& family, std::vector<RunView>& views, RunView& view, Files& files,
             std::vector<Page>& pages) {
    FamilyContext context{view.run, files, view.facts.settings, {}, VersionsOf(view, views), 0};
    std::vector<Block> blocks = family.make(context);
    if (blocks.empty()) {
        view.missing.push_back(MissingPage(family, view));
        return;
    }
    const std::uint32_t number = view.run.Number();
    Page page;
    page.id = family.id + (number == 0 ? "" : "-" + std::to_string(number + 1));
    page.title = family.title + (views.size() == 1 ? "" : ": " + view.label);
    page.run = number;
    page.blocks = std::move(blocks);
    TellLeftOut(context.leftOut, page);
    pages.push_back(std::move(page));
    std::move(context.findings.begin(), context.findings.end(), std::back_inserter(view.findings));
}

[[nodiscard]] RunLabel LabelOf(const RunView& view) {
    return {view.label, view.run.Path(), view.facts.from, view.facts.to};
}

}  // namespace

Report ComposeReport(const std::vector<std::string>& paths, const std::vector<std::string>& labels,
                     Files& files, const OnProgress& onProgress) {
    std::vector<RunView> views;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        Run run(static_cast<std::uint32_t>(i), paths[i], files);
        RunFacts facts = ReadRunFacts(run, files);
        views.push_back({labels[i], std::move(run), std::move(facts), {}, {}});
    }
    Report report;
    for (const Family& family : Families()) {
        for (RunView& view : views) {
            onProgress(view.label + ": " + family.title);
            AddPage(family, views, view, files, report.pages);
        }
    }
    FitPages(report.pages, kPagesBudget);
    if (auto together = TogetherPage(report.pages)) {
        report.pages.insert(report.pages.begin(), std::move(*together));
    }
    report.pages.insert(report.pages.begin(), SummaryPage(views, files));
    for (const RunView& view : views) {
        report.runs.push_back(LabelOf(view));
    }
    files.KeepLines(kLineBudget);
    return report;
}

}  // namespace zarn::report
