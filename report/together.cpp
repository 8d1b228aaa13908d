#include "report/together.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace zarn::report {
namespace {

// Of a chart, so that they can be told apart.
constexpr std::size_t kMostLines = 12;

constexpr double kPercent = 100.0;

// A block, and where it stands: its page and its place there.
template <typename Kind>
struct Placed {
    const Kind* block;
    const Page* page;
    std::size_t place;
};

// The blocks of one kind that have the same title, in the order of the runs.
template <typename Kind>
struct Namesakes {
    std::string title;
    std::vector<Placed<Kind>> blocks;
    std::set<std::uint32_t> runs;
};

template <typename Kind>
[[nodiscard]] std::vector<Namesakes<Kind>> NamesakesIn(const std::vector<Page>& pages) {
    std::vector<Namesakes<Kind>> all;
    std::map<std::string, std::size_t> places;
    for (const Page& page : pages) {
        const std::string family = page.id.substr(0, page.id.find('-'));
        for (std::size_t i = 0; i < page.blocks.size(); ++i) {
            const auto* own = std::get_if<Kind>(&page.blocks[i]);
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
                all[place->second].blocks.push_back({own, &page, i});
            }
        }
    }
    return all;
}

// The line of that name, as one that has its values there.
[[nodiscard]] std::optional<SeriesLine> LikeLineOf(const Placed<SeriesBlock>& placed,
                                                   const std::string& name) {
    const std::vector<SeriesLine>& lines = placed.block->series;
    const auto found = std::find_if(lines.begin(), lines.end(),
                                    [&name](const SeriesLine& one) { return one.name == name; });
    if (found == lines.end()) {
        return std::nullopt;
    }
    SeriesLine line;
    line.name = name;
    line.run = found->run;
    line.like =
        LinePlace{placed.page->id, placed.place, static_cast<std::size_t>(found - lines.begin())};
    return line;
}

// What lines of these charts are called, in the order of the runs. Processes may share a name: of
// each chart the first one counts.
[[nodiscard]] std::vector<std::string> NamesOfLines(const Namesakes<SeriesBlock>& namesakes) {
    std::vector<std::string> names;
    std::set<std::string> known;
    for (const Placed<SeriesBlock>& placed : namesakes.blocks) {
        for (const SeriesLine& line : placed.block->series) {
            if (known.insert(line.name).second) {
                names.push_back(line.name);
            }
        }
    }
    return names;
}

// A chart with the lines of the same name, as many as can be told apart.
[[nodiscard]] std::optional<SeriesBlock> ChartOf(const Namesakes<SeriesBlock>& namesakes) {
    SeriesBlock chart;
    chart.head.title = namesakes.title;
    chart.unit = namesakes.blocks.front().block->unit;
    std::size_t shown = 0;
    std::size_t common = 0;
    for (const std::string& name : NamesOfLines(namesakes)) {
        std::vector<SeriesLine> same;
        for (const Placed<SeriesBlock>& placed : namesakes.blocks) {
            if (auto like = LikeLineOf(placed, name)) {
                same.push_back(std::move(*like));
            }
        }
        if (same.size() < 2) {
            continue;
        }
        const bool fits = shown == 0 || chart.series.size() + same.size() <= kMostLines;
        if (shown == common++ && fits) {
            ++shown;
            std::move(same.begin(), same.end(), std::back_inserter(chart.series));
        }
    }
    if (common > shown) {
        chart.head.note = "These are the first " + std::to_string(shown) + " of " +
                          std::to_string(common) +
                          " lines that runs have in common; their own pages have all.";
    }
    for (const Placed<SeriesBlock>& placed : namesakes.blocks) {
        chart.total += placed.block->total;
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
        if (namesakes.runs.size() > 1 && !namesakes.blocks.front().block->isStacked) {
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
            const FlameBlock& before = *namesakes.blocks[0].block;
            block.unit = before.unit;
            block.root = DifferenceOfStacks(before.root, namesakes.blocks[1].block->root);
            page.blocks.emplace_back(std::move(block));
        }
    }
    return page.blocks.empty() ? std::nullopt : std::optional(std::move(page));
}

}  // namespace zarn::report
