#include "collectors/profiling/sys_call/call_details.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/amounts.h"

namespace zarn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

std::vector<std::pair<std::string, std::string>> Details(const std::vector<std::string>& lines) {
    CallDetails details;
    for (const std::string& line : lines) {
        details.Add(line);
    }
    std::vector<std::pair<std::string, std::string>> calls;
    details.ForEach([&calls](std::string_view begin, std::string_view cost) {
        calls.emplace_back(begin, cost);
    });
    EXPECT_EQ(details.IsEmpty(), calls.empty());
    return calls;
}

TEST(CallDetails, HoldsBeginAndCostOfEachCall) {
    EXPECT_THAT(Details({"12:00:00.000001 <0.000012>", "12:00:00.000100 <1.5>", "1 <2>"}),
                ElementsAre(Pair("12:00:00.000001", "0.000012"), Pair("12:00:00.000100", "1.5"),
                            Pair("1", "2")));
    EXPECT_THAT(Details({}), IsEmpty());
}

TEST(CallDetails, ACallThatDidNotEndIsPassedOver) {
    EXPECT_THAT(Details({"12:00:00.000001 <unfinished", "12:00:00.000002 ...>",
                         "12:00:00.000003 ...,", "12:00:00.000004 <detached"}),
                IsEmpty());
}

TEST(CallDetails, OnlyTheFirstAndTheLastByteOfTheCostAreCut) {
    EXPECT_THAT(Details({"a x0.5y", "a 10"}), ElementsAre(Pair("a", "0.5")));
    EXPECT_THAT(Details({"a <.>", "a <1.2.3>", "a <-1>", "a <1e3>", "a <<1>>", "a <1>\r"}),
                ElementsAre(Pair("a", ".")));
}

// Two bytes are cut from it: a shorter one holds no number.
TEST(CallDetails, AShortCostIsPassedOver) {
    EXPECT_THAT(Details({"a <>", "a 1", "a <", "a "}), IsEmpty());
}

TEST(CallDetails, OtherNumbersOfWordsAndBlanks) {
    EXPECT_THAT(Details({"<0.5>", "", " ", " <0.5> "}), IsEmpty());
    EXPECT_THAT(Details({"  a   b <0.5>  "}), ElementsAre(Pair("a", "0.5")));
}

TEST(CallDetails, BytesOfAnyKindAreNoCost) {
    EXPECT_THAT(Details({std::string("a <1\0>", 6), "a <\xff>", "a\tb <1>"}),
                ElementsAre(Pair("a\tb", "1")));
    const std::string longest(test::Amount(16U << 20U), '7');
    EXPECT_TRUE(Details({"a <" + longest + ">", "b <1>"}) ==
                (std::vector<std::pair<std::string, std::string>>{{"a", longest}, {"b", "1"}}));
}

}  // namespace
}  // namespace zarn
