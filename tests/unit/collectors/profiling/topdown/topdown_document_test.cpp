#include "collectors/profiling/topdown/topdown_document.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace zarn {
namespace {

std::string Content(const TopdownData& data) {
    EventWriter writer;
    writer.Begin();
    WriteTopdownContent(data, writer);
    writer.End();
    return std::string(writer.Lines());
}

TEST(TopdownDocumentTest, TheBottleneckComesBeforeTheMetricsInTheOrderOfTheirNames) {
    TopdownData data;
    data.bottleneck = "b";
    data.metrics = {{"b", 0.25F}, {"b.c", 0.12345F}, {"B", 1.0F}, {"a", -0.00001F}};
    EXPECT_EQ(Content(data),
              R"({"content":[{"<==":"b","B":"1.0000","a":"-0.0000","b":"0.2500","b.c":"0.1235"}]})"
              "\n");
}

TEST(TopdownDocumentTest, WithoutMetricsThereIsTheBottleneckAlone) {
    EXPECT_EQ(Content({}), "{\"content\":[{\"<==\":\"\"}]}\n");
}

TEST(TopdownDocumentTest, NoNumberHasNoSign) {
    constexpr float kNoNumber = std::numeric_limits<float>::quiet_NaN();
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    TopdownData data;
    data.metrics = {{"a", kNoNumber},
                    {"b", std::copysign(kNoNumber, -1.0F)},
                    {"c", kInfinity},
                    {"d", -kInfinity},
                    {"e", std::numeric_limits<float>::max()}};
    EXPECT_EQ(Content(data), R"({"content":[{"<==":"","a":"nan","b":"nan","c":"inf","d":"-inf",)"
                             R"("e":"340282346638528859811704183484516925440.0000"}]})"
                             "\n");
}

}  // namespace
}  // namespace zarn
