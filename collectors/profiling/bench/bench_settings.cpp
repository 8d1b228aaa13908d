#include "collectors/profiling/bench/bench_settings.h"

#include <utility>

#include "foundation/console.h"

namespace zarn {
namespace {

constexpr const char* kSection = "BenchCollector";

const std::vector<std::string>& KnownJobs() {
    static const std::vector<std::string> jobs = {bench_jobs::kMessaging,
                                                  bench_jobs::kPipe,
                                                  bench_jobs::kMemset,
                                                  bench_jobs::kMemcpy,
                                                  bench_jobs::kStat,
                                                  "vpc",
                                                  "venc",
                                                  "vdec"};
    return jobs;
}

bool IsArray(const JsonValue& value) {
    return value.IsArray() ||
           PrintFailure(
               "[BenchCollector] Invalid BenchCollector param type! Should be array type!");
}

}  // namespace

const SettingKeys& BenchCollectorKeys() {
    using Outside = SettingKey::Outside;
    static const SettingKeys keys = {
        SettingKey::Required("job", JsonType::Array)
            .Of(JsonType::String)
            .Words(KnownJobs(), Outside::Refused)
            .Means("what to run, one after the other: two benchmarks of the scheduler, two of the "
                   "memory, the counters of the processor, copies of the kernel's statistics of "
                   "the pre-processing core, the encoder and the decoder"),
        SettingKey::Required("stat.nodes", JsonType::Array)
            .Of(JsonType::String)
            .Means("for \"stat\": what to count, one after the other: \"global\" is the whole "
                   "system, anything else a process, as `pidof` knows it"),
        SettingKey::Required("stat.sleep", JsonType::Integer)
            .Unit("s")
            .Means("for \"stat\": how long each node is counted"),
    };
    return keys;
}

bool ReadBenchJobs(const JsonDocument& config, BenchJobs& jobs) {
    const JsonValue* section = FindMember(config, kSection);
    const JsonValue* list = section == nullptr ? nullptr : FindMember(*section, "job");
    if (list == nullptr) {
        return PrintFailure("[BenchCollector] BenchCollector job param not exist!");
    }
    if (!IsArray(*list)) {
        return false;
    }
    constexpr JobWords kWords = {
        nullptr, "[BenchCollector] Illegal job type! Should be string type!",
        "[BenchCollector] Illegal job! Should be choosen from [messaging, pipe, memset, memcpy, "
        "stat, vpc, venc, vdec]!",
        nullptr};
    BenchJobs read;
    if (!ReadJobs(*list, KnownJobs(), kWords, read)) {
        return false;
    }
    jobs = std::move(read);
    return true;
}

bool ReadBenchStat(const JsonDocument& config, BenchStatSettings& settings) {
    const JsonValue* stat = FindMember(config[kSection], "stat");
    if (stat == nullptr) {
        return PrintFailure("[BenchCollector] Failed to find stat parameter in benchCollector!");
    }
    const JsonValue* nodes = FindMember(*stat, "nodes");
    if (nodes == nullptr) {
        return PrintFailure(
            "[BenchCollector] Failed to find stat's nodes parameter in benchCollector!");
    }
    if (!IsArray(*nodes)) {
        return false;
    }
    const JsonValue* sleep = FindMember(*stat, "sleep");
    if (sleep == nullptr) {
        return PrintFailure(
            "[BenchCollector] Failed to find  stat's sleep parameter in benchCollector!");
    }
    if (!HasType(*sleep, JsonType::Integer)) {
        return PrintFailure("[BenchCollector] Illegal sleep type! Should be integer type!");
    }
    settings.sleep = sleep->GetInt();
    return ReadStrings(*nodes, "[BenchCollector] Illegal node type! Should be string type!",
                       settings.nodes);
}

}  // namespace zarn
