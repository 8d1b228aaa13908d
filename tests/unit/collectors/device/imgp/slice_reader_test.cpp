#include "collectors/device/imgp/slice_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "foundation/files.h"
#include "tests/support/amounts.h"

namespace zarn {
namespace {

std::string TableOf(std::string_view text) {
    CsvTable table;
    SliceReader reader(table);
    LineCursor lines(text);
    for (std::string_view line; lines.Next(line);) {
        reader.Take(line);
    }
    return table.TakeText();
}

TEST(SliceReaderTest, ASliceBecomesATable) {
    EXPECT_EQ(TableOf("Channel,In W*H,Out W*H,TimeStamp,Cost(us,Max Min Ave)\n"
                      "0,1920*1080,1280*720,1234 042000000,310 120 210\n"
                      "1,640*480,320*240,1235.142000000,311 121 211\n"),
              "Channel,InWidth,InHeight,OutWidth,OutHeight,TimeStamp(s),TimeStamp(ns),"
              "Cost_MAX(us),Cost_MIN(us),Cost_AVG(us),\n"
              "0,1920,1080,1280,720,1234,042000000,310,120,210,\n"
              "1,640,480,320,240,1235,142000000,311,121,211,\n");
    EXPECT_EQ(TableOf("Core,TimeStamp,Utilization(%),Time(us,avg:min:max)\n"
                      "0,1234 042000000,50,210:120:310\n"),
              "Core,TimeStamp(s),TimeStamp(ns),Utilization(%),Time_AVG(us),Time_MIN(us),"
              "Time_MAX(us),\n"
              "0,1234,042000000,50,210,120,310,\n");
}

// The forms of three times: the heading, and the names that it becomes.
TEST(SliceReaderTest, TheThreeFormsAreKnownAnywhereInAHeading) {
    const std::pair<const char*, const char*> rows[] = {
        {"Cost(us,Max Min Ave)", "Cost_MAX(us),Cost_MIN(us),Cost_AVG(us),"},
        {"Cost(max min avg)", "Cost_MAX(us),Cost_MIN(us),Cost_AVG(us),"},
        {"Cost(us,avg:min:max)", "Cost_AVG(us),Cost_MIN(us),Cost_MAX(us),"},
        {"Cost us,Max Min Ave", "Cost_MAX(us),Cost_MIN(us),Cost_AVG(us),"},
        {"Cost max min avg", "Cost_MAX(us),Cost_MIN(us),Cost_AVG(us),"},
        {" Cost (us,avg:min:max) of  a frame\t",
         "Cost of a frame_AVG(us),Cost of a frame_MIN(us),Cost of a frame_MAX(us),"},
        {"us,Max Min Ave", "Time_MAX(us),Time_MIN(us),Time_AVG(us),"},
        {"(max min avg)", "Time_MAX(us),Time_MIN(us),Time_AVG(us),"},
        {"us,avg:min:max", "Time_AVG(us),Time_MIN(us),Time_MAX(us),"},
        {"Cost(us,Max Min Ave", "Cost(_MAX(us),Cost(_MIN(us),Cost(_AVG(us),"},
        {"A(x,y)(max min avg)", "A(x y)_MAX(us),A(x y)_MIN(us),A(x y)_AVG(us),"},
    };
    for (const auto& [heading, names] : rows) {
        EXPECT_EQ(TableOf(heading), std::string(names) + "\n") << heading;
        EXPECT_EQ(TableOf("a," + std::string(heading) + ",b\n1,30 10 20,2\n"),
                  "a," + std::string(names) + "b,\n1,30,10,20,2,\n")
            << heading;
    }
}

TEST(SliceReaderTest, OtherHeadingsStandAsTheyAre) {
    EXPECT_EQ(TableOf("Core, in W*H,Time Stamp ,Max Min Ave,Range(low,high),(,x),\n"),
              "Core,in W*H,Time Stamp,Max Min Ave,Range(low high),( x),\n");
    // An opening bracket that none closes belongs to its heading alone.
    EXPECT_EQ(TableOf("A(b,C(d,TimeStamp\n"), "A(b,C(d,TimeStamp(s),TimeStamp(ns),\n");
    EXPECT_EQ(TableOf("Core,,x\n"), "Core,,x,\n");
}

TEST(SliceReaderTest, ARowHasAsManyCellsAsItsHead) {
    const std::string head = "Core,TimeStamp,In W*H,max min avg\n";
    const std::string names =
        "Core,TimeStamp(s),TimeStamp(ns),InWidth,InHeight,Time_MAX(us),Time_MIN(us),"
        "Time_AVG(us),\n";
    const std::pair<const char*, const char*> rows[] = {
        {"0", "0,,,,,,,,"},
        {",", ",,,,,,,,"},
        {"0,12,7,5", "0,12,,7,,5,,,"},
        {"0,12.,7*,5 6", "0,12,,7,,5,6,,"},
        {"0,1 2,3*4,5 6 7,8,9", "0,1,2,3,4,5,6,7,"},
        {"0,1 2,3*4,5:6:7:8", "0,1,2,3,4,5,6,7,"},
        {" 0 ,\t1  2 , 3 * 4 , 5 : 6  7 \r", "0,1,2,3,4,5,6,7,"},
        {"Core 0,one,two,three", "Core 0,one,,two,,three,,,"},
        {"a\x01\xff,.,*,:", "a\x01\xff,,,,,,,,"},
    };
    for (const auto& [row, cells] : rows) {
        EXPECT_EQ(TableOf(head + row + "\n"), names + cells + "\n") << row;
    }
}

TEST(SliceReaderTest, ARecordMayFollowAnother) {
    EXPECT_EQ(TableOf("\n \t\r\nCore,TimeStamp\n0,1 2\n\nChannel,W,In W*H\n3,a,4*5\n"
                      "Core,TimeStamp\n6,7 8"),
              "Core,TimeStamp(s),TimeStamp(ns),\n0,1,2,\n"
              "Channel,W,InWidth,InHeight,\n3,a,4,5,\n"
              "Core,TimeStamp(s),TimeStamp(ns),\n6,7,8,\n");
}

TEST(SliceReaderTest, NothingIsATableOfNothing) {
    EXPECT_EQ(TableOf(""), "");
    EXPECT_EQ(TableOf("\n\n \n"), "");
}

// Nothing is searched to the end of the line again and again.
TEST(SliceReaderTest, LongHeadsAndRowsCostTheirLength) {
    std::string brackets;
    std::string forms = "TimeStamp";
    for (std::size_t i = 0; i < test::Amount(1000000); ++i) {
        brackets += ",(";
        forms += ",us";
    }
    EXPECT_EQ(TableOf(brackets).size(), brackets.size() + 2);
    EXPECT_EQ(TableOf(forms).size(),
              forms.size() + std::string_view("(s),TimeStamp(ns),\n").size());
    EXPECT_EQ(TableOf("a,In W*H\n" + brackets), "a,InWidth,InHeight,\n,(,,\n");
}

}  // namespace
}  // namespace zarn
