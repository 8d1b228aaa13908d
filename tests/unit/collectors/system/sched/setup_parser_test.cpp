#include "collectors/system/sched/setup_parser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/temp_dir.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// "id=value" of each row.
std::vector<std::string> TextsOf(const SetupRows& parsed) {
    std::vector<std::string> texts;
    for (const SetupRow& row : parsed.rows) {
        texts.push_back(row.id + "=" + row.value);
    }
    return texts;
}

TEST(SetupParserTest, AThreadsNameIsTheRestOfTheLine) {
    const SetupRows parsed = ParseThreadList(
        "    PID    SPID TTY          TIME CMD\n"
        "  22098   22098 ?        00:00:00 bash\n"
        "  22098   22100 pts/0    00:00:01 my  own thread\r\n"
        "  22098   22101 pts/0    00:00:01 \n"
        "  22098   x     pts/0    00:00:01 a\n"
        "\n"
        "    PID    SPID TTY          TIME CMD\n"
        "  5       6 ?        00:00:00 $(reboot)");
    EXPECT_THAT(TextsOf(parsed), ElementsAre("22098=bash", "22100=my  own thread", "6=$(reboot)"));
    EXPECT_EQ(parsed.shortRows, 2U);
}

TEST(SetupParserTest, TheHeadSaysWhereAPriorityStands) {
    const SetupRows parsed = ParsePriorities(
        "F S   UID   PID  PPID  C PRI  NI ADDR SZ WCHAN  TTY        TIME CMD\n"
        "4 S     0 22098 22085  0  80   0 -  1365 poll_s ?          0:00 bash /dev/fd/3\n"
        "F S   UID   PID  SPID  PPID  C PRI  NI ADDR SZ WCHAN  TTY        TIME CMD\n"
        "4 S     0 22098 22099 22085  0 -40   - -  1365 poll_s ?          0:00 loop\n"
        "4 S     0 22098 22099\n"
        "4 S     0 22098 word 22085  0 -40   - -\n");
    EXPECT_THAT(TextsOf(parsed), ElementsAre("22098=80", "22099=-40"));
    EXPECT_EQ(parsed.shortRows, 2U);
}

TEST(SetupParserTest, WithoutAHeadNoPriorityIsKnown) {
    const SetupRows parsed =
        ParsePriorities("4 S 0 22098 22085 0 80 0 - 1365 poll_s ? 0:00 bash\n\n");
    EXPECT_THAT(parsed.rows, IsEmpty());
    EXPECT_EQ(parsed.shortRows, 1U);
}

TEST(SetupParserTest, APolicyKeepsItsFlags) {
    const SetupRows parsed = ParsePolicies(
        "pid 7's current scheduling policy: SCHED_OTHER\n"
        "pid 7's current scheduling priority: 0\n"
        "pid 8's current scheduling policy: SCHED_FIFO|SCHED_RESET_ON_FORK\n"
        "pid 9's current scheduling policy: SCHED_DEADLINE\r\n"
        "pid 9's current runtime/deadline/period parameters: 1/2/3\n"
        "pid 's current scheduling policy: SCHED_RR\n"
        "pid 10's current scheduling policy:\n"
        "a pid 11's current scheduling policy: SCHED_RR\n");
    EXPECT_THAT(TextsOf(parsed), ElementsAre("7=SCHED_OTHER", "8=SCHED_FIFO|SCHED_RESET_ON_FORK",
                                             "9=SCHED_DEADLINE"));
    EXPECT_EQ(parsed.shortRows, 2U);
}

TEST(SetupParserTest, AnAffinityIsAList) {
    const SetupRows parsed = ParseAffinities(
        "pid 7's current affinity list: 0,2-3\npid 8's current affinity list: 1\npid x");
    EXPECT_THAT(TextsOf(parsed), ElementsAre("7=0,2-3", "8=1"));
    EXPECT_EQ(parsed.shortRows, 0U);
}

TEST(SetupParserTest, TopTellsNamesAndPriorities) {
    const TopRows parsed = ParseTopThreads(
        "  PID USER      PR  NI    VIRT    RES    SHR S  %CPU  %MEM     TIME+ COMMAND\n"
        "   59 root      20   0   39756  12820   6368 S   0.0   0.1   0:00.22 my thread \n"
        "   60 root      rt   0   39756  12820   6368 S   0.0   0.1   0:00.22 migration/0\n"
        "   61 root      rt   0   39756  12820   6368 S   0.0   0.1   0:00.22\n");
    ASSERT_EQ(parsed.rows.size(), 2U);
    EXPECT_EQ(parsed.rows[0].id, "59");
    EXPECT_EQ(parsed.rows[0].name, "my thread");
    EXPECT_EQ(parsed.rows[0].priority, "20");
    EXPECT_EQ(parsed.rows[1].name, "migration/0");
    EXPECT_EQ(parsed.rows[1].priority, "rt");
    EXPECT_EQ(parsed.shortRows, 1U);
}

