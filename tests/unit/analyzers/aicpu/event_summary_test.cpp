#include "analyzers/aicpu/event_summary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/files.h"

namespace zarn {
namespace {

using testing::ElementsAre;

const std::string kPass =
    "publish_event_num 10\nmax time(us) 91\nave time(us) 9.5\nmax time(us) 81\nave time(us) 8\n"
    "sched_event_num 9\nmax time(us) 71\nave time(us) 7\n"
    "wakeup_event_num 3\nmax time(us) 61\nave time(us) 6\nwait_event_num 1\n"
    "event id,publish event num,sched event num\n4,10,9\n\n5,1\n6,1,2,3\n7,2,2\n";

void Feed(EventSummaryReader& reader, const std::string& pass) {
    reader.BeginPass();
    LineCursor lines(pass);
    for (std::string_view line; lines.Next(line);) {
        reader.Take(line);
    }
}

std::string Without(std::string text, const std::string& line) {
    return text.erase(text.find(line), line.size());
}

// The values of each series, joined by blanks.
std::vector<std::string> SeriesOf(EventSummaryReader& reader) {
    std::vector<std::string> texts;
    for (const ValueSeries& series : reader.TakeSeries()) {
        std::string& text = texts.emplace_back();
        series.ForEach([&text](std::string_view value) {
            text.append(text.empty() ? "" : " ").append(value);
        });
    }
    return texts;
}

TEST(EventSummaryTest, EachPassGivesAValueToEachSeries) {
    EventSummaryReader reader;
    Feed(reader, kPass);
    std::string second = kPass;
    second.replace(second.find("num 10"), 6, "num 25");
    Feed(reader, second);
    EXPECT_TRUE(reader.MakesSense());
    EXPECT_THAT(SeriesOf(reader), ElementsAre("10 25", "9 9", "3 3", "9.5 9.5", "91 91", "8 8",
                                              "81 81", "6 6", "61 61", "7 7", "71 71"));
}

TEST(EventSummaryTest, SystemCallsComeBeforeTheKernelInAnyOrderOfTheTimes) {
    EventSummaryReader reader;
    Feed(reader,
         "wakeup_event_num 3\nave time(us) 6\nmax time(us) 61\nsched_event_num 9\n"
         "ave time(us) 7\nmax time(us) 71\nmax time(us) 1000\npublish_event_num 10\n"
         "ave time(us) 9\nmax time(us) 91\nave time(us) 8\nmax time(us) 81\nave time(us) 1000\n");
    EXPECT_TRUE(reader.MakesSense());
    EXPECT_THAT(SeriesOf(reader),
                ElementsAre("10", "9", "3", "9", "91", "8", "81", "6", "61", "7", "71"));
}

TEST(EventSummaryTest, TheTableIsThatOfTheLastPass) {
    EventSummaryReader reader;
    Feed(reader, kPass);
    ASSERT_EQ(reader.Events().size(), 2U);
    EXPECT_EQ(reader.Events()[0].id, "4");
    EXPECT_EQ(reader.Events()[0].published, "10");
    EXPECT_EQ(reader.Events()[0].scheduled, "9");
    EXPECT_EQ(reader.Events()[1].id, "7");
    Feed(reader, kPass.substr(0, kPass.find("event id")));
    EXPECT_TRUE(reader.MakesSense());
    EXPECT_TRUE(reader.Events().empty());
}

TEST(EventSummaryTest, APassWithoutItsCountsIsBad) {
    for (const char* line :
         {"publish_event_num 10\n", "sched_event_num 9\n", "wakeup_event_num 3\n",
          "ave time(us) 9.5\n", "max time(us) 71\n", "max time(us) 61\n"}) {
        EventSummaryReader reader;
        Feed(reader, Without(kPass, line));
        EXPECT_FALSE(reader.MakesSense()) << line;
        Feed(reader, kPass);
        EXPECT_FALSE(reader.MakesSense()) << line << "a later pass does not mend it";
    }
    EventSummaryReader reader;
    Feed(reader, kPass);
    Feed(reader, "");
    EXPECT_FALSE(reader.MakesSense());
    EventSummaryReader words;
    Feed(words, Without(kPass, "publish_event_num 10\n") + "publish_event_num many\n");
    EXPECT_FALSE(words.MakesSense());
}

TEST(EventSummaryTest, ACountGivenTwiceCountsOnce) {
    EventSummaryReader reader;
    Feed(reader, "publish_event_num 99\n" + kPass);
    EXPECT_TRUE(reader.MakesSense());
    EXPECT_EQ(SeriesOf(reader)[0], "99");
}

}  // namespace
}  // namespace zarn
