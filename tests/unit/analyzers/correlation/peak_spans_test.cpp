#include "analyzers/correlation/peak_spans.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zarn::test {
namespace {

std::vector<std::string> Spans(const std::vector<std::string>& peaks, std::uint32_t interval) {
    std::vector<TimeDigits> times;
    for (const std::string& peak : peaks) {
        times.push_back(TimeDigits::At(peak.data()));
    }
    std::vector<std::string> texts;
    for (const PeakSpan& span : SpansAround(times, interval)) {
        texts.push_back(std::string(span.lower.Text()) + "-" + std::string(span.upper.Text()));
    }
    return texts;
}

using Texts = std::vector<std::string>;

TEST(PeakSpans, LieOnEitherSide) {
    EXPECT_EQ(Spans({"20230101120030000000"}, 1000),
              Texts({"20230101120029999000-20230101120030001000"}));
    EXPECT_EQ(Spans({"20230101120030000000"}, 0),
              Texts({"20230101120030000000-20230101120030000000"}));
    EXPECT_EQ(Spans({}, 10), Texts());
}

// The digits know of no minutes: below the full minute stands its 99th second.
TEST(PeakSpans, CrossAMinuteOnDigits) {
    EXPECT_EQ(Spans({"20230101120000000000"}, 10000000),
              Texts({"20230101119990000000-20230101120010000000"}));
    EXPECT_EQ(Spans({"20230101120059000000"}, 2000000),
              Texts({"20230101120057000000-20230101120061000000"}));
}

TEST(PeakSpans, AreSortedAndMerged) {
    EXPECT_EQ(Spans({"20230101120050000000", "20230101120030001500", "20230101120030000000"}, 1000),
              Texts({"20230101120029999000-20230101120030002500",
                     "20230101120049999000-20230101120050001000"}));
    EXPECT_EQ(Spans({"20230101120030000000", "20230101120030000000"}, 5),
              Texts({"20230101120029999995-20230101120030000005"}));
    // That meet in one moment.
    EXPECT_EQ(Spans({"20230101120030000000", "20230101120030000010"}, 5),
              Texts({"20230101120029999995-20230101120030000015"}));
    EXPECT_EQ(Spans({"20230101120030000000", "20230101120030000011"}, 5),
              Texts({"20230101120029999995-20230101120030000005",
                     "20230101120030000006-20230101120030000016"}));
}

TEST(PeakSpans, EndAtTheFirstAndLast20Digits) {
    EXPECT_EQ(Spans({"00000000000000000003"}, 10),
              Texts({"00000000000000000000-00000000000000000013"}));
    EXPECT_EQ(Spans({"99999999999999999995"}, 10),
              Texts({"99999999999999999985-99999999999999999999"}));
}

TEST(PeakSpans, HoldTheirBounds) {
    const std::vector<TimeDigits> peaks = {TimeDigits::At("20230101120030000000"),
                                           TimeDigits::At("20230101120040000000")};
    const PeakSpans spans = SpansAround(peaks, 10);
    SpanWalk walk(spans);
    const auto isIn = [&walk](const char* time) { return IsInPeak(TimeDigits::At(time), walk); };
    EXPECT_FALSE(isIn("20230101120029999989"));
    EXPECT_TRUE(isIn("20230101120029999990"));
    EXPECT_TRUE(isIn("20230101120030000010"));
    EXPECT_TRUE(isIn("20230101120030000010"));
    EXPECT_FALSE(isIn("20230101120030000011"));
    EXPECT_TRUE(isIn("20230101120040000000"));
    EXPECT_FALSE(isIn("20230101120040000011"));
    EXPECT_FALSE(isIn("20230101120050000000"));
}

}  // namespace
}  // namespace zarn::test
