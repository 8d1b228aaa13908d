#include "tests/support/lines.h"

#include <gtest/gtest.h>

#include <sstream>

namespace zarn::test {

std::vector<std::string> LinesIn(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::vector<JsonDocument> DocumentsIn(const std::string& text) {
    std::vector<JsonDocument> documents;
    for (const std::string& line : LinesIn(text)) {
        EXPECT_TRUE(ParseJson(line, documents.emplace_back())) << line;
    }
    return documents;
}

}  // namespace zarn::test
