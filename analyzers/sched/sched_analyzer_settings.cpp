#include "analyzers/sched/sched_analyzer_settings.h"

#include <exception>
#include <set>
#include <string>
#include <vector>

#include "foundation/console.h"
#include "kit/section.h"

namespace zarn {
namespace {

constexpr const char* kJob = "job";
constexpr const char* kThreshold = "runTimeThreshold";
constexpr JobWords kJobWords = {
    nullptr,
    "[SchedAnalyzer] Invalid SchedAnalyzer job element, it should be a string!",
    "[SchedAnalyzer] Invalid SchedAnalyzer job name:",
    ", it should be global, core or process!",
};

const std::vector<std::string>& KnownJobs() {
    static const std::vector<std::string> jobs = {kSchedGlobalJob, kSchedCoreJob, kSchedProcessJob};
    return jobs;
}

bool ReadChecked(const JsonDocument& config, const char* name, CommandRunner& runner,
                 SchedAnalyzerSettings& settings) {
    const JsonValue* section = FindMember(config, name);
    const JsonValue* jobs = section == nullptr ? nullptr : FindMember(*section, kJob);
    if (jobs == nullptr) {
        return PrintFailure("[SchedAnalyzer] SchedAnalyzer job param not exist!");
    }
    const JsonValue* threshold = FindMember(*section, kThreshold);
    if (threshold == nullptr || !HasType(*threshold, JsonType::Floating)) {
        return PrintFailure(
            "[SchedAnalyzer] SchedAnalyzer runTimeThreshold param should be exist and be float!");
    }
    if (!HasType(*jobs, JsonType::Array)) {
        return PrintFailure(
            "[SchedAnalyzer] Invalid SchedAnalyzer job type, it should be an array!");
    }
    settings.runTimeThreshold = threshold->GetDouble();
    // What the collector makes of its section counts as far as it got; it has told what is wrong.
    (void)ReadSchedJobParam(config, runner, settings.collected);
    std::set<std::string> wanted;
    if (!ReadJobs(*jobs, KnownJobs(), kJobWords, wanted)) {
        return false;
    }
    for (const std::string& job : KnownJobs()) {
        settings.collected.jobs[job] = wanted.count(job) != 0;
    }
    return true;
}

}  // namespace

const SettingKeys& SchedAnalyzerKeys() {
    using Outside = SettingKey::Outside;
    static const SettingKeys keys = {
        SettingKey::Required(kJob, JsonType::Array)
            .Of(JsonType::String)
            .Words(KnownJobs(), Outside::Refused)
            .Means("what to analyse: the whole system, the cores, the processes"),
        SettingKey::Required(kThreshold, JsonType::Floating)
            .Unit("ms")
            .Means("a row of the history whose run time is above it is followed up"),
    };
    return keys;
}

bool ReadSchedAnalyzerSettings(const JsonDocument& config, const char* name, CommandRunner& runner,
                               SchedAnalyzerSettings& settings) {
    try {
        if (ReadChecked(config, name, runner, settings)) {
            return true;
        }
    } catch (const std::exception& error) {
        PrintError("[SchedAnalyzer] Error occurs when check and set job param: " +
                   std::string(error.what()));
    }
    return PrintFailure("[SchedAnalyzer] Failed to check and set SchedAnalyzer job param!");
}

}  // namespace zarn
