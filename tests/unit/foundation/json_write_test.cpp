#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>
#include <string>

#include "foundation/json.h"

namespace zarn {
namespace {

std::string Ours(const JsonValue& value) {
    rapidjson::StringBuffer buffer;
    WriteJson(value, buffer);
    return {buffer.GetString(), buffer.GetSize()};
}

std::string Theirs(const JsonValue& value) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    EXPECT_TRUE(value.Accept(writer));
    return {buffer.GetString(), buffer.GetSize()};
}

class WriteJsonTest : public testing::TestWithParam<const char*> {};

// Compact documents: what is read is written again, and as the library writes it.
TEST_P(WriteJsonTest, GivesTheCompactText) {
    JsonDocument document;
    ASSERT_TRUE(ParseJson(GetParam(), document));
    EXPECT_EQ(Ours(document), GetParam());
    EXPECT_EQ(Theirs(document), GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Texts, WriteJsonTest,
    testing::Values("null", "true", "false", "0", "-1", "2147483647", "2147483648", "-2147483648",
                    "4294967295", "4294967296", "9223372036854775807", "-9223372036854775808",
                    "18446744073709551615", "0.5", "-0.0", "1e300", "1e-7", "123456.789", "0.1",
                    R"("")", R"("text")", R"("a\"b\\c/d")", R"("\b\f\n\r\t\u0000\u001F")",
                    "\"\x7f\xc3\xa4\"", "[]", "{}", "[[],{},[1]]", R"({"a":{"b":[]},"":1})",
                    R"([1,"a",{"b":null,"c":[true,false]},[[2.5]]])", R"({"a":1,"a":2})"));

TEST(WriteJson, EscapesEveryByteAtEveryPlaceAsTheLibraryDoes) {
    for (std::size_t size = 1; size <= 20; ++size) {
        for (std::size_t at = 0; at < size; ++at) {
            for (unsigned byte = 0; byte < 256; ++byte) {
                std::string text(size, 'x');
                text[at] = static_cast<char>(byte);
                const JsonValue value(rapidjson::StringRef(text.data(), text.size()));
                ASSERT_EQ(Ours(value), Theirs(value)) << size << " " << at << " " << byte;
            }
        }
    }
}

// A random value; the strings hold any bytes, invalid UTF-8 too.
JsonValue RandomValue(std::mt19937_64& random, int depth, JsonAllocator& allocator) {
    switch (random() % (depth == 0 ? 5 : 7)) {
        case 0:
            return JsonValue(random() % 2 == 0);
        case 1:
            return JsonValue(static_cast<std::int64_t>(random()));
        case 2:
            return JsonValue(static_cast<double>(static_cast<std::int64_t>(random())) / 1e6);
        case 3:
            return JsonValue(static_cast<unsigned>(random() % 1000));
        case 4: {
            std::string text(random() % 40, '\0');
            for (char& c : text) {
                c = static_cast<char>(random() % 4 == 0 ? random() : 'a' + random() % 26);
            }
            return JsonValue(text, allocator);
        }
        case 5: {
            JsonValue array(rapidjson::kArrayType);
            for (std::size_t left = random() % 6; left > 0; --left) {
                array.PushBack(RandomValue(random, depth - 1, allocator), allocator);
            }
            return array;
        }
        default: {
            JsonValue object(rapidjson::kObjectType);
            for (std::size_t left = random() % 6; left > 0; --left) {
                object.AddMember(JsonValue(std::to_string(random() % 99), allocator),
                                 RandomValue(random, depth - 1, allocator), allocator);
            }
            return object;
        }
    }
}

TEST(WriteJson, WritesRandomValuesAsTheLibraryDoes) {
    std::mt19937_64 random(5);
    for (int round = 0; round < 2000; ++round) {
        JsonDocument owner;
        const JsonValue value = RandomValue(random, 5, owner.GetAllocator());
        ASSERT_EQ(Ours(value), Theirs(value)) << round;
    }
}

TEST(WriteJson, AppendsToTheBuffer) {
    rapidjson::StringBuffer buffer;
    WriteJson(JsonValue(1), buffer);
    WriteJson(JsonValue("a"), buffer);
    EXPECT_STREQ(buffer.GetString(), R"(1"a")");
}

TEST(WriteJson, GivesNullForWhatJsonHasNoNumberFor) {
    using Limits = std::numeric_limits<double>;
    JsonDocument document;
    document.SetArray();
    for (const double value : {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), 1.5}) {
        document.PushBack(value, document.GetAllocator());
    }
    EXPECT_EQ(Ours(document), "[null,null,null,1.5]");
}

}  // namespace
}  // namespace zarn
