#include <gtest/gtest.h>

#include <string>

#include "foundation/json.h"

namespace zarn {
namespace {

TEST(ReadJsonTest, TellsTheWriterWhatTheDocumentHolds) {
    const std::string text =
        R"( { "a" : [1,-2,3.5,true,null,18446744073709551615], "b":{"c\n":"d\u00e9"} } )";
    rapidjson::StringBuffer passedOn;
    rapidjson::Writer<rapidjson::StringBuffer> writer(passedOn);
    ASSERT_TRUE(ReadJson(text, writer));
    JsonDocument document;
    ASSERT_TRUE(ParseJson(text, document));
    rapidjson::StringBuffer written;
    WriteJson(document, written);
    EXPECT_STREQ(passedOn.GetString(), written.GetString());
}

TEST(ReadJsonTest, RefusesWhatParseJsonRefuses) {
    const std::string texts[] = {"",      " ",   "{",        "{}}",       "{} x",
                                 "[1,]",  "nul", "\"\x01\"", "{\"a\":1}", std::string("{}\0", 3),
                                 "[1] \n"};
    for (const std::string& text : texts) {
        rapidjson::BaseReaderHandler<> handler;
        JsonDocument document;
        EXPECT_EQ(ReadJson(text, handler), ParseJson(text, document)) << text;
    }
}

TEST(ReadJsonTest, NestingCostsNoStack) {
    const std::size_t depth = 2000000;
    rapidjson::BaseReaderHandler<> handler;
    EXPECT_TRUE(ReadJson(std::string(depth, '[') + std::string(depth, ']'), handler));
    EXPECT_FALSE(ReadJson(std::string(depth, '['), handler));
}

}  // namespace
}  // namespace zarn
