#include "collectors/profiling/sys_call/sys_call_document.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace zarn {
namespace {

constexpr const char* kTime = "20230101120000123";

std::string Document(const std::string& content) {
    return R"({"objectId":"soc_sys_call_info","happenTime":"20230101120000123",)"
           R"("eventId":"222210210","content":)" +
           content + "}\n";
}

// One of a single process.
std::string TextOf(std::vector<SummaryRow> rows, std::vector<CallDetails> details = {}) {
    std::vector<SysCallRecord> records;
    records.push_back({"app", "417", "log", std::move(rows), std::move(details)});
    EventWriter events;
    WriteSysCallDocument(records, kTime, events);
    return std::string(events.Lines());
}

const SummaryRow kRow = {"read", "87.50", "0.007", "7", "0.1", "0.2", "1000", "0"};
constexpr const char* kRowText =
    R"~("syscall-name":"read","time-percent(%)":"87.50","time-total(s)":"0.007","avg-time(us)":"7",)~"
    R"~("min-time(s)":"0.1","max-time(s)":"0.2","calls":"1000","errors":"0")~";

TEST(SysCallDocument, HasTheColumnsOfEachRow) {
    const std::string row = std::string("{") + kRowText + "}";
    EXPECT_EQ(TextOf({kRow, kRow}), Document(R"({"app":[)" + row + "," + row + "]}"));
}

TEST(SysCallDocument, ListsTheCallsOfRowsThatHaveSome) {
    std::vector<CallDetails> details(2);
    details[1].Add("12:00:00.1 <0.5>");
    details[1].Add("12:00:00.2 <0.25>");
    EXPECT_EQ(TextOf({kRow, kRow}, std::move(details)),
              Document(std::string(R"({"app":[{)") + kRowText + "},{" + kRowText +
                       R"(,"everyCall":[{"start_time":"12:00:00.1","time_cost":"0.5"},)"
                       R"({"start_time":"12:00:00.2","time_cost":"0.25"}]}]})"));
}

TEST(SysCallDocument, HasAnEmptyArrayForAProcessWithoutCalls) {
    EXPECT_EQ(TextOf({}), Document(R"({"app":[]})"));
}

TEST(SysCallDocument, HasTheProcessesInTheirOrder) {
    std::vector<SysCallRecord> records;
    records.push_back({"zeta", "1", "", {}, {}});
    records.push_back({"a\"b\\c", "2 3", "", {}, {}});
    EventWriter events;
    WriteSysCallDocument(records, kTime, events);
    EXPECT_EQ(events.Lines(), Document(R"({"zeta":[],"a\"b\\c":[]})"));
}

TEST(SysCallDocument, ARowOfOtherLengthHasTheSameColumns) {
    EXPECT_EQ(TextOf({{"read", "1", "0"}}),
              Document(R"~({"app":[{"syscall-name":"read","time-percent(%)":"1",)~"
                       R"~("time-total(s)":"0","avg-time(us)":"","min-time(s)":"",)~"
                       R"~("max-time(s)":"","calls":"","errors":""}]})~"));
    SummaryRow twelve = kRow;
    twelve.insert(twelve.end(), {"i", "j", "k", "l"});
    EXPECT_EQ(TextOf({twelve}), TextOf({kRow}));
}

}  // namespace
}  // namespace zarn
