#include "formats/topdown.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "report/families/families.h"

namespace zarn::report {
namespace {

constexpr std::size_t kMostDepth = 12;
constexpr std::size_t kMostMetrics = 500;  // ten times as many as there are

struct Subject {
    const topdown_files::Kind& kind;
    const char* title;  // before the core or process
};
constexpr std::array<Subject, 3> kSubjects = {{{topdown_files::kGlobal, "The system"},
                                               {topdown_files::kCore, "Core "},
                                               {topdown_files::kProcess, "Process "}}};

// The node of that name among siblings, made if it is not there.
TreeNode& NodeOf(std::vector<TreeNode>& siblings, std::string_view name) {
    const auto found = std::find_if(siblings.begin(), siblings.end(),
                                    [name](const TreeNode& node) { return node.name == name; });
    if (found != siblings.end()) {
        return *found;
    }
    siblings.push_back({std::string(name), EmptyCell(Reason::NotInFile), "", {}});
    return siblings.back();
}

// A share of 1 as percent, with the digits that the document has.
[[nodiscard]] Cell PercentCell(const JsonValue& value, const Source& source) {
    constexpr double kHundredths = 1e4;
    Cell cell = NumberCell(&value, source);
    if (auto* share = std::get_if<double>(&cell.value)) {
        *share = std::round(*share * 100.0 * kHundredths) / kHundredths;
        cell.computed = "the document's share of 1, times 100";
    }
    return cell;
}

void AddMetric(std::string_view path, const Cell& cell, bool isBottleneck,
               std::vector<TreeNode>& roots) {
    std::vector<TreeNode>* siblings = &roots;
    for (std::size_t depth = 1; depth <= kMostDepth; ++depth) {
        const std::size_t point = path.find('.');
        TreeNode& node = NodeOf(*siblings, path.substr(0, std::min(point, kMostOfName)));
        if (point == std::string_view::npos) {
            node.cell = cell;
            node.mark = isBottleneck ? topdown_files::kBottleneckMember : "";
            return;
        }
        path.remove_prefix(point + 1);
        siblings = &node.children;
    }
}

void AddTree(FamilyContext& context, const std::string& title, const JsonValue& metrics,
             const Source& source, std::vector<Block>& blocks) {
    const JsonValue* member = MemberOf(&metrics, topdown_files::kBottleneckMember);
    const std::string bottleneck(TextOf(member).value_or(""));
    TreeBlock tree;
    tree.head = {title,
                 "Shares of slots on the first levels, of cycles as a rule below: siblings need "
                 "not add up to their parent.",
                 source};
    tree.unit = "%";
    std::size_t count = 0;
    for (const auto& metric : metrics.GetObject()) {
        const std::string_view path(metric.name.GetString(), metric.name.GetStringLength());
        if (path != topdown_files::kBottleneckMember && ++count <= kMostMetrics) {
            AddMetric(path, PercentCell(metric.value, source), path == bottleneck, tree.roots);
        }
    }
    const JsonValue* value = MemberOf(&metrics, bottleneck);
    context.findings.push_back(
        {TextCellOf(
             "Topdown, " + title + ": bottleneck " + (bottleneck.empty() ? "none" : bottleneck),
             source),
         bottleneck.empty() || value == nullptr ? EmptyCell(Reason::NotFound)
                                                : PercentCell(*value, source),
         "%", EmptyCell(Reason::NotInFile)});
    blocks.emplace_back(std::move(tree));
}

}  // namespace

std::vector<Block> TopdownBlocks(FamilyContext& context) {
    std::vector<Block> blocks;
    for (const Subject& subject : kSubjects) {
        const std::string folder = run_tree::kJsonDir;
        const std::string begin = subject.kind.documentPrefix;
        for (const RunFile& file :
             context.run.Find(folder, begin, std::string(".") + kDataSuffix)) {
            const std::string element =
                topdown_files::ElementOf(subject.kind, file.name.substr(folder.size()));
            ReadDocuments(context.files, file, [&](const JsonValue& document, std::uint64_t line) {
                const JsonValue* metrics = FirstOf(MemberOf(&document, "content"));
                if (metrics == nullptr || !metrics->IsObject()) {
                    context.files.Trouble(file.index,
                                          "line " + std::to_string(line) + " holds no metrics");
                } else {
                    AddTree(context, subject.title + element, *metrics, context.At(file, line),
                            blocks);
                }
            });
        }
    }
    return blocks;
}

}  // namespace zarn::report
