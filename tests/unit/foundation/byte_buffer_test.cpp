#include "foundation/byte_buffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

namespace zarn {
namespace {

TEST(ByteBufferTest, KeepsWhatIsUsedAndGrows) {
    ByteBuffer buffer;
    EXPECT_EQ(buffer.Room(), 0U);
    EXPECT_EQ(buffer.Text(0), "");
    std::string expected;
    for (std::size_t used = 0; used < (8U << 20U); used = expected.size()) {
        buffer.Reserve(used, 70000);
        ASSERT_GE(buffer.Room(), used + 70000);
        std::memset(buffer.Data() + used, static_cast<int>('a' + used % 26), 70000);
        expected.append(70000, static_cast<char>('a' + used % 26));
    }
    EXPECT_TRUE(buffer.Text(expected.size()) == expected);
    const std::size_t room = buffer.Room();
    buffer.Reserve(0, room);
    EXPECT_EQ(buffer.Room(), room);
}

TEST(ByteBufferTest, WhatIsMovedFromHasNoRoom) {
    ByteBuffer buffer;
    buffer.Reserve(0, 3);
    std::memcpy(buffer.Data(), "abc", 3);
    const ByteBuffer other(std::move(buffer));
    EXPECT_EQ(other.Text(3), "abc");
    EXPECT_EQ(buffer.Room(), 0U);  // NOLINT(bugprone-use-after-move): what is tested
}

TEST(ByteBufferTest, WhereMemoryDoesNotSufficeItStaysAsItWas) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer ends a program that asks for so much";
#endif
    ByteBuffer buffer;
    buffer.Reserve(0, 3);
    std::memcpy(buffer.Data(), "abc", 3);
    EXPECT_THROW(buffer.Reserve(3, std::numeric_limits<std::size_t>::max() / 4), std::bad_alloc);
    EXPECT_EQ(buffer.Text(3), "abc");
}

}  // namespace
}  // namespace zarn
