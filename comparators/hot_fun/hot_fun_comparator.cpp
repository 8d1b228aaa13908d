#include "comparators/hot_fun/hot_fun_comparator.h"

#include <algorithm>
#include <array>
#include <exception>
#include <optional>
#include <string_view>
#include <utility>

#include "comparators/hot_fun/diff_rows.h"
#include "formats/hot_fun.h"
#include "foundation/console.h"
#include "foundation/file_search.h"
#include "foundation/files.h"
#include "foundation/json.h"
#include "foundation/paths.h"
#include "foundation/stop_flag.h"
#include "kit/cost.h"
#include "kit/section.h"

namespace zarn {
namespace {

namespace names = hot_fun_files;

constexpr JobWords kJobWords = {
    nullptr,
    "[HotFunComparator] Illegal job type! Should be string type!",
    "[HotFunComparator] Illegal job! Should be chosen from [global, core, process]!",
    nullptr,
};

// Where a version's recordings are. The slash in front is the comparator's own.
std::string RawDirOf(const std::string& root) {
    return root + "/" + names::kRawDir;
}

bool IsComment(std::string_view line) {
    return !line.empty() && line.front() == '#';
}

// Adds the rows of a diff. False if headings stand behind one of them: they hold for all, so that
// it is to be read again.
bool AddRows(LineFile& diff, DiffColumns& columns, DiffTable& table) {
    bool hasRows = false;
    bool isWhole = true;
    for (std::string_view line; diff.Next(line);) {
        if (IsComment(line)) {
            const bool isNew = columns.Read(line);
            isWhole = isWhole && !(isNew && hasRows);
        } else if (isWhole) {
            hasRows = true;
            table.Add(line, columns);
        }
    }
    table.Flush();
    return isWhole;
}

// Writes the table of a diff; nothing if the diff cannot be opened.
std::optional<FileResult> WriteTable(const std::string& diff,
                                     const std::vector<std::string>& versions,
                                     const std::string& path) {
    DiffColumns columns;
    while (true) {
        LineFile lines(diff);
        if (!lines.IsOpen()) {
            return std::nullopt;
        }
        FileReplacer file(path);
        DiffTable table(versions, [&file](std::string_view piece) { file.Add(piece); });
        if (AddRows(lines, columns, table)) {
            return file.Keep();
        }
    }
}

}  // namespace

HotFunComparator::HotFunComparator(std::string name, std::map<std::string, std::string> versionMap,
                                   Host host)
    : BasicComparator(std::move(name), std::move(versionMap)), host_(std::move(host)) {}

const SettingKeys& HotFunComparator::Keys() {
    static const SettingKeys keys = {
        SettingKey::Required("job", JsonType::Array)
            .Of(JsonType::String)
            .NotEmpty()
            .Words({names::kGlobal, names::kCore, names::kProcess}, SettingKey::Outside::Refused)
            .Means("what to compare: the system, cores, processes"),
        SettingKey::Required(names::kCore, JsonType::Array)
            .Of(JsonType::Unsigned)
            .Means("for \"core\" alone: the cores"),
        SettingKey::Required(names::kProcess, JsonType::Array)
            .Of(JsonType::String)
            .Means("for \"process\" alone: the processes, as in the names of the recordings"),
    };
    return keys;
}

bool HotFunComparator::CheckOptions(const JsonDocument& config, const std::string& /*modeName*/) {
    if (!ReadJobList(config)) {
        return PrintFailure("[HotFunComparator] Failed to check hotFun comparator job list!");
    }
    if (!ReadOptions(config[kName])) {
        return PrintFailure("[HotFunComparator] Failed to check hotFun comparator option!");
    }
    return true;
}

bool HotFunComparator::ReadJobList(const JsonDocument& config) {
    const JsonValue* section = FindMember(config, kName);
    const JsonValue* jobs = section == nullptr ? nullptr : FindMember(*section, "job");
    if (jobs == nullptr) {
        return PrintFailure("[HotFunComparator] HotFunComparator job param not exist!");
    }
    if (!jobs->IsArray()) {
        return PrintFailure(
            "[HotFunComparator] Invalid HotFunComparator param type! Should be array type!");
    }
    return !jobs->Empty() &&
           ReadJobs(*jobs, {names::kGlobal, names::kCore, names::kProcess}, kJobWords, jobs_);
}

bool HotFunComparator::ReadOptions(const JsonValue& section) {
    if ((Wants(names::kProcess) && !ReadProcesses(section)) ||
        (Wants(names::kCore) && !ReadCores(section))) {
        return false;
    }
    if (Wants(names::kGlobal)) {
        AddGlobal();
    }
    return true;
}

bool HotFunComparator::ReadProcesses(const JsonValue& section) {
    const JsonValue* processes = FindMember(section, names::kProcess);
    if (processes == nullptr) {
        return PrintFailure("[HotFunComparator] HotFunComparator process param missing!");
    }
    if (!processes->IsArray()) {
        return PrintFailure(
            "[HotFunComparator] Invalid HotFunComparator param type (process)! Should be array "
            "type!");
    }
    std::vector<std::string> list;
    if (!ReadStrings(*processes,
                     "[HotFunComparator] Invalid HotFunComparator process type! Should be string "
                     "type!",
                     list)) {
        return false;
    }
    for (const std::string& name : list) {
        comparisons_[names::kProcess].push_back(
            {names::kProcess, name, names::ProcessTag(name),
             FindVersions(names::kProcess, names::ProcessRecordingPattern(name),
                          "process " + name)});
    }
    return true;
}

bool HotFunComparator::ReadCores(const JsonValue& section) {
    const JsonValue* cores = FindMember(section, names::kCore);
    if (cores == nullptr) {
        return PrintFailure("[HotFunComparator] HotFunComparator core param missing!");
    }
    if (!cores->IsArray()) {
        return PrintFailure(
            "[HotFunComparator] Invalid HotFunComparator param type (core)! Should be array "
            "type!");
    }
    const auto isNumber = [](const JsonValue& core) { return core.IsUint(); };
    if (!std::all_of(cores->Begin(), cores->End(), isNumber)) {
        return PrintFailure(
            "[HotFunComparator] Invalid HotFunComparator core type! Should be uint type!");
    }
    for (const JsonValue& value : cores->GetArray()) {
        const std::string core = std::to_string(value.GetUint());
        const std::string tag = names::CoreTag(core);
        comparisons_[names::kCore].push_back(
            {names::kCore, core, tag,
             FindVersions(names::kCore, names::RecordingPattern(tag), "core" + core)});
    }
    return true;
}

void HotFunComparator::AddGlobal() {
    comparisons_[names::kGlobal].push_back(
        {names::kGlobal, "", names::kGlobal,
         FindVersions(names::kGlobal, names::RecordingPattern(names::kGlobal), names::kGlobal)});
}

std::map<std::string, std::string> HotFunComparator::FindVersions(const char* job,
                                                                  const std::string& pattern,
                                                                  const std::string& words) const {
    std::map<std::string, std::string> found;
    for (const auto& [version, root] : VersionMap()) {
        if (FileExistsByRegex(RawDirOf(root), pattern, kName)) {
            found[version] = root;
            continue;
        }
        std::string line = "[HotFunComparator] Missing ";
        line.append(job).append(" data in version:").append(version);
        line.append(", skipping this version in ").append(words).append(" comparison!");
        PrintLine(line);
    }
    return found;
}

bool HotFunComparator::Start(const JsonDocument& /*config*/, const std::string& dataPath,
                             const StopFlag* stopFlag) {
    const MissionCost cost;
    csvDir_ = dataPath + names::kCsvDir;
    if (!CreateDirectory(csvDir_)) {
        return PrintFailure("[HotFunComparator] Cannot create hotFun comparator directory!");
    }
    if (!CompareAll(stopFlag)) {
        return PrintFailure("[HotFunComparator] Failed to compare hotFun!");
    }
    cost.Record(kName, dataPath);
    return true;
}

bool HotFunComparator::CompareAll(const StopFlag* stopFlag) const {
    struct Step {
        const char* job;
        const char* wordsIfStopped;
    };
    static constexpr std::array<Step, 3> kSteps = {{
        {names::kCore,
         "[HotFunComparator] Received stop signal, core job & following jobs (process, global) are "
         "not compared!"},
        {names::kProcess,
         "[HotFunComparator] Received stop signal, process job & following job (global) is not "
         "compared!"},
        {names::kGlobal, "[HotFunComparator] Received stop signal, global job is not compared!"},
    }};
    for (const Step& step : kSteps) {
        if (!Wants(step.job)) {
            continue;
        }
        if (IsSet(stopFlag)) {
            PrintLine(step.wordsIfStopped);
            return false;
        }
        const auto comparisons = comparisons_.find(step.job);
        if (comparisons != comparisons_.end()) {
            std::for_each(comparisons->second.begin(), comparisons->second.end(),
                          [this](const Comparison& comparison) { Compare(comparison); });
        }
    }
    return true;
}

void HotFunComparator::Compare(const Comparison& comparison) const {
    if (comparison.versions.empty()) {
        PrintError("[HotFunComparator] No valid " + comparison.tag +
                   " data file to compare, please check the package contents!");
        return;
    }
    if (comparison.versions.size() == 1) {
        PrintError("[HotFunComparator] Only one " + comparison.tag +
                   " data file valid, please check package contents!");
        return;
    }
    const std::string diff = names::DiffText(comparison.tag);
    std::string command = "perf diff ";
    for (const auto& [version, root] : comparison.versions) {
        command += RawDirOf(root) + names::RecordingGlob(comparison.tag) + " ";
    }
    if (host_.runner.Run(command + "> " + diff) != 0) {
        const std::string element = comparison.element.empty() ? "" : " " + comparison.element;
        PrintError("[HotFunComparator] Fail to compare " + comparison.job + element + " info!");
    } else if (!MakeTable(comparison, diff)) {
        PrintError("[HotFunComparator] Fail to generate " + comparison.job + " " +
                   comparison.element + " comparasion CSV file!");
    }
    RemoveDiff(diff);
}

bool HotFunComparator::MakeTable(const Comparison& comparison, const std::string& diff) const {
    std::vector<std::string> versions;
    for (const auto& [version, root] : comparison.versions) {
        versions.push_back(version);
    }
    const std::string path = csvDir_ + names::ComparisonName(comparison.tag);
    try {
        const std::optional<FileResult> result = WriteTable(diff, versions, path);
        if (!result) {
            return PrintFailure("[HotFunComparator] Cannot find resultFile file of: " +
                                comparison.job + ", file path is: " + diff + "!");
        }
        if (result == FileResult::CannotOpen) {
            PrintError("[HotFunComparator] Write to CSV file failed! Cannot open file path: " +
                       path);
        }
        return result == FileResult::Ok;
    } catch (const std::exception&) {  // memory does not suffice
        return false;
    }
}

void HotFunComparator::RemoveDiff(const std::string& diff) const {
    if (host_.runner.Run("rm " + diff) != 0) {
        PrintError("[HotFunComparator] Fail to remove temporary file: " + diff);
    }
}

}  // namespace zarn
