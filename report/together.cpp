#include "report/together.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace zarn::report {
namespace {

// Of a chart, so that the lines of two or three runs can be told apart.
constexpr std::size_t kMostLines = 12;

constexpr double kPercent = 100.0;

// The blocks of one kind that have the same title, in the order of the runs.
template <typename Kind>
struct Namesakes {
    std::string title;
    std::vector<const Kind*> blocks;
    std::set<std::uint32_t> runs;
};

template <typename Kind>
[[nodiscard]] std::vector<Namesakes<Kind>> NamesakesIn(const std::vector<Page>& pages) {
    std::vector<Namesakes<Kind>> all;
    std::map<std::string, std::size_t> places;
    for (const Page& page : pages) {
        const std::string family = page.id.substr(0, page.id.find('-'));
        for (const Block& block : page.blocks) {
            const auto* own = std::get_if<Kind>(&block);
            if (own == nullptr || !page.run) {
                continue;
            }
            const std::string key = family + " " + own->head.title;
            const auto [place, isNew] = places.try_emplace(key, all.size());
            if (isNew) {
                all.push_back({own->head.title, {}, {}});
            }
            // Of a run that has several the first counts.
            if (all[place->second].runs.insert(*page.run).second) {
                all[place->second].blocks.push_back(own);
            }
        }
    }
    return all;
}

// A chart with the lines of the same name of all of them.
[[nodiscard]] std::optional<SeriesBlock> ChartOf(const Namesakes<SeriesBlock>& namesakes) {
    SeriesBlock chart;
    chart.head.title = namesakes.title;
    chart.unit = namesakes.blocks.front()->unit;
    std::set<std::string> names;
    for (const SeriesLine& line : namesakes.blocks.front()->series) {
        std::vector<const SeriesLine*> same;
        for (const SeriesBlock* block : namesakes.blocks) {
            const auto found =
                std::find_if(block->series.begin(), block->series.end(),
                             [&line](const SeriesLine& one) { return one.name == line.name; });
            if (found != block->series.end()) {
                same.push_back(&*found);
            }
        }
        // Processes may share a name: of each chart the first one counts.
        if (same.size() > 1 && names.size() < kMostLines && names.insert(line.name).second) {
            for (const SeriesLine* one : same) {
                chart.series.push_back(*one);
            }
        }
    }
    for (const SeriesBlock* block : namesakes.blocks) {
        chart.total += block->total;
    }
    return chart.series.empty() ? std::nullopt : std::optional(std::move(chart));
}

// A node of either stack; the other one may lack it.
[[nodiscard]] FlameNode Joined(const FlameNode* first, const FlameNode* second, double firstAll,
                               double secondAll) {
    const double before = first == nullptr ? 0.0 : first->value;
    const double after = second == nullptr ? 0.0 : second->value;
    FlameNode joined;
    joined.name = first == nullptr ? second->name : first->name;
    joined.value = before + after;
    joined.delta = after / secondAll * kPercent - before / firstAll * kPercent;
    std::map<std::string, std::pair<const FlameNode*, const FlameNode*>> children;
    for (std::size_t i = 0; first != nullptr && i < first->children.size(); ++i) {
        children[first->children[i].name].first = &first->children[i];
    }
    for (std::size_t i = 0; second != nullptr && i < second->children.size(); ++i) {
        children[second->children[i].name].second = &second->children[i];
    }
    for (const auto& [name, pair] : children) {
        joined.children.push_back(Joined(pair.first, pair.second, firstAll, secondAll));
    }
    return joined;
}

}  // namespace

FlameNode DifferenceOfStacks(const FlameNode& first, const FlameNode& second) {
    // Stacks without a sample have no shares, and differ by those of the other.
    return Joined(&first, &second, std::max(first.value, 1.0), std::max(second.value, 1.0));
}

std::optional<Page> TogetherPage(const std::vector<Page>& pages) {
    Page page{"together", "Runs together", {}, {}};
    for (const auto& namesakes : NamesakesIn<SeriesBlock>(pages)) {
        if (namesakes.runs.size() > 1 && !namesakes.blocks.front()->isStacked) {
            if (auto chart = ChartOf(namesakes)) {
                page.blocks.emplace_back(std::move(*chart));
            }
        }
    }
    for (const auto& namesakes : NamesakesIn<FlameBlock>(pages)) {
        if (namesakes.runs.size() == 2) {
            FlameBlock block;
            block.head.title = namesakes.title + ": difference";
            block.head.note =
                "The samples of both runs; the difference is the second run's share minus the "
                "first one's, in points.";
            block.unit = namesakes.blocks.front()->unit;
            block.root = DifferenceOfStacks(namesakes.blocks[0]->root, namesakes.blocks[1]->root);
            page.blocks.emplace_back(std::move(block));
        }
    }
    return page.blocks.empty() ? std::nullopt : std::optional(std::move(page));
}

}  // namespace zarn::report
