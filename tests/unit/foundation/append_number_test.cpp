#include <gtest/gtest.h>

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

}  // namespace
}  // namespace zarn
