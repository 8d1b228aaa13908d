#include "report/payload.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace zarn::report {
namespace {

// 2026-11-22 20:45:28.362654
constexpr Moment kMoment = 1795380728362.654;

// How a block is written, without its head.
std::string Written(Block block) {
    Report report;
    report.pages.push_back({"page", "Page", {}, {std::move(block)}});
    std::string text;
    WritePayload(report, Files(), [&text](std::string_view piece) { text += piece; });
    const std::string begin = R"("blocks":[)";
    const std::size_t from = text.find(begin) + begin.size();
    return text.substr(from, text.find("]}],\"foot\"") - from);
}

Cell CellAt(std::variant<Reason, double, std::string> value, Source source) {
    return {std::move(value), source, "", false};
}

TEST(PayloadTest, WritesAValueAloneWhereItsPlaceIsThatOfTheCellBefore) {
    const Source one{2, 3};
    Cell grey = CellAt(5.0, one);
    grey.grey = true;
    Cell made = CellAt(6.0, one);
    made.computed = "sum";
    TextBlock block;
    block.lines = {CellAt(1.5, one),
                   CellAt("two", one),
                   CellAt(Reason::NotFound, one),
                   {3.0, {}, "", false},
                   CellAt(4.0, one),
                   grey,
                   made,
                   CellAt(std::numeric_limits<double>::infinity(), one),
                   CellAt(7.0, {2, 4}),
                   CellAt(8.0, {2, 4})};
    EXPECT_EQ(Written(block),
              R"({"kind":"text","title":"","lines":[{"v":1.5,"src":[2,3]},"two",)"
              R"({"empty":"not-found","src":[2,3]},{"v":3},4,{"v":5,"src":[2,3],"grey":true},)"
              R"({"v":6,"src":[2,3],"computed":"sum"},{"v":null,"src":[2,3]},)"
              R"({"v":7,"src":[2,4]},8]})");
}

TEST(PayloadTest, WritesDifferencesOfMomentsAndLinesAndOnceWhatLinesShare) {
    SeriesBlock block;
    block.series.resize(5);
    block.series[0].name = "a";
    block.series[0].run = 1;
    block.series[0].moments = {kMoment, kMoment + 0.001, kMoment + 1000.0};
    block.series[0].values = {1.0, {}, 3.0};
    block.series[0].file = 5;
    block.series[0].lines = {7, 9, 8};
    block.series[1] = block.series[0];
    block.series[2] = block.series[0];
    block.series[2].lines = {7, 9, 10};
    block.series[3] = block.series[2];
    block.series[3].moments.back() += 1.0;
    block.series[4].name = "d";
    block.series[4].like = LinePlace{"cpu-2", 3, 1};
    EXPECT_EQ(Written(block),
              R"({"kind":"series","title":"","unit":"","series":[)"
              R"({"name":"a","run":1,"t":[1795380728362.654,1,999999],"v":[1,null,3],)"
              R"("src":{"file":5,"lines":[7,2,-1]}},{"name":"a","run":1,"v":[1,null,3]},)"
              R"({"name":"a","run":1,"t":[1795380728362.654,1,999999],"v":[1,null,3],)"
              R"("src":{"file":5,"lines":[7,2,1]}},)"
              R"({"name":"a","run":1,"t":[1795380728362.654,1,1000999],"v":[1,null,3],)"
              R"("src":{"file":5,"lines":[7,2,1]}},{"name":"d","run":0,"like":["cpu-2",3,1]}]})");
}

TEST(PayloadTest, NeverTakesLinesOfManyFilesForOnesThatShareThem) {
    SeriesBlock block;
    block.series.resize(2);
    for (std::uint32_t i = 0; i < 2; ++i) {
        block.series[i].name = i == 0 ? "a" : "b";
        block.series[i].moments = {0.0};
        block.series[i].values = {1.0};
        block.series[i].sources = {{i + 1, 1}};
    }
    EXPECT_EQ(Written(block), R"({"kind":"series","title":"","unit":"","series":[)"
                              R"({"name":"a","run":0,"t":[0],"v":[1],"srcs":[[1,1]]},)"
                              R"({"name":"b","run":0,"t":[0],"v":[1],"srcs":[[2,1]]}]})");
}

TEST(PayloadTest, WritesWhatThePointsOfAThinnedLineStandFor) {
    SeriesBlock block;
    block.series.resize(1);
    block.series[0].name = "a";
    block.series[0].moments = {0.0, 1.0};
    block.series[0].values = {1.0, {}};
    block.series[0].counts = {512, 0};
    block.series[0].means = {100.0 / 3.0, 0.0};
    EXPECT_EQ(Written(block), R"({"kind":"series","title":"","unit":"","series":[)"
                              R"({"name":"a","run":0,"t":[0,1000],"v":[1,null],)"
                              R"("counts":[512,0],"means":[33.333333,0]}]})");
}

TEST(PayloadTest, WritesHowLongSpansTake) {
    TimelineBlock block;
    block.rows = {{"w", 2, {{kMoment, kMoment + 0.25, 9}, {kMoment + 1.5, kMoment + 1.501, 5}}}};
    EXPECT_EQ(Written(block), R"({"kind":"timeline","title":"","rows":[{"name":"w",)"
                              R"("from":[1795380728362.654,1500],"us":[250,1],)"
                              R"("src":{"file":2,"lines":[9,-4]}}]})");
}

TEST(PayloadTest, WritesMomentsOfMarksAsThoseOfTheirPoints) {
    SeriesBlock block;
    block.marks = {{kMoment + 0.0002, {}, "m", Sign::Peak, {}}};
    block.bands = {{kMoment + 0.0002, kMoment + 1.0002, "b", {}}};
    EXPECT_EQ(Written(block), R"({"kind":"series","title":"","unit":"","series":[],)"
                              R"("marks":[{"t":1795380728362.654,"label":"m","sign":"peak"}],)"
                              R"("bands":[{"from":1795380728362.654,"to":1795380728363.654,)"
                              R"("label":"b"}]})");
}

}  // namespace
}  // namespace zarn::report
