#include "analyzers/aicpu/core_sections.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <regex>
#include <string>

namespace zarn {
namespace {

void Feed(PassReader& reader, std::initializer_list<const char*> lines) {
    reader.BeginPass();
    for (const char* line : lines) {
        reader.Take(line);
    }
}

TEST(CoreSectionsTest, APoolHasSixPieces) {
    const auto pool = ParsePool("4096:212:3884:0:655:1");
    ASSERT_TRUE(pool);
    EXPECT_EQ(pool->total, "4096");
    EXPECT_EQ(pool->inUse, "212");
    EXPECT_EQ(pool->greatestUse, "655");
    EXPECT_EQ(pool->failures, "1");
    for (const char* text : {"", "1:2:3:4:5", "1:2:3:4:5:6:7", "1,2,3,4,5,6", ":1:2:3:4:"}) {
        EXPECT_FALSE(ParsePool(text)) << text;
    }
}

TEST(CoreSectionsTest, ThePoolOfTheComplexIsTheSecondLineOfTheLastPass) {
    NodePoolReader reader;
    EXPECT_FALSE(reader.MakesSense());
    Feed(reader, {"head", "1:2:3:4:5:6", "7:7:7:7:7:7"});
    EXPECT_EQ(reader.Pool()->total, "1");
    Feed(reader, {"head", "9:2:3:4:5:6"});
    EXPECT_EQ(reader.Pool()->total, "9");
    Feed(reader, {"head"});
    EXPECT_FALSE(reader.MakesSense());
    Feed(reader, {"1:2:3:4:5:6", "x"});
    EXPECT_FALSE(reader.MakesSense());
}

TEST(CoreSectionsTest, ProcessesAreTheLinesThatTheExpressionMatches) {
    const std::regex pattern("^[0-9]+,.+,[0-9]+,[0-9]+,[0-9]+$");
    for (const char* line : {"1,a,2,3,4",
                             "1,a,b,2,3,4",
                             "1,,,2,3,4",
                             "1,5,6,7,8,9",
                             "12,two words,0,0,0",
                             "",
                             "1",
                             "1,a,2,3",
                             "1,,2,3,4",
                             "x,a,2,3,4",
                             ",a,2,3,4",
                             "1,a,2,3,",
                             "1,a,2,,4",
                             "1,a,2,3,4 ",
                             " 1,a,2,3,4",
                             "1,a,2,3,-4",
                             "1,a\rb,2,3,4",
                             "pid,name,1,2,3",
                             "1,2,3,4",
                             "1,1,2,3,4"}) {
        ProcListReader reader;
        Feed(reader, {line});
        EXPECT_EQ(reader.MakesSense(), std::regex_search(line, pattern)) << line;
    }
}

TEST(CoreSectionsTest, ProcessesAreThoseOfTheLastPass) {
    ProcListReader reader;
    EXPECT_FALSE(reader.MakesSense());
    Feed(reader, {"1,old,2,3,4"});
    Feed(reader, {"pid,name", "7,a,8,9,1", "", "8,b,1,2,3"});
    ASSERT_EQ(reader.Rows().size(), 2U);
    EXPECT_EQ(reader.Rows()[0].pid, "7");
    EXPECT_EQ(reader.Rows()[0].name, "a");
    EXPECT_EQ(reader.Rows()[0].published, "8");
    EXPECT_EQ(reader.Rows()[0].scheduled, "9");
    Feed(reader, {});
    EXPECT_FALSE(reader.MakesSense());
}

TEST(CoreSectionsTest, CoresOutsideTheComplexArePassedOver) {
    CorePoolsReader reader(1, 3);
    Feed(reader, {"2,1:2:3:4:5:6", "0,1:2:3:4:5:6", "1,1:2:3:4:5:6", "4,1:2:3:4:5:6",
                  "18446744073709551615,1:2:3:4:5:6", "x,1:2:3:4:5:6", "3,4,1:2:3:4:5:6", "3", "",
                  "3,9:2:3:4:8:7"});
    EXPECT_TRUE(reader.MakesSense());
    ASSERT_EQ(reader.Rows().size(), 2U) << "the first line is a head";
    EXPECT_EQ(reader.Rows()[0].core, 1U);
    EXPECT_EQ(reader.Rows()[1].core, 3U);
    EXPECT_EQ(reader.Rows()[1].pool.greatestUse, "8");
    Feed(reader, {"head", "1,1:2:3:4:5"});
    EXPECT_FALSE(reader.MakesSense());
    Feed(reader, {"head"});
    EXPECT_TRUE(reader.MakesSense());
    EXPECT_TRUE(reader.Rows().empty());
}

TEST(CoreSectionsTest, AComplexThatIsNoneHasNoCores) {
    CorePoolsReader reader(-5, -1);
    Feed(reader, {"head", "1,1:2:3:4:5:6", "18446744073709551615,1:2:3:4:5:6"});
    EXPECT_TRUE(reader.Rows().empty());
}

}  // namespace
}  // namespace zarn
