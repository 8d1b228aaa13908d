#include "analyzers/correlation/time_digits.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "analyzers/correlation/time_set.h"

namespace zarn::test {
namespace {

// "none" for a text that is no moment.
std::string OfStamp(const std::string& stamp) {
    TimeDigits time;
    return ReadStamp(stamp, time) ? std::string(time.Text()) : "none";
}

std::string OfCell(const std::string& cell) {
    TimeDigits time;
    return ReadQuotedStamp(cell, time) ? std::string(time.Text()) : "none";
}

std::string OfSeconds(const std::string& seconds, const std::string& boot = "20230101120000") {
    BootClock clock(boot);
    TimeDigits time;
    return clock.Read(seconds, time) ? std::string(time.Text()) : "none";
}

TEST(TimeDigits, StampsAreFilledUp) {
    EXPECT_EQ(OfStamp("20230101120000123"), "20230101120000123000");
    EXPECT_EQ(OfCell("'20230101120000123"), "20230101120000123000");
}

TEST(TimeDigits, OtherTextsAreNoStamps) {
    for (const std::string& text :
         {std::string(), std::string("happen_time"), std::string("2023010112000012"),
          std::string("202301011200001234"), std::string("2023010112000012x"),
          std::string("20230101120000123000"), std::string(17, '\0'), std::string(100, '1')}) {
        EXPECT_EQ(OfStamp(text), "none") << text;
        EXPECT_EQ(OfCell("'" + text), "none") << text;
    }
    EXPECT_EQ(OfCell("20230101120000123"), "none");
    EXPECT_EQ(OfCell("'"), "none");
    EXPECT_EQ(OfCell("\"20230101120000123"), "none");
}

TEST(TimeDigits, SecondsFromBootingAreAddedAsDigits) {
    EXPECT_EQ(OfSeconds("0.000001"), "20230101120000000001");
    EXPECT_EQ(OfSeconds("59.999999"), "20230101120059999999");
    // There is no 61st second in a minute, and no 100th minute in an hour.
    EXPECT_EQ(OfSeconds("61.500000"), "20230101120061500000");
    EXPECT_EQ(OfSeconds("12345.678901"), "20230101132345678901");
    EXPECT_EQ(OfSeconds("7"), "20230101120000000007");
}

TEST(TimeDigits, OtherTextsAreNoSeconds) {
    for (const char* text : {"", ".", "1.5.0", "1,5", "-1.5", "x", "1.5s", "nan"}) {
        EXPECT_EQ(OfSeconds(text), "none") << text;
    }
}

TEST(TimeDigits, OnlySumsOf20DigitsAreMoments) {
    EXPECT_EQ(OfSeconds("1.000000", "2023010112000"), "none");
    EXPECT_EQ(OfSeconds("1.000000", "202301011200000"), "none");
    EXPECT_EQ(OfSeconds("1.000000", "000020230101120000"), "20230101120001000000");
    EXPECT_EQ(OfSeconds("1.000000", std::string(1000, '9')), "none");
    EXPECT_EQ(OfSeconds("90000000000000.000000"), "none");
}

std::vector<std::string> Moments(TimeSet& times) {
    std::vector<std::string> moments;
    for (const TimeDigits& time : times) {
        moments.emplace_back(time.Text().substr(kTimeDigits - 2));
    }
    return moments;
}

TimeDigits At(int microseconds) {
    std::string digits = "20230101120000000000";
    const std::string number = std::to_string(microseconds);
    digits.replace(digits.size() - number.size(), number.size(), number);
    return TimeDigits::At(digits.data());
}

using Texts = std::vector<std::string>;

TEST(TimeSet, HoldsEachMomentOnceInOrder) {
    TimeSet times;
    for (const int moment : {5, 7, 7, 3, 5, 9}) {
        times.Add(At(moment));
    }
    times.Sort();
    EXPECT_EQ(Moments(times), (Texts{"03", "05", "07", "09"}));
}

TEST(TimeSet, MayBeEmpty) {
    TimeSet times;
    times.Sort();
    EXPECT_EQ(Moments(times), Texts());
}

TEST(TimeSet, GivesBackWhatWasAddedLast) {
    TimeSet times;
    times.Add(At(1));
    const std::size_t before = times.Added();
    times.Add(At(2));
    times.Add(At(3));
    times.TakeBack(before);
    times.Add(At(4));
    times.Sort();
    EXPECT_EQ(Moments(times), (Texts{"01", "04"}));
}

}  // namespace
}  // namespace zarn::test
