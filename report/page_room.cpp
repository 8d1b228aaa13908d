#include "report/page_room.h"

#include <algorithm>
#include <numeric>
#include <string>
#include <utility>

#include "report/payload.h"

namespace zarn::report {
namespace {

// The bytes that the block takes in the report.
[[nodiscard]] std::size_t SizeOf(Block& block) {
    Report report;
    report.pages.emplace_back();
    report.pages.front().blocks.push_back(std::move(block));
    std::size_t size = 0;
    WritePayload(report, Files(), [&size](std::string_view piece) { size += piece.size(); });
    block = std::move(report.pages.front().blocks.front());
    return size;
}

[[nodiscard]] std::vector<std::size_t> SizesOf(Page& page) {
    std::vector<std::size_t> sizes;
    sizes.reserve(page.blocks.size());
    for (Block& block : page.blocks) {
        sizes.push_back(SizeOf(block));
    }
    return sizes;
}

// The most bytes that each may take of `bytes`, so that the small ones are whole.
[[nodiscard]] std::size_t LevelOf(std::vector<std::size_t> sizes, std::size_t bytes) {
    std::sort(sizes.begin(), sizes.end());
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        const std::size_t share = bytes / (sizes.size() - i);
        if (sizes[i] > share) {
            return share;
        }
        bytes -= sizes[i];
    }
    return sizes.empty() ? 0 : sizes.back();
}

void Fit(const std::vector<std::size_t>& sizes, std::size_t bytes, Page& page) {
    std::vector<Block> blocks;
    std::uint64_t left = 0;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        if (sizes[i] > bytes) {
            ++left;
            continue;
        }
        bytes -= sizes[i];
        blocks.push_back(std::move(page.blocks[i]));
    }
    page.blocks = std::move(blocks);
    TellLeftOut(left, page);
}

}  // namespace

bool HasRoom(FamilyContext& context, const std::vector<Block>& blocks, std::uint64_t more) {
    const bool hasRoom = blocks.size() < kMostBlocks;
    context.leftOut += hasRoom ? 0 : more;
    return hasRoom;
}

void TellLeftOut(std::uint64_t blocks, Page& page) {
    if (blocks == 0) {
        return;
    }
    TextBlock text;
    text.head.title = "Left out";
    text.lines.push_back(PlainCell("For the size of the report, charts and tables of this page: " +
                                   std::to_string(blocks) + "."));
    page.blocks.emplace_back(std::move(text));
}

void FitPages(std::vector<Page>& pages, std::size_t bytes) {
    std::vector<std::vector<std::size_t>> sizes;
    std::vector<std::size_t> sums;
    for (Page& page : pages) {
        sizes.push_back(SizesOf(page));
        sums.push_back(std::accumulate(sizes.back().begin(), sizes.back().end(), std::size_t{0}));
    }
    const std::size_t level = LevelOf(sums, bytes);
    for (std::size_t i = 0; i < pages.size(); ++i) {
        if (sums[i] > level) {
            Fit(sizes[i], level, pages[i]);
        }
    }
}

}  // namespace zarn::report
