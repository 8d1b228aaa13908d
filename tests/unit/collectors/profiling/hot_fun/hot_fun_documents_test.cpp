#include "collectors/profiling/hot_fun/hot_fun_documents.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace zarn {
namespace {

ReportRows Rows() {
    ReportRows rows(9);
    rows.Add("64.15% 21.50% app libc.so.6 [.] main");
    rows.Add("1% 1% a\"b so [.] c\\d");
    return rows;
}

constexpr const char* kRows =
    R"([{"percentage":"64.15%","command":"app","shared_object":"libc.so.6","symbol":"main"},)"
    R"({"percentage":"1%","command":"a\"b","shared_object":"so","symbol":"c\\d"}])";

TEST(HotFunDocumentsTest, ARowIsAnObject) {
    EventWriter events;
    WriteRowsDocument(Rows(), "object", "20230101120000123", events);
    EXPECT_EQ(events.Lines(),
              std::string(R"({"eventId":"222200006","happenTime":"20230101120000123",)"
                          R"("objectId":"object","content":)") +
                  kRows + "}\n");
}

TEST(HotFunDocumentsTest, WithoutRowsThereIsAnEmptyArray) {
    EventWriter events;
    WriteRowsDocument(ReportRows(0), "o", "1", events);
    EXPECT_EQ(events.Lines(),
              R"({"eventId":"222200006","happenTime":"1","objectId":"o","content":[]})"
              "\n");
}

TEST(HotFunDocumentsTest, ProcessesHaveTheirRows) {
    EventWriter events;
    std::map<std::string, ReportRows> processes;
    processes.emplace("b", Rows());
    processes.emplace("a", ReportRows(0));
    WriteProcessDocument(processes, "o", "1", events);
    EXPECT_EQ(events.Lines(),
              std::string(R"({"eventId":"222200006","happenTime":"1","objectId":"o",)"
                          R"("content":{"a":[],"b":)") +
                  kRows + "}}\n");
}

TEST(HotFunDocumentsTest, SetsHaveTheirTotalAndTheirFunctions) {
    EventWriter events;
    const double none = std::numeric_limits<double>::quiet_NaN();
    WriteFunctionSetDocument({{"two", {none, {{"x", -none}}}},
                              {"one", {100.0, {{"b", 66.666}, {"a", 33.334}}}},
                              {"zero", {0.0, {}}}},
                             "o", "1", events);
    EXPECT_EQ(events.Lines(),
              R"({"eventId":"222200006","happenTime":"1","objectId":"o","content":)"
              R"({"one":{"SET_TOTAL":"100.00%","a":"33.33%","b":"66.67%"},)"
              R"("two":{"SET_TOTAL":"nan%","x":"nan%"},"zero":{"SET_TOTAL":"0.00%"}}})"
              "\n");
}

}  // namespace
}  // namespace zarn