// What the tools print of threads of each policy, in the words of the kernel.
TEST(SetupParserTest, TheRealToolsAreRead) {
    const auto read = [](const char* name) { return ReadText(DataPath(name)); };
    EXPECT_THAT(TextsOf(ParseThreadList(read("ps-4.0.2/thread_list_of_1.txt"))),
                ElementsAre("1=sched setup", "2=my own", "3=fifo", "4=rr", "5=batch", "6=idle",
                            "7=deadline", "8=reset", "9=nice", "10=$(boot)"));
    EXPECT_THAT(TextsOf(ParsePriorities(read("ps-4.0.2/priority_of_1.txt"))), ElementsAre("1=80"));
    EXPECT_THAT(TextsOf(ParsePriorities(read("ps-4.0.2/thread_priorities_of_1.txt"))),
                ElementsAre("1=80", "2=80", "3=49", "4=39", "5=80", "6=80", "7=-41", "8=54", "9=87",
                            "10=80"));
    EXPECT_THAT(TextsOf(ParsePolicies(read("util-linux-2.38.1/chrt.txt"))),
                ElementsAre("1=SCHED_OTHER", "2=SCHED_OTHER", "3=SCHED_FIFO", "4=SCHED_RR",
                            "5=SCHED_BATCH", "6=SCHED_IDLE", "7=SCHED_DEADLINE",
                            "8=SCHED_FIFO|SCHED_RESET_ON_FORK", "9=SCHED_OTHER", "10=SCHED_OTHER"));
    EXPECT_THAT(TextsOf(ParseAffinities(read("util-linux-2.38.1/taskset.txt"))),
                ElementsAre("1=0,1", "2=0,1", "3=0,1", "4=1", "5=0,1", "6=0,1", "7=0,1", "8=0,1",
                            "9=0,1", "10=0,1"));
    std::vector<std::string> named;
    for (const TopRow& row : ParseTopThreads(read("top-4.0.2/named_threads.txt")).rows) {
        named.push_back(row.id + "=" + row.name + "," + row.priority);
    }
    EXPECT_THAT(named, ElementsAre("2=my own,20", "3=fifo,-11", "10=$(boot),20"));
}

TEST(SetupParserTest, LinesOfMegabytesAreLinesLikeAnyOther) {
    const std::string many(16 << 20, 'n');
    const std::string blanks(16 << 20, ' ');
    EXPECT_THAT(TextsOf(ParseThreadList("1 2 ? 0 " + many + blanks + "\n1 3 ? 0 b\n")),
                ElementsAre("2=" + many, "3=b"));
    EXPECT_THAT(TextsOf(ParsePriorities("PID PRI" + blanks + "\n1 80 " + many + "\n2 81\n")),
                ElementsAre("1=80", "2=81"));
    EXPECT_THAT(TextsOf(ParsePolicies("pid " + many + "\n" + many + "\n" +
                                      "pid 1's current scheduling policy: " + blanks + "A\n")),
                ElementsAre("1=A"));
    const TopRows top = ParseTopThreads("1 r 20 0 1 2 3 S 0.0 0.1 0:00 " + many + "\n" + many);
    ASSERT_EQ(top.rows.size(), 1U);
    EXPECT_EQ(top.rows[0].name, many);
}

TEST(SetupParserTest, AnythingElseIsNoRow) {
    for (const std::string& text : {std::string(), std::string("\n\n"), std::string("\0\1\xff", 3),
                                    std::string("error: no such process\n")}) {
        EXPECT_THAT(ParseThreadList(text).rows, IsEmpty());
        EXPECT_THAT(ParsePriorities(text).rows, IsEmpty());
        EXPECT_THAT(ParsePolicies(text).rows, IsEmpty());
        EXPECT_THAT(ParseAffinities(text).rows, IsEmpty());
        EXPECT_THAT(ParseTopThreads(text).rows, IsEmpty());
    }
}

}  // namespace
}  // namespace zarn::test
