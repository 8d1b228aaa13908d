#include "kit/section.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include "foundation/console.h"
#include "tests/support/captured_streams.h"

namespace zarn {
namespace {

JsonDocument Parsed(std::string_view text) {
    JsonDocument document;
    EXPECT_TRUE(ParseJson(text, document));
    return document;
}

struct TypeCase {
    const char* text;
    std::vector<JsonType> types;
};

class HasTypeTest : public testing::TestWithParam<TypeCase> {};

TEST_P(HasTypeTest, HoldsForExactlyTheseTypes) {
    const JsonDocument document = Parsed(GetParam().text);
    for (const JsonType type :
         {JsonType::Array, JsonType::Object, JsonType::String, JsonType::Bool, JsonType::Unsigned,
          JsonType::Integer, JsonType::Floating, JsonType::Number}) {
        const auto& types = GetParam().types;
        EXPECT_EQ(HasType(document, type),
                  std::find(types.begin(), types.end(), type) != types.end())
            << GetParam().text << " " << static_cast<int>(type);
    }
}

using Type = JsonType;
INSTANTIATE_TEST_SUITE_P(
    Cases, HasTypeTest,
    testing::Values(TypeCase{"[]", {Type::Array}}, TypeCase{"{}", {Type::Object}},
                    TypeCase{"\"1\"", {Type::String}}, TypeCase{"true", {Type::Bool}},
                    TypeCase{"false", {Type::Bool}}, TypeCase{"null", {}},
                    TypeCase{"0", {Type::Unsigned, Type::Integer, Type::Number}},
                    TypeCase{"-1", {Type::Integer, Type::Number}},
                    TypeCase{"2147483647", {Type::Unsigned, Type::Integer, Type::Number}},
                    TypeCase{"2147483648", {Type::Unsigned, Type::Number}},
                    TypeCase{"4294967295", {Type::Unsigned, Type::Number}},
                    TypeCase{"4294967296", {Type::Number}}, TypeCase{"-2147483649", {Type::Number}},
                    TypeCase{"1.0", {Type::Floating, Type::Number}},
                    TypeCase{"1e3", {Type::Floating, Type::Number}},
                    TypeCase{"99999999999999999999", {Type::Floating, Type::Number}}));

TEST(FindMember, GivesTheFirstOfThatName) {
    const JsonDocument document = Parsed(R"({"a":1,"b":2,"a":3})");
    ASSERT_NE(FindMember(document, "a"), nullptr);
    EXPECT_EQ(FindMember(document, "a")->GetInt(), 1);
    EXPECT_EQ(FindMember(document, "A"), nullptr);
    EXPECT_EQ(FindMember(document, ""), nullptr);
}

TEST(FirstMissingKey, GoesInTheOrderOfTheKeys) {
    const JsonDocument document = Parsed(R"({"a":1,"c":null})");
    EXPECT_EQ(FirstMissingKey(document, {"a", "c"}), std::nullopt);
    EXPECT_EQ(FirstMissingKey(document, {"a", "d", "b"}), "d");
    EXPECT_EQ(FirstMissingKey(document, {}), std::nullopt);
}

TEST(AllHaveType, WantsPresenceAndType) {
    const JsonDocument document = Parsed(R"({"a":1,"b":"text"})");
    EXPECT_TRUE(AllHaveType(document, {{"a", Type::Unsigned}, {"b", Type::String}}));
    EXPECT_FALSE(AllHaveType(document, {{"a", Type::Unsigned}, {"b", Type::Bool}}));
    EXPECT_FALSE(AllHaveType(document, {{"c", Type::Unsigned}}));
    EXPECT_TRUE(AllHaveType(document, {}));
}

TEST(ReadStrings, StopsAtTheFirstThatIsNone) {
    std::vector<std::string> list{"before"};
    EXPECT_TRUE(ReadStrings(Parsed(R"(["a","b\u0000c"])"), "words", list));
    EXPECT_EQ(list, (std::vector<std::string>{"before", "a", std::string("b\0c", 3)}));
    const test::Captured captured = test::Capture(
        [&list] { EXPECT_FALSE(ReadStrings(Parsed(R"(["d",1,"e",2])"), "[Tag] words", list)); });
    EXPECT_EQ(captured.err, "[Tag] words\n");
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(list.back(), "d");
}

TEST(Console, EachLineGoesToItsStream) {
    const test::Captured captured = test::Capture([] {
        PrintLine("out");
        PrintError("err");
        PrintLine("");
        PrintFromSignalHandler("constant\n");
    });
    EXPECT_EQ(captured.out, "out\n\nconstant\n");
    EXPECT_EQ(captured.err, "err\n");
}

constexpr JobWords kWords = {"empty", "no string", "unknown ", "!", "behind"};

TEST(ReadJobs, StopsAtTheFirstThatIsNone) {
    const auto read = [](std::string_view text, const JobWords& words,
                         std::set<std::string>& jobs) {
        return test::Capture([&] {
                   EXPECT_FALSE(ReadJobs(Parsed(text), {"a", "b"}, words, jobs));
               })
            .err;
    };
    std::set<std::string> jobs;
    EXPECT_TRUE(ReadJobs(Parsed(R"(["b","a","b"])"), {"a", "b"}, kWords, jobs));
    EXPECT_EQ(jobs, (std::set<std::string>{"a", "b"}));
    jobs.clear();
    EXPECT_EQ(read("[]", kWords, jobs), "empty\n");
    EXPECT_EQ(read(R"(["a",1])", kWords, jobs), "no string\n");
    EXPECT_EQ(jobs, (std::set<std::string>{"a"}));
    EXPECT_EQ(read(R"(["a\u0000"])", kWords, jobs), std::string("unknown a\0!\nbehind\n", 19));
    EXPECT_EQ(read(R"(["c"])", {nullptr, "", "unknown "}, jobs), "unknown c\n");
    EXPECT_EQ(read(R"(["c"])", {nullptr, "", "unknown", nullptr}, jobs), "unknown\n");
    EXPECT_TRUE(ReadJobs(Parsed("[]"), {}, {nullptr, "", ""}, jobs));
}

TEST(ConsoleDeathTest, ASignalHandlerChangesNoErrorOfTheCodeThatItInterrupts) {
    EXPECT_EXIT(
        {
            ::close(STDOUT_FILENO);
            errno = EDOM;
            PrintFromSignalHandler("cannot be written\n");
            ::_exit(errno == EDOM ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace zarn
