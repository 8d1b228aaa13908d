#pragma once

// What the collectors that profile single programs print: each its own table of the same lines. Of
// those about a program the halves that its name stands between.
namespace zarn {

struct ProgramWords {
    // The option check, on the error stream.
    const char* noSection;
    const char* noPrograms;
    const char* programsNoArray;
    const char* noDuration;
    const char* programsEmpty;
    const char* programNoString;
    const char* durationNoNumber;
    const char* programSkipped;  // launched ones alone

    // A run, on the error stream but for the interrupt.
    const char* noDirectory;
    const char* failed;
    const char* interrupted;
    const char* noTime;
    const char* timeNoNumber;
    const char* programFailed;
    const char* noReport;  // launched ones alone

    static constexpr const char* kBehindInterrupted = " and processes after are not collected!";
    // The command follows.
    static constexpr const char* kBehindProgramFailed =
        ", please check the command, skipping to next process! Failed command is: ";
    static constexpr const char* kBehindNoReport = ", please check the process setting!";
};

inline constexpr ProgramWords kCacheGrindWords = {
    "[CacheGrindCollector] CacheGrindCollector or ProcessRunSetting param does not exist!",
    "[CacheGrindCollector] Process list for CacheGrindCollector does not exist!",
    "[CacheGrindCollector] Invalid CacheGrindCollector process param type! Should be array type!",
    "[CacheGrindCollector] Duration setting for CacheGrindCollector does not exist!",
    "[CacheGrindCollector] CacheGrindCollector process array is empty!",
    "[CacheGrindCollector] Invalid CacheGrindCollector process type (process)! Should be string "
    "type!",
    "[CacheGrindCollector] Invalid CacheGrindCollector duration param type! Should be uint type!",
    "[CacheGrindCollector] Skipping this process!",
    "[CacheGrindCollector] Cannot create cachegrind collect directory!",
    "[CacheGrindCollector] Failed to collect cachegrind!",
    "[CacheGrindCollector] Received stop signal, process:",
    "[CacheGrindCollector] Failed to get time stamp!",
    "[CacheGrindCollector] Got non-numeric timestamp!",
    "[CacheGrindCollector] Failed to collect process:",
    "[CacheGrindCollector] Failed to generate raw_data file for process: ",
};

inline constexpr ProgramWords kMassifWords = {
    "[MassifCollector] MassifCollector or ProcessRunSetting param does not exist!",
    "[MassifCollector] Process list for MassifCollector does not exist!",
    "[MassifCollector] Invalid MassifCollector process param type! Should be array type!",
    "[MassifCollector] Duration setting for MassifCollector does not exist!",
    "[MassifCollector] MassifCollector process array is empty!",
    "[MassifCollector] Invalid MassifCollector process type (process)! Should be string type!",
    "[MassifCollector] Invalid MassifCollector duration param type! Should be uint type!",
    "[MassifCollector] Skipping this process!",
    "[MassifCollector] Cannot create massif collect directory!",
    "[MassifCollector] Failed to collect massif!",
    "[MassifCollector] Received stop signal, process:",
    "[MassifCollector] Failed to get time stamp!",
    "[MassifCollector] Got non-numeric timestamp!",
    "[MassifCollector] Failed to collect process:",
    "[MassifCollector] Failed to generate raw_data file for process: ",
};

inline constexpr ProgramWords kCallGrindWords = {
    "[CallGrindCollector] CallGrindCollector param does not exist!",
    "[CallGrindCollector] Process list for CallGrindCollector does not exist!",
    "[CallGrindCollector] Invalid CallGrindCollector process param type! Should be array type!",
    "[CallGrindCollector] Duration setting for CallGrindCollector does not exist!",
    "[CallGrindCollector] CallGrindCollector process array is empty!",
    "[CallGrindCollector] Invalid CallGrindCollector process type (process)! Should be string "
    "type!",
    "[CallGrindCollector] Invalid CallGrindCollector duration param type! Should be uint type!",
    nullptr,
    "[CallGrindCollector] Cannot create callgrind collect directory!",
    "[CallGrindCollector] Failed to collect callgrind!",
    "[CallGrindCollector] Received stop signal, process:",
    "[CallGrindCollector] Failed to get time stamp!",
    "[CallGrindCollector] Got non-numeric timestamp!",
    "[CallGrindCollector] Failed to collect process:",
    nullptr,
};

}  // namespace zarn
