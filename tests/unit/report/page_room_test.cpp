#include "report/page_room.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "formats/aicpu.h"
#include "formats/hot_fun.h"
#include "formats/sched.h"
#include "formats/sys_call.h"
#include "report/payload.h"
#include "tests/unit/report/shown.h"

namespace zarn::report {
namespace {

using test::DocumentLine;
using test::kTime;
using test::RunTree;
using test::Shown;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::size_t kTextBytes = 10000;

// A page of texts, each of a title and that many times kTextBytes.
Page PageOf(const std::vector<std::size_t>& texts) {
    Page page;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        TextBlock text;
        text.head.title = std::to_string(i);
        text.lines.push_back(PlainCell(std::string(texts[i] * kTextBytes, 'x')));
        page.blocks.emplace_back(std::move(text));
    }
    return page;
}

// The titles of what a page holds, and what the last text says if it is of what was left out.
std::vector<std::string> TextsOf(const Page& page) {
    std::vector<std::string> texts;
    for (const Block& block : page.blocks) {
        const auto& text = std::get<TextBlock>(block);
        texts.push_back(text.head.title == "Left out"
                            ? std::get<std::string>(text.lines.front().value)
                            : text.head.title);
    }
    return texts;
}

TEST(PageRoomTest, LeavesOutOfTheLargestPagesAlone) {
    std::vector<Page> pages = {PageOf({1, 1}), PageOf({2, 5, 1, 1}), PageOf({}), PageOf({9, 3})};
    // Two pages are small: the others have half of what those leave.
    FitPages(pages, 12 * kTextBytes);
    EXPECT_THAT(TextsOf(pages[0]), ElementsAre("0", "1"));
    EXPECT_THAT(TextsOf(pages[1]),
                ElementsAre("0", "2", "3",
                            "For the size of the report, charts and tables of this page: 1."));
    EXPECT_THAT(TextsOf(pages[2]), IsEmpty());
    EXPECT_THAT(TextsOf(pages[3]),
                ElementsAre("1", "For the size of the report, charts and tables of this page: 1."));
}

TEST(PageRoomTest, LeavesPagesThatFitAsTheyAre) {
    std::vector<Page> pages = {PageOf({1, 2}), PageOf({3})};
    FitPages(pages, 7 * kTextBytes);
    EXPECT_THAT(TextsOf(pages[0]), ElementsAre("0", "1"));
    EXPECT_THAT(TextsOf(pages[1]), ElementsAre("0"));
    std::vector<Page> none;
    FitPages(none, 0);
    EXPECT_THAT(none, IsEmpty());
}

TEST(PageRoomTest, CountsWhatItTakesInTheReport) {
    TableBlock table;
    table.columns = {{"what", "", false}};
    table.rows.assign(1000, {PlainCell("a cell")});
    Report report;
    report.pages.resize(1);
    report.pages[0].blocks.emplace_back(table);
    std::size_t written = 0;
    WritePayload(report, Files(), [&written](std::string_view piece) { written += piece.size(); });
    FitPages(report.pages, written);
    EXPECT_THAT(report.pages[0].blocks, SizeIs(1));
    EXPECT_THAT(std::get<TableBlock>(report.pages[0].blocks[0]).rows, SizeIs(1000));
    FitPages(report.pages, written - 1);
    EXPECT_THAT(TextsOf(report.pages[0]),
                ElementsAre("For the size of the report, charts and tables of this page: 1."));
}

TEST(PageRoomTest, EndsAPageOfManyDocuments) {
    const RunTree tree;
    std::string calls;
    std::string functions;
    std::string lists;
    for (std::uint32_t i = 0; i < kMostBlocks + 3; ++i) {
        const std::string number = std::to_string(i);
        calls += DocumentLine(sys_call_files::kObjectId, kTime,
                              R"({"p)" + number + R"(":[{"syscall-name":"read"}]})");
        functions += DocumentLine(hot_fun_files::ObjectId(hot_fun_files::kGlobal), kTime,
                                  R"([{"percentage":"1%"}])");
        tree.Write(
            sched_files::kRawDir + sched_files::TimehistName(sched_files::CoreTarget(i), 1, kTime),
            "head\nhead\nhead\n  1.5 [0000]  a[1]  0.1  0.2  0.3\n");
        lists += (lists.empty() ? "{" : ",") + ('"' + number + R"(":[{"cpu":"1"}])");
    }
    tree.Write(RunTree::NameOf(sys_call_files::kDocument), calls);
    tree.Write("json/" + hot_fun_files::ObjectId(hot_fun_files::kGlobal) + "_1_1.data", functions);
    tree.Write(RunTree::NameOf(aicpu_files::kSocAnalysis),
               DocumentLine("soc_aicpu_ana", kTime, lists + "}"));
    const Shown shown(tree);
    for (const char* page : {"calls", "functions", "aicpu"}) {
        const std::vector<std::string> titles = shown.Titles(page);
        ASSERT_THAT(titles, SizeIs(kMostBlocks + 1)) << page;
        EXPECT_STREQ(shown.Block(page, "Left out")["lines"][0]["v"].GetString(),
                     "For the size of the report, charts and tables of this page: 3.");
    }
    // Each history makes two.
    EXPECT_THAT(shown.Titles("scheduler"), SizeIs(kMostBlocks + 1));
    EXPECT_STREQ(shown.Block("scheduler", "Left out")["lines"][0]["v"].GetString(),
                 "For the size of the report, charts and tables of this page: 406.");
}

}  // namespace
}  // namespace zarn::report
