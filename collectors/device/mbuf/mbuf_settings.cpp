#include "collectors/device/mbuf/mbuf_settings.h"

#include "foundation/console.h"
#include "kit/section.h"

namespace zarn {
namespace {

constexpr const char* kSection = "MbufCollector";

// Each key is tested for presence and type before the next.
bool ReadNumber(const JsonValue& section, const char* key, const char* missing,
                const char* wrongType, std::uint32_t& number) {
    const JsonValue* member = FindMember(section, key);
    if (member == nullptr) {
        return PrintFailure(missing);
    }
    if (!HasType(*member, JsonType::Unsigned)) {
        return PrintFailure(wrongType);
    }
    number = member->GetUint();
    return true;
}

}  // namespace

const SettingKeys& MbufCollectorKeys() {
    static const SettingKeys keys = {
        SettingKey::Required("count", JsonType::Unsigned)
            .Unit("cycles")
            .Means("how many cycles of two queries"),
        SettingKey::Required("interval", JsonType::Unsigned)
            .Unit("s")
            .Means("from the end of one cycle to the next; also waited after the last one"),
    };
    return keys;
}

bool ReadMbufSettings(const JsonDocument& config, MbufSettings& settings) {
    const JsonValue* section = FindMember(config, kSection);
    if (section == nullptr) {
        return PrintFailure("[MbufCollector] Failed to find MbufCollector!");
    }
    MbufSettings read;
    if (!ReadNumber(*section, "count", "[MbufCollector] Failed to find count parameter!",
                    "[MbufCollector] Illegal count type! Should be integer type!", read.count) ||
        !ReadNumber(*section, "interval", "[MbufCollector] Failed to find interval parameter!",
                    "[MbufCollector] Illegal interval type! Should be integer type!",
                    read.interval)) {
        return false;
    }
    settings = read;
    return true;
}

}  // namespace zarn
