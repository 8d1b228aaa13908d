#include "collectors/system/sched/setup_documents.h"

#include <gtest/gtest.h>

#include "collectors/system/sched/collected_documents.h"

namespace zarn {
namespace {

const ThreadSetup kLoop = {"12", "loop", "80", "SCHED_OTHER", "0-1"};

TEST(SetupDocumentsTest, ValuesAreFoundByTheirIds) {
    const SetupValues values({{{"20", "b"}, {"3", "a"}, {"20", "c"}}, 0});
    EXPECT_EQ(values.Of("3"), "a");
    EXPECT_EQ(values.Of("20"), "b");
    EXPECT_EQ(values.Of("2"), "NA");
}

TEST(SetupDocumentsTest, CoresGoToTheThreadsOfTheirIds) {
    std::vector<ThreadSetup> threads = {{"1", "a", "80", "SCHED_RR", "NA"},
                                        {"2", "b", "90", "SCHED_RR", "NA"}};
    AddCores({{"2", "b", "NA", "NA", "3"}, {"9", "new", "NA", "NA", "4"}}, threads);
    ASSERT_EQ(threads.size(), 3U);
    EXPECT_EQ(threads[0].cores, "NA");
    EXPECT_EQ(threads[1].cores, "3");
    EXPECT_EQ(threads[1].priority, "90");
    EXPECT_EQ(threads[2].name, "new");
}

TEST(SetupDocumentsTest, ElementsHoldWhatIsAskedFor) {
    EventWriter events;
    events.BeginEventList(kSchedEventId, "time", "id");
    WriteProcessSetup("p:1", "priority", "80", events);
    WriteThreadSetups("p:1", {kLoop}, {true, false}, events);
    WriteThreadSetups("p:1", {}, {false, true}, events);
    WriteThreadSetups("p:1", {kLoop, kLoop}, {false, true}, events);
    events.EndEventList();
    const std::string cores = R"({"threadName":"loop","spid":"12","coreList":"0-1"})";
    EXPECT_EQ(events.Lines(),
              R"({"eventId":"222200002","happenTime":"time","objectId":"id","content":[)"
              R"({"p:1":{"priority":"80"}},)"
              R"({"p:1":[{"threadName":"loop","spid":"12","priority":"80",)"
              R"("schedPolicy":"SCHED_OTHER"}]},)"
              R"({"p:1":[]},{"p:1":[)" +
                  cores + "," + cores + "]}]}\n");
}

TEST(SetupDocumentsTest, TheTableQuotesWhatWouldPartCells) {
    CsvTable table;
    AppendSetupHead(table);
    AppendSetupRow("p:1", kLoop, table);
    AppendSetupRow("p:1", {"13", "a\"b", "NA", "NA", "0,2"}, table);
    EXPECT_EQ(table.TakeText(),
              "ProcessName:PID,ThreadName:SPID,Priority,SchedPolicy,CoreList,\n"
              "p:1,loop:12,80,SCHED_OTHER,0-1,\n"
              "p:1,\"a\"\"b:13\",NA,NA,\"0,2\",\n");
}

TEST(SetupDocumentsTest, ShortRowsAreCounted) {
    EXPECT_EQ(ShortRowWords(1), "1 row has too few fields");
    EXPECT_EQ(ShortRowWords(2), "2 rows have too few fields");
}

}  // namespace
}  // namespace zarn
