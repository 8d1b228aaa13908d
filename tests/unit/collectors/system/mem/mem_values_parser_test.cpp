#include "collectors/system/mem/mem_values_parser.h"

#include <gtest/gtest.h>

#include <string>

namespace zarn {
namespace {

const std::string kFortyDigits(40, '7');

struct Counter {
    std::string output;
    CounterResult result = CounterResult::Ok;
    std::int32_t value = 0;
};

TEST(MemCounterTest, IsTheNumberAtTheHeadLessItsFraction) {
    const Counter rows[] = {
        {"0\n", CounterResult::Ok, 0},
        {"2567172\n", CounterResult::Ok, 2567172},
        {"27168.9\n", CounterResult::Ok, 27168},
        {"1.23457e+06\n", CounterResult::Ok, 1234570},
        {"2.14748e+09\n", CounterResult::Ok, 2147480000},
        {"29872\n0\n", CounterResult::Ok, 29872},
        {"12 kB\n", CounterResult::Ok, 12},
        {"-5\n", CounterResult::Ok, -5},
        {"2147483647\n", CounterResult::Ok, 2147483647},
        {"-2147483648\n", CounterResult::Ok, -2147483647 - 1},
        {"2147483648\n", CounterResult::OutOfRange, 0},
        {"-2147483649\n", CounterResult::OutOfRange, 0},
        {"2.14749e+09\n", CounterResult::OutOfRange, 0},
        {"1e999\n", CounterResult::OutOfRange, 0},
        {kFortyDigits + "\n", CounterResult::OutOfRange, 0},
        {"", CounterResult::NoInteger, 0},
        {"\n", CounterResult::NoInteger, 0},
        {"7", CounterResult::NoInteger, 0},  // its last character is cut, whatever it is
        {"-\n", CounterResult::NoInteger, 0},
        {"K\n", CounterResult::NoInteger, 0},
        {"inf\n", CounterResult::NoInteger, 0},
        {"-nan\n", CounterResult::NoInteger, 0},
        {" 7\n", CounterResult::NoInteger, 0},
        {"\n7\n", CounterResult::NoInteger, 0},
        {std::string("\0"
                     "7\n",
                     3),
         CounterResult::NoInteger, 0},
    };
    for (const Counter& row : rows) {
        std::int32_t value = 99;
        EXPECT_EQ(ParseMemCounter(row.output, value), row.result) << row.output;
        EXPECT_EQ(value, row.result == CounterResult::Ok ? row.value : 99) << row.output;
    }
}

TEST(MemSumTest, IsDigitsAlone) {
    EXPECT_EQ(ParseMemSum("1833668\n"), "1833668");
    EXPECT_EQ(ParseMemSum("0\n"), "0");
    EXPECT_EQ(ParseMemSum(kFortyDigits + "\n"), kFortyDigits);
    for (const char* output : {"", "\n", "5", "12\n34\n", "12\r\n", "-1\n", "1.5\n",
                               "2.14748e+09\n", "K\n", "1 \n", " 1\n"}) {
        EXPECT_EQ(ParseMemSum(output), std::nullopt) << output;
    }
}

TEST(SharePoolAllocTest, LinesAddUp) {
    EXPECT_EQ(ParseSharePoolAlloc("512\n"), "512");
    EXPECT_EQ(ParseSharePoolAlloc("512\n1024\n8\n"), "1544");
    EXPECT_EQ(ParseSharePoolAlloc("\n512\n\n8\n"), "520");
    EXPECT_EQ(ParseSharePoolAlloc("18446744073709551614\n1\n"), "18446744073709551615");
}

TEST(SharePoolAllocTest, NothingCountsAsNothing) {
    EXPECT_EQ(ParseSharePoolAlloc(""), "0");
    EXPECT_EQ(ParseSharePoolAlloc("\n"), "0");
    EXPECT_EQ(ParseSharePoolAlloc("\n\n"), "0");
}

TEST(SharePoolAllocTest, RefusesWhatIsNoSum) {
    for (const std::string& output :
         {std::string("K\n"), std::string("-1\n"), std::string("512\nK\n"), std::string("5 6\n"),
          std::string("5\r\n6\n"), std::string("18446744073709551615\n1\n"), kFortyDigits + "\n"}) {
        EXPECT_EQ(ParseSharePoolAlloc(output), std::nullopt) << output;
    }
}

TEST(StatusWordsTest, AreNineInTheirOrder) {
    const auto words = ParseStatusWords("na\"me\\n\xff\n64\n1\n2\n3\n4\n5\n6\n7\n");
    ASSERT_TRUE(words.has_value());
    EXPECT_EQ(words->name, "na\"me\\n\xff");
    EXPECT_EQ(words->fdSize, "64");
    EXPECT_EQ(words->vmSize + words->vmData + words->vmStk + words->vmExe + words->vmLib, "12345");
    EXPECT_EQ(words->vmPte, "6");
    EXPECT_EQ(words->threads, "7");
}

TEST(StatusWordsTest, RefuseAnyOtherNumberOfWords) {
    // A kernel thread and a zombie have no sizes; a process without a name has eight words.
    for (const char* output : {"", "\n", "kthreadd\n64\n1\n", "\n64\n1\n2\n3\n4\n5\n6\n7\n",
                               "a b\n64\n1\n2\n3\n4\n5\n6\n7\n", "a\n64\n1\n2\n3\n4\n5\n6\n7\n8\n",
                               "a\n64\n1\n2\n3\nK\n5\n6\n7\n", "a\n-64\n1\n2\n3\n4\n5\n6\n7\n"}) {
        EXPECT_FALSE(ParseStatusWords(output).has_value()) << output;
    }
}

}  // namespace
}  // namespace zarn
