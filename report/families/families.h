#pragma once

#include <vector>

#include "report/family.h"

// The families of a run tree: each finds its files and says in blocks what they hold; none, where
// the tree has no such files.
namespace zarn::report {

[[nodiscard]] std::vector<Block> CpuBlocks(FamilyContext& context);
[[nodiscard]] std::vector<Block> DdrBlocks(FamilyContext& context);
[[nodiscard]] std::vector<Block> MemoryBlocks(FamilyContext& context);
[[nodiscard]] std::vector<Block> SchedulerBlocks(FamilyContext& context);

}  // namespace zarn::report
