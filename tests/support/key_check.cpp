#include "tests/support/key_check.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <vector>

#include "foundation/text.h"

namespace zarn::test {
namespace {

constexpr const char* kAnyName = "<group>";

// In a process of its own, for a value of a type that is not tested ends it.
bool IsTaken(const JsonDocument& config, const OptionCheck& check) {
    const pid_t child = ::fork();
    if (child == 0) {
        const int nowhere = ::open("/dev/null", O_WRONLY);
        ::dup2(nowhere, STDOUT_FILENO);
        ::dup2(nowhere, STDERR_FILENO);
        ::_exit(check(config) ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return status == 0;
}

// The object that holds the key of that path, and the key's name there; nullptr if it is not there.
JsonValue* FindHolder(JsonValue& section, const std::string& path, std::string& name) {
    std::vector<std::string> parts;
    SplitString(path, ".", parts);
    JsonValue* holder = &section;
    for (std::size_t i = 0; holder->IsObject(); ++i) {
        if (parts[i] == kAnyName && holder->MemberCount() > 0) {
            parts[i] = TextOf(holder->MemberBegin()->name);
        }
        const auto member = holder->FindMember(parts[i].c_str());
        if (member == holder->MemberEnd()) {
            return nullptr;
        }
        if (i + 1 == parts.size()) {
            name = parts[i];
            return holder;
        }
        holder = &member->value;
    }
    return nullptr;
}

// The configuration with other values for one key.
class Variation {
public:
    Variation(const std::string& section, const SettingKey& key, const std::string& valid,
              const OptionCheck& check)
        : section_(section), key_(key), valid_(valid), check_(check) {}

    [[nodiscard]] bool KeyIsThere() {
        JsonDocument config;
        return Holder(config) != nullptr;
    }

    void ExpectWithout() {
        JsonDocument config;
        Holder(config)->RemoveMember(name_.c_str());
        EXPECT_EQ(IsTaken(config, check_), !key_.IsRequired()) << key_.Path() << " taken away";
    }

    void ExpectWith(const std::string& json, bool taken) {
        JsonDocument config;
        JsonDocument value;
        ASSERT_TRUE(ParseJson(json, value)) << json;
        JsonValue copy(value, config.GetAllocator());
        (*Holder(config))[name_.c_str()] = copy;
        EXPECT_EQ(IsTaken(config, check_), taken) << key_.Path() << " = " << json;
    }

private:
    JsonValue* Holder(JsonDocument& config) {
        EXPECT_TRUE(ParseJson(valid_, config)) << valid_;
        return FindHolder(config[section_.c_str()], key_.Path(), name_);
    }

    const std::string& section_;
    const SettingKey& key_;
    const std::string& valid_;
    const OptionCheck& check_;
    std::string name_;
};

// Values of all types. What the type of a key takes is not looked at further than its type.
void ExpectTypes(const SettingKey& key, Variation& variation) {
    for (const char* json : {"null", "true", "\"text\"", "[]", "{}", "-1", "1.5", "4294967296"}) {
        JsonDocument value;
        ASSERT_TRUE(ParseJson(json, value));
        if (!HasType(value, key.Type())) {
            variation.ExpectWith(json, false);
        }
    }
    if (key.Element()) {
        for (const char* json :
             {"[null]", "[true]", "[\"no such text\"]", "[[]]", "[{}]", "[1.5]"}) {
            JsonDocument value;
            ASSERT_TRUE(ParseJson(json, value));
            if (!HasType(value[0], *key.Element())) {
                variation.ExpectWith(json, false);
            }
        }
    }
    if (key.MustHaveElements()) {
        variation.ExpectWith("[]", false);
    }
}

void ExpectLimits(const SettingKey& key, Variation& variation) {
    if (!key.Range() || key.Element()) {
        return;
    }
    const bool takesBeyond = key.WhatOutside() != SettingKey::Outside::Refused;
    const auto [least, greatest] = *key.Range();
    variation.ExpectWith(std::to_string(std::lround(least)), true);
    variation.ExpectWith(std::to_string(std::lround(greatest)), true);
    variation.ExpectWith(std::to_string(std::lround(greatest) + 1), takesBeyond);
    if (least > 0) {
        variation.ExpectWith(std::to_string(std::lround(least) - 1), takesBeyond);
    }
}

void ExpectWords(const SettingKey& key, Variation& variation) {
    const auto json = [&key](const std::string& word) {
        return key.Element() ? "[\"" + word + "\"]" : "\"" + word + "\"";
    };
    if (key.KnownWords().empty()) {
        return;
    }
    // A lone word may choose other keys than `valid` has.
    if (key.Element()) {
        for (const std::string& word : key.KnownWords()) {
            variation.ExpectWith(json(word), true);
        }
    }
    variation.ExpectWith(json("no such word"), key.WhatOutside() != SettingKey::Outside::Refused);
}

}  // namespace

void ExpectKeysHold(const std::string& section, const SettingKeys& keys, const std::string& valid,
                    const OptionCheck& check) {
    JsonDocument config;
    ASSERT_TRUE(ParseJson(valid, config)) << valid;
    ASSERT_TRUE(IsTaken(config, check)) << valid;
    int there = 0;
    for (const SettingKey& key : keys) {
        Variation variation(section, key, valid, check);
        if (!variation.KeyIsThere()) {
            continue;
        }
        ++there;
        variation.ExpectWithout();
        ExpectTypes(key, variation);
        ExpectLimits(key, variation);
        ExpectWords(key, variation);
    }
    EXPECT_GT(there, 0) << "no declared key in " << valid;
}

}  // namespace zarn::test
