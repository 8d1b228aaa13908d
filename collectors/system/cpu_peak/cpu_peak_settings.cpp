#include "collectors/system/cpu_peak/cpu_peak_settings.h"

#include "foundation/console.h"
#include "kit/section.h"

namespace zarn {
namespace {

constexpr const char* kSection = "CpuPeakCollector";

// A key, and the lines about one that is missing and about one of another type.
struct KeyWords {
    const char* key;
    JsonType type;
    const char* missing;
    const char* wrongType;
};

constexpr KeyWords kScanDuration = {
    "scanDuration", JsonType::Unsigned,
    "[CpuPeakCollector] Scan duration setting for CpuPeakCollector does not exist!",
    "[CpuPeakCollector] Invalid CpuPeakCollector scan duration param type!"};
constexpr KeyWords kScanPeriod = {
    "scanPeriod", JsonType::Unsigned,
    "[CpuPeakCollector] Scan period setting for CpuPeakCollector does not exist!",
    "[CpuPeakCollector] Invalid CpuPeakCollector scan period param type!"};
constexpr KeyWords kMaxUsage = {
    "maxUsage", JsonType::Floating,
    "[CpuPeakCollector] maxUsage setting for CpuPeakCollector does not exist!",
    "[CpuPeakCollector] Invalid CpuPeakCollector maxUsage param type!"};
constexpr KeyWords kCollectionDuration = {
    "collectionDuration", JsonType::Floating,
    "[CpuPeakCollector] Collection duration setting for CpuPeakCollector does not exist!",
    "[CpuPeakCollector] Invalid CpuPeakCollector collection duration param type!"};
constexpr KeyWords kCollectionFrequency = {
    "collectionFrequency", JsonType::Unsigned,
    "[CpuPeakCollector] Collection frequency setting for CpuPeakCollector does not exist!",
    "[CpuPeakCollector] Invalid CpuPeakCollector collection frequency param type!"};

bool CheckKey(const JsonValue& section, const KeyWords& words) {
    const JsonValue* value = FindMember(section, words.key);
    if (value == nullptr) {
        return PrintFailure(words.missing);
    }
    return HasType(*value, words.type) || PrintFailure(words.wrongType);
}

SettingKey KeyOf(const KeyWords& words) {
    return SettingKey::Required(words.key, words.type);
}

}  // namespace

const SettingKeys& CpuPeakCollectorKeys() {
    static const SettingKeys keys = {
        KeyOf(kScanDuration).Unit("ms").Means("for how long to watch, recordings included"),
        KeyOf(kScanPeriod)
            .Limits("at most `scanDuration`")
            .Unit("ms")
            .Means("from one reading of the load to the next; with 0 they follow at once"),
        KeyOf(kMaxUsage).Unit("%").Means(
            "a core that is busy for more of a period is recorded. 80 is refused, 80.0 is taken"),
        KeyOf(kCollectionDuration)
            .Unit("s")
            .Means("length of each recording. 1 is refused, 1.0 is taken"),
        KeyOf(kCollectionFrequency)
            .Unit("1/s")
            .Means("how often each busy core is sampled, as `perf record -F` takes it"),
    };
    return keys;
}

bool CheckCpuPeakSettings(const JsonDocument& config) {
    const JsonValue* section = FindMember(config, kSection);
    if (section == nullptr) {
        return PrintFailure("[CpuPeakCollector] CpuPeakCollector param does not exist!");
    }
    if (!CheckKey(*section, kScanDuration) || !CheckKey(*section, kScanPeriod) ||
        !CheckKey(*section, kMaxUsage)) {
        return false;
    }
    if ((*section)[kScanPeriod.key].GetUint() > (*section)[kScanDuration.key].GetUint()) {
        return PrintFailure(
            "[CpuPeakCollector] Collection duration should be larger than collection period!");
    }
    return CheckKey(*section, kCollectionDuration) && CheckKey(*section, kCollectionFrequency);
}

CpuPeakSettings ReadCpuPeakSettings(const JsonDocument& config) {
    const JsonValue& section = config[kSection];
    CpuPeakSettings settings;
    settings.scanDuration = section[kScanDuration.key].GetUint();
    settings.scanPeriod = section[kScanPeriod.key].GetUint();
    settings.maxUsage = section[kMaxUsage.key].GetDouble();
    settings.collectionDuration = section[kCollectionDuration.key].GetDouble();
    settings.collectionFrequency = section[kCollectionFrequency.key].GetUint();
    return settings;
}

}  // namespace zarn
