#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>

#include "foundation/zarn_utils.h"

namespace zarn {
namespace {

TEST(AppendNumberTest, WritesAsAStreamDoes) {
    const double values[] = {0.0,
                             -0.0,
                             0.1,
                             12.5,
                             100.0,
                             99.95,
                             1234567,
                             123456,
                             1e-5,
                             0.0001,
                             1e300,
                             -3.25,
                             1.0 / 3,
                             99999.95,
                             312.4,
                             0.1 + 0.2,
                             std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::denorm_min()};
    for (const double value : values) {
        std::ostringstream stream;
        stream << "x" << value;
        std::string text = "x";
        AppendNumber(text, value);
        EXPECT_EQ(text, stream.str());
    }
}

// The short way for one decimal gives what the long way gives.
TEST(AppendNumberTest, WritesEveryTenthAsAStreamDoes) {
    for (unsigned tenths = 0; tenths < 1200000; tenths += tenths < 11000 ? 1 : 997) {
        for (const double value : {tenths / 10.0, std::nextafter(tenths / 10.0, 1e9)}) {
            std::ostringstream stream;
            stream << value;
            std::string text;
            AppendNumber(text, value);
            ASSERT_EQ(text, stream.str());
        }
    }
}

}  // namespace
}  // namespace zarn
