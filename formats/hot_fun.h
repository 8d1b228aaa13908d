#pragma once

#include <string>

#include "formats/run_tree.h"

// Files of the hot functions in a run tree: recordings and their samples as text, written by the
// collector and read by it and the comparator; the collector's documents; the comparator's tables.
namespace zarn::hot_fun_files {

inline constexpr const char* kRawDir = "raw_data/hotFun/";
inline constexpr const char* kCsvDir = "csv/hotFun/";

// What a recording is about stands in its name, behind kRawPrefix: a tag and a time stamp joined by
// "_".
inline constexpr const char* kRawPrefix = "hotfun_";
inline constexpr const char* kRecordingSuffix = ".data";
inline constexpr const char* kScriptSuffix = ".script";

// The jobs, and the tags of those that are about one thing.
inline constexpr const char* kCore = "core";
inline constexpr const char* kProcess = "process";
inline constexpr const char* kGlobal = "global";
inline constexpr const char* kFunctionSet = "function_set";

[[nodiscard]] inline std::string CoreTag(const std::string& core) {
    return "core_core" + core;
}
// The comparator names a process so; the collector's tag has its pid, too.
[[nodiscard]] inline std::string ProcessTag(const std::string& name) {
    return std::string(kProcess) + "_" + name;
}
[[nodiscard]] inline std::string ProcessTag(const std::string& name, const std::string& pid) {
    return ProcessTag(name) + "_" + pid;
}

// The name of what the collector writes at that time, without a suffix.
[[nodiscard]] inline std::string RawName(const std::string& tag, const std::string& time) {
    return kRawPrefix + tag + "_" + time;
}

// Shell patterns of names. `behindTag` parts a tag from one that it begins.
[[nodiscard]] inline std::string RecordingGlob(const std::string& tag, const char* behindTag = "") {
    return kRawPrefix + tag + behindTag + "*" + kRecordingSuffix;
}

// The regular expression of the names of recordings about something that is no process, and about
// one whatever its pid.
[[nodiscard]] inline std::string RecordingPattern(const std::string& tag) {
    return kRawPrefix + tag + R"(_[0-9]+\.data)";
}
[[nodiscard]] inline std::string ProcessRecordingPattern(const std::string& name) {
    return kRawPrefix + ProcessTag(name) + R"(_[0-9]+_[0-9]+\.data)";
}

// The collector's documents: `job` is one of its four.
[[nodiscard]] inline std::string ObjectId(const std::string& job) {
    return "soc_hot_function_" + job + "_info";
}
// `suffix` tells documents of one job apart: that of a core is "_core<core>".
[[nodiscard]] inline std::string DocumentPath(const std::string& dataPath, const std::string& job,
                                              const std::string& suffix, const std::string& time) {
    const std::string prefix = ObjectId(job) + suffix + "_1_";
    return NumberedFile{run_tree::kJsonDir, prefix.c_str(), kDataSuffix}.Path(dataPath, time);
}

// The comparator's table about a tag, in kCsvDir.
[[nodiscard]] inline std::string ComparisonName(const std::string& tag) {
    return kRawPrefix + tag + "_info.csv";
}

// What perf prints until it has been read, in the working directory: reports of a job, the diff of
// a tag.
[[nodiscard]] inline std::string ReportLog(const std::string& job) {
    return job + "Report.log";
}
[[nodiscard]] inline std::string DiffText(const std::string& tag) {
    return tag + ".temp";
}

}  // namespace zarn::hot_fun_files

// What the family's writers and readers both know.
namespace zarn {

// The `eventId` of the documents.
inline constexpr const char* kHotFunEventId = "222200006";

}  // namespace zarn
