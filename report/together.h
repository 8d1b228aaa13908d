#pragma once

#include <optional>
#include <string>
#include <vector>

#include "report/blocks.h"

namespace zarn::report {

// What several runs have in common, on one page: the charts of the same title with the lines of all
// of them, which the page in the browser draws from the starts of the runs, and the stacks of two
// runs with their difference. `pages` are the runs' own. None where there is nothing in common.
[[nodiscard]] std::optional<Page> TogetherPage(const std::vector<Page>& pages);

// Stacks of two recordings: the samples of both, and what the share of the second differs by from
// that of the first, in points.
[[nodiscard]] FlameNode DifferenceOfStacks(const FlameNode& first, const FlameNode& second);

}  // namespace zarn::report
