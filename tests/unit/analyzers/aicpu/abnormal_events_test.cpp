#include "analyzers/aicpu/abnormal_events.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace zarn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

TEST(AbnormalEventsTest, AnEventThatSeveralPassesShowCountsOnce) {
    AbnormalEventReader reader(2, 1201);
    for (int pass = 0; pass < 3; ++pass) {
        reader.BeginPass();
        reader.Take("event,start_us,pid,tid,gid,cpu,us,thread");
        reader.Take("4,100,1201,0,31,1,900,slow");
        reader.Take("4,200,1201,0,31,1,900,slow");
        reader.Take("4,0300,77,0,31,1,900,other");
        reader.Take("");
    }
    reader.Take("4,300,1201,0,31,1,900,slow");  // the same number
    EXPECT_THAT(reader.Ranked(), ElementsAre(Pair("1201:slow", 2), Pair("77:other", 1)));
    EXPECT_THAT(reader.OwnStarts(), ElementsAre(100U, 200U));
}

TEST(AbnormalEventsTest, TheMostFrequentComesFirstAndEqualOnesByName) {
    AbnormalEventReader reader(2, 1);
    int start = 0;
    for (const char* thread : {"b", "c", "a", "c", "b", "c"}) {
        reader.Take("4," + std::to_string(start++) + ",1,0,0,0,9," + thread);
    }
    reader.Take("4,99,2,0,0,0,9,a");
    EXPECT_THAT(reader.Ranked(),
                ElementsAre(Pair("1:c", 3), Pair("1:b", 2), Pair("1:a", 1), Pair("2:a", 1)));
}

TEST(AbnormalEventsTest, ThePidStandsWhereTheListHasIt) {
    const char* line = "4,100,11,12,13,14,15,thread,last";
    const std::pair<const char*, const char*> rows[] = {{"thread_proc", "11:last"},
                                                        {"kernel_proc", "12:last"},
                                                        {"subs_proc", "13:last"},
                                                        {"syscall_proc", "12:last"},
                                                        {"wakeup_proc", "14:last"}};
    for (std::size_t i = 0; i < kAbnormalLists.size(); ++i) {
        AbnormalEventReader reader(kAbnormalLists[i].pidField, 0);
        reader.Take(line);
        EXPECT_STREQ(kAbnormalLists[i].name, rows[i].first);
        EXPECT_THAT(reader.Ranked(), ElementsAre(Pair(rows[i].second, 1))) << rows[i].first;
    }
}

TEST(AbnormalEventsTest, LinesThatAreNoEventsDoNotCountAndDoNotHideOnes) {
    AbnormalEventReader reader(2, 1);
    for (const char* line :
         {"", ",", "4", "4,100", "4,x,1,0,0,0,9,a", "4,100,x,0,0,0,9,a", "4,100,1,0,0,0,a",
          "4,-100,1,0,0,0,9,a", "4,100,,0,0,0,9,a", "4,1.5,1,0,0,0,9,a",
          "4,100,99999999999999999999,0,0,0,9,a", "\xff\xfe,\x01", ",,,,,,,,,,,,"}) {
        reader.Take(line);
    }
    EXPECT_THAT(reader.Ranked(), IsEmpty());
    reader.Take("4,100,1,0,0,0,9,a");
    EXPECT_THAT(reader.OwnStarts(), ElementsAre(100U));
    EXPECT_TRUE(reader.MakesSense());
}

TEST(AbnormalEventsTest, AThresholdIsTheFirstLineOfTheLastPass) {
    ThresholdReader reader;
    EXPECT_FALSE(reader.MakesSense());
    reader.BeginPass();
    reader.Take("2400");
    reader.BeginPass();
    EXPECT_FALSE(reader.MakesSense());
    reader.Take("");
    reader.Take(" 3000 ");
    reader.Take("1");
    EXPECT_EQ(reader.Value(), "3000");
}

}  // namespace
}  // namespace zarn
