#include "analyzers/aicpu/process_sections.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

namespace zarn {
namespace {

using testing::ElementsAre;
using testing::Pair;

void Feed(PassReader& reader, std::initializer_list<const char*> lines) {
    reader.BeginPass();
    for (const char* line : lines) {
        reader.Take(line);
    }
}

std::string Joined(const ValueSeries& series) {
    std::string text;
    series.ForEach([&text](std::string_view value) { text.append(value).append(" "); });
    return text;
}

TEST(ProcessSectionsTest, ThePriorityIsThatOfTheProcess) {
    PriorityReader reader(12);
    EXPECT_FALSE(reader.MakesSense());
    Feed(reader, {"pid,name,priority", "1,a,1", "12,short", "12,node,5,more", "12,again,6"});
    EXPECT_EQ(reader.Name(), "node");
    EXPECT_EQ(reader.Priority(), "5");
    Feed(reader, {"1,a,1"});
    EXPECT_FALSE(reader.MakesSense());
}

TEST(ProcessSectionsTest, TheStatusIsPairsOfTheLastPass) {
    StatusReader reader;
    EXPECT_FALSE(reader.MakesSense());
    Feed(reader, {"old 1"});
    Feed(reader, {"status running", "", "alone", " wait_event_num  3 ", "text of words"});
    EXPECT_THAT(reader.Values(), ElementsAre(Pair("status", "running"), Pair("wait_event_num", "3"),
                                             Pair("text", "of words")));
    Feed(reader, {"none"});
    EXPECT_FALSE(reader.MakesSense());
}

TEST(ProcessSectionsTest, EventsOfAProcessAreSeries) {
    EventNumReader reader;
    Feed(reader, {"publish_event_num 10", "sched_event_num 9", "wait_event_num 1"});
    Feed(reader, {"sched_event_num 19", "publish_event_num 20", "publish_event_num 99"});
    EXPECT_TRUE(reader.MakesSense());
    EXPECT_EQ(Joined(reader.Published()), "10 20 ");
    EXPECT_EQ(Joined(reader.Scheduled()), "9 19 ");
    Feed(reader, {"publish_event_num 10", "sched_event_num x"});
    EXPECT_FALSE(reader.MakesSense());
    Feed(reader, {"publish_event_num 10", "sched_event_num 1"});
    EXPECT_FALSE(reader.MakesSense()) << "a later pass does not mend it";
}

TEST(ProcessSectionsTest, GroupsAreRowsUnderAHead) {
    GroupListReader reader;
    EXPECT_FALSE(reader.MakesSense());
    Feed(reader, {"", "gid,sched_type,thread_num", "31,1,3", "31,1", "", "31,1,3,4", "32,2,1"});
    ASSERT_EQ(reader.Groups().size(), 2U);
    EXPECT_THAT(reader.Groups()[0],
                ElementsAre(Pair("gid", "31"), Pair("sched_type", "1"), Pair("thread_num", "3")));
    EXPECT_THAT(reader.Groups()[1],
                ElementsAre(Pair("gid", "32"), Pair("sched_type", "2"), Pair("thread_num", "1")));
    Feed(reader, {"gid,sched_type"});
    EXPECT_TRUE(reader.MakesSense());
    EXPECT_TRUE(reader.Groups().empty());
    Feed(reader, {""});
    EXPECT_FALSE(reader.MakesSense());
}

}  // namespace
}  // namespace zarn
