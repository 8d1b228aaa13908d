#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "report/blocks.h"
#include "report/family.h"

// What a tree of any size leaves no room for.
namespace zarn::report {

// Charts and tables of a page, beyond which a tree's further documents are not kept in memory.
inline constexpr std::size_t kMostBlocks = 400;

// Whether the page has room for more blocks; what it has none for is counted, `more` of them.
[[nodiscard]] bool HasRoom(FamilyContext& context, const std::vector<Block>& blocks,
                           std::uint64_t more = 1);

// Ends the blocks of a page in a text that tells how many more there were; does nothing for none.
void TellLeftOut(std::uint64_t blocks, Page& page);

// Leaves blocks out of the largest pages until what all of them take in the report is at most
// `bytes`, a text apart for each page that lost some. The first blocks that fit stay.
void FitPages(std::vector<Page>& pages, std::size_t bytes);

}  // namespace zarn::report
