#include "tests/support/ordinary_rights.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zarn::test {
namespace {

using Capabilities = std::array<__user_cap_data_struct, 2>;

bool Call(long number, Capabilities& capabilities) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    return ::syscall(number, &header, capabilities.data()) == 0;
}

}  // namespace

OrdinaryRights::OrdinaryRights() {
    EXPECT_TRUE(Call(SYS_capget, before_));
    Capabilities without = before_;
    without[0].effective &= ~(1U << CAP_DAC_OVERRIDE | 1U << CAP_DAC_READ_SEARCH);
    EXPECT_TRUE(Call(SYS_capset, without));
}

OrdinaryRights::~OrdinaryRights() {
    EXPECT_TRUE(Call(SYS_capset, before_));
}

}  // namespace zarn::test
