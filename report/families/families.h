#pragma once

#include <vector>

#include "report/family.h"

// The families of a run tree: each finds its files and says in blocks what they hold; none, where
// the tree has no such files.
namespace zarn::report {

[[nodiscard]] std::vector<Block> CpuBlocks(FamilyContext& context);
[[nodiscard]] std::vector<Block> CpuPeakBlocks(FamilyContext& context);
[[nodiscard]] std::vector<Block> DdrBlocks(FamilyContext& context);
[[nodiscard]] std::vector<Block> MemoryBlocks(FamilyContext& context);
[[nodiscard]] std::vector<Block> SchedulerBlocks(FamilyContext& context);
[[nodiscard]] std::vector<Block> TopdownBlocks(FamilyContext& context);
[[nodiscard]] std::vector<Block> HotFunctionBlocks(FamilyContext& context);
[[nodiscard]] std::vector<Block> SystemCallBlocks(FamilyContext& context);
[[nodiscard]] std::vector<Block> BenchBlocks(FamilyContext& context);
[[nodiscard]] std::vector<Block> LibraryBlocks(FamilyContext& context);
[[nodiscard]] std::vector<Block> HeapBlocks(FamilyContext& context);
[[nodiscard]] std::vector<Block> AiCoreBlocks(FamilyContext& context);
[[nodiscard]] std::vector<Block> AicpuBlocks(FamilyContext& context);
[[nodiscard]] std::vector<Block> ImageBlocks(FamilyContext& context);
[[nodiscard]] std::vector<Block> HeldBufferBlocks(FamilyContext& context);
[[nodiscard]] std::vector<Block> CorrelationBlocks(FamilyContext& context);
[[nodiscard]] std::vector<Block> ComparisonBlocks(FamilyContext& context);
[[nodiscard]] std::vector<Block> OptimizerBlocks(FamilyContext& context);

}  // namespace zarn::report
