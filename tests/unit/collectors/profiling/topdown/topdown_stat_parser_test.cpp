#include "collectors/profiling/topdown/topdown_stat_parser.h"

#include <gmock/gmock.h>

#include "foundation/files.h"
#include "tests/support/amounts.h"
#include "tests/support/captured_streams.h"
#include "tests/support/temp_dir.h"

namespace zarn::test {
namespace {

using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

using Events = std::unordered_map<std::string, float>;

Events Parse(std::string_view text) {
    TopdownTotals totals;
    const Captured said = Capture([&] {
        LineCursor lines(text);
        for (std::string_view line; lines.Next(line);) {
            totals.Add(line);
        }
    });
    EXPECT_EQ(said.out + said.err, "");
    return totals.Events();
}

TEST(TopdownTotalsTest, CountersAreAddedUpOverTheIntervals) {
    EXPECT_THAT(Parse("# started on Thu Jan  1 00:00:00 1970\n"
                      "\n"
                      "     2.001024527;1000;;r11;57103;2.86;;\n"
                      "     2.001024527;30;;r8;57103;2.86;;\n"
                      "     4.002024527;500;;r11;57103;2.86;;\n"
                      "     4.002024527;5;;r8;57103;2.86;;\n"),
                UnorderedElementsAre(Pair("CPU_CYCLES", 1500.0F), Pair("INST_RETIRED", 35.0F)));
}

TEST(TopdownTotalsTest, EmptyFieldsDoNotCount) {
    EXPECT_THAT(Parse("2.0;;7;;;r11"), UnorderedElementsAre(Pair("CPU_CYCLES", 7.0F)));
    EXPECT_THAT(Parse(";2.0;7;r11;"), UnorderedElementsAre(Pair("CPU_CYCLES", 7.0F)));
    EXPECT_THAT(Parse("  2.0;7;r11  "), UnorderedElementsAre(Pair("CPU_CYCLES", 7.0F)));
}

TEST(TopdownTotalsTest, OtherLinesArePassedOver) {
    EXPECT_THAT(Parse("#2.0;7;r11\n  # 2.0;7;r11\n   \n;;;\n2.0\n2.0;7\n2.0;7;r12;r11\n"
                      "2.0;7;msec;task-clock\n2.0;7;r11 \n2.0;7; r11;\n\t#;7;r99\n"),
                UnorderedElementsAre(Pair("CPU_CYCLES", 7.0F)));
    EXPECT_THAT(Parse(""), IsEmpty());
}

TEST(TopdownTotalsTest, ACountThatIsNoneAddsNothingAndIsThere) {
    for (const char* count :
         {"<not counted>", "<not supported>", "x", "-", "nan", "inf", "-inf", "NAN(7)", "1e39",
          "-1e39", "1e-60", "+7", " ", "99999999999999999999999999999999999999999", "e5"}) {
        EXPECT_THAT(Parse(std::string("2.0;") + count + ";;r11;0;100.00;;"),
                    UnorderedElementsAre(Pair("CPU_CYCLES", 0.0F)))
            << count;
        EXPECT_THAT(Parse("2.0;9;;r11\n4.0;" + std::string(count) + ";;r11\n6.0;1;;r11\n"),
                    UnorderedElementsAre(Pair("CPU_CYCLES", 10.0F)))
            << count;
    }
}

TEST(TopdownTotalsTest, CountsAreDecimalNumbersRoundedOnce) {
    const std::pair<const char*, float> rows[] = {
        {"16777217", 16777216.0F},  // half way between two floats: to the even one
        {"16777219", 16777220.0F},
        {"9999999999999999999", 1e19F},  // the greatest of 19 digits
        {"18446744073709551616", 18446744073709551616.0F},
        {"00000000000000000000000000000000000000000000000012", 12.0F},
        {"1.5", 1.5F},
        {"-3", -3.0F},
        {"1e3", 1000.0F},
        {" 12", 12.0F},
        {"12 msec", 12.0F},
        {"3.4028235e38", 3.4028235e38F},
    };
    for (const auto& [text, count] : rows) {
        EXPECT_THAT(Parse(std::string("2.0;") + text + ";;r11"),
                    UnorderedElementsAre(Pair("CPU_CYCLES", count)))
            << text;
    }
}

TEST(TopdownTotalsTest, AMachineThatLendsNoCountersHasThemAll) {
    const Events events = Parse(ReadText(DataPath("perf-6.1.187/no_counters.log")));
    EXPECT_EQ(events.size(), kTopdownEventCount);
    for (const auto& [name, count] : events) {
        EXPECT_EQ(count, 0.0F) << name;
    }
}

TEST(TopdownTotalsTest, SumsAreOfSinglePrecision) {
    EXPECT_THAT(Parse("2.0;16777216;;r11\n4.0;1;;r11\n6.0;1;;r11\n"),
                UnorderedElementsAre(Pair("CPU_CYCLES", 16777216.0F)));
}

TEST(TopdownTotalsTest, TextsOfAnyBytesAreTaken) {
    const std::string_view nul("2.0;7\0;;r11\n2.0;7;;r11\0\n\0\0;5;r8\n", 32);
    EXPECT_THAT(Parse(nul),
                UnorderedElementsAre(Pair("CPU_CYCLES", 7.0F), Pair("INST_RETIRED", 5.0F)));
    // Line ends of the other kind stay behind the last field, which is none of the first three.
    EXPECT_THAT(Parse("2.0;7;;r11;1;2;;\r\n\r\n4.0;7;;r11\r\n"),
                UnorderedElementsAre(Pair("CPU_CYCLES", 7.0F)));
    EXPECT_THAT(Parse("2.0;7;;r11;57103;2.86;;\n4.0;7;;r1"),
                UnorderedElementsAre(Pair("CPU_CYCLES", 7.0F)));
    const std::size_t size = test::Amount(16U << 20U);
    for (const char byte : {';', ' ', '0', '9', 'x', '\0', '#', '\xff'}) {
        const std::string many(size, byte);
        EXPECT_THAT(Parse(many), IsEmpty());
        EXPECT_THAT(Parse("2.0;" + many + ";3;r11;").size(), testing::Le(1U));
        EXPECT_THAT(Parse("2.0;3;r11;" + many), UnorderedElementsAre(Pair("CPU_CYCLES", 3.0F)));
    }
}

}  // namespace
}  // namespace zarn::test
