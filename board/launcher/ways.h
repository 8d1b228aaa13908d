#pragma once

#include <optional>
#include <string>
#include <vector>

#include "board/launcher/installation.h"
#include "board/launcher/options.h"

// The ways in which a board's paths can get in their places on this machine.
namespace zarn::board {

// A way that this machine does not let us go, and what to do about it.
struct Obstacle {
    std::string reason;
    std::string remedy;
};

// What stands in the way of each; nothing if it can be gone.
struct Ways {
    std::optional<Obstacle> byNamespace;
    std::optional<Obstacle> byProot;
};

[[nodiscard]] std::optional<Obstacle> NamespaceObstacle(const Installation& installation);
[[nodiscard]] std::optional<Obstacle> ProotObstacle();

// The way to go: the one asked for, or the first that can be gone. nullopt, after a line for each
// way that cannot, if none is left.
[[nodiscard]] std::optional<Paths> ChooseWay(Paths asked, const Installation& installation);

// The lines of --doctor.
[[nodiscard]] std::vector<std::string> DescribeWays(const Ways& ways);

}  // namespace zarn::board
