#include "tests/support/section_config.h"

#include <gtest/gtest.h>

namespace zarn::test {

std::string SectionText(const SectionKeys& keys, const std::string& changedKey,
                        const std::string& value) {
    std::string text = "{";
    for (const auto& [key, usual] : keys) {
        const std::string& chosen = key == changedKey ? value : usual;
        if (!chosen.empty()) {
            text.append(text.size() == 1 ? "\"" : ",\"").append(key).append("\":").append(chosen);
        }
    }
    return text + "}";
}

std::string ConfigOf(const std::string& name, const std::string& text) {
    return "{\"" + name + "\":" + text + "}";
}

JsonDocument ParsedConfigOf(const std::string& name, const std::string& text) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(ConfigOf(name, text), config)) << text;
    return config;
}

}  // namespace zarn::test
