#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "formats/run_tree.h"

// Files of the memory family in a run tree: written by its collector, read by the analyzer and the
// comparator. Each of the collector's tables is one file a run, to which every sample is appended.
namespace zarn::mem_files {

inline constexpr const char* kRawFolder = "raw_data/mem";  // as it is created
inline constexpr const char* kRawDir = "raw_data/mem/";
inline constexpr const char* kCsvFolder = "csv/mem";

// The collector's logs: the kernel's counters, `free`, the share pool, the processes.
inline constexpr NumberedFile kCounterLog = {kRawDir, "soc_gea_meminfo_info_1_", kLogSuffix};
inline constexpr NumberedFile kSystemLog = {kRawDir, "soc_gea_memory_info_1_", kLogSuffix};
inline constexpr NumberedFile kSharePoolLog = {kRawDir, "soc_gea_sharepool_mem_info_1_",
                                               kLogSuffix};
inline constexpr NumberedFile kProcessLog = {kRawDir, "soc_gea_process_info_1_", kLogSuffix};

// The smaps of one process.
[[nodiscard]] inline std::string SmapsLogPath(const std::string& dataPath, const std::string& pid,
                                              const std::string& time) {
    const std::string prefix = "soc_gea_process_smaps_" + pid + "_1_";
    return NumberedFile{kRawDir, prefix.c_str(), kLogSuffix}.Path(dataPath, time);
}

// The collector's documents: the system (`free` and the counters), all watched processes, and the
// greatest of them with the cells of two tables joined.
inline constexpr NumberedFile kSystemSamples = {run_tree::kJsonDir, "soc_gea_memory_info_1_",
                                                kDataSuffix};
inline constexpr NumberedFile kProcessSamples = {
    run_tree::kJsonDir, "soc_gea_process_mem_rawdata_info_1_", kDataSuffix};
inline constexpr NumberedFile kProcessInfo = {run_tree::kJsonDir, "soc_gea_process_info_1_",
                                              kDataSuffix};
inline constexpr NumberedFile kProcessStaticInfo = {run_tree::kJsonDir,
                                                    "soc_gea_process_static_info_1_", kDataSuffix};

// Where the comparator looks for the samples of processes first.
inline constexpr NumberedFile kRawProcessSamples = {kRawDir, kProcessSamples.prefix, kDataSuffix};

// The analyzer's documents.
inline constexpr NumberedFile kSystemAnalysis = {run_tree::kJsonDir, "soc_gea_memory_ana_1_",
                                                 kDataSuffix};
inline constexpr NumberedFile kProcessAnalysis = {run_tree::kJsonDir, "soc_gea_process_ana_1_",
                                                  kDataSuffix};

// The comparator's tables in kCsvFolder.
inline constexpr const char* kSystemComparison = "mem_system_info.csv";
inline constexpr const char* kProcessComparison = "mem_process_info.csv";

// What documents of that kind bear as `objectId`: the names of their files up to "_1_".
[[nodiscard]] inline std::string_view ObjectId(const NumberedFile& documents) {
    std::string_view name = documents.prefix;
    name.remove_suffix(std::string_view("_1_").size());
    return name;
}

}  // namespace zarn::mem_files

// What the family's writers and readers both know.
namespace zarn {

// The `eventId` of all documents of the family.
inline constexpr const char* kMemEventId = "962201576";

// A system document's one element of `content` holds kMemSystemMember, an object of texts: the
// columns of `free`, then the kernel's counters, KB all.
inline constexpr const char* kMemSystemMember = "memInfo";
inline constexpr std::array<const char*, 13> kMemSystemColumns = {
    "total",     "used",     "free",    "shared", "cache",       "avail", "pss",
    "pagetable", "slabInfo", "hugetlb", "kermod", "kernelStack", "sum"};
inline constexpr std::size_t kMemFreeColumnCount = 6;  // the first ones

// A process document's one element holds kMemProcessMember, an array of objects of texts, one for
// each process. Sizes are KB and end in "K"; the other four columns are plain.
inline constexpr const char* kMemProcessMember = "process";
inline constexpr const char* kMemPidColumn = "PID";
inline constexpr const char* kMemSharePoolColumn = "SP_ALLOC";  // of the share pool's table, too
inline constexpr const char* kMemCommandColumn = "COMMAND";
inline constexpr std::array<const char*, 15> kMemProcessColumns = {
    kMemPidColumn,    "HugePages", "RSS",   "PSS",   "USS",   kMemSharePoolColumn, "VSS",
    "VmData",         "VmStk",     "VmExe", "VmLib", "VmPTE", "Threads",           "FDSize",
    kMemCommandColumn};
inline constexpr char kMemUnit = 'K';

// A size without its unit, where it has one.
[[nodiscard]] inline std::string_view WithoutMemUnit(std::string_view size) {
    if (!size.empty() && size.back() == kMemUnit) {
        size.remove_suffix(1);
    }
    return size;
}

// A row of the share pool's log: what the kernel's table holds, then the process's name.
inline constexpr std::array<const char*, 10> kMemSharePoolColumns = {
    "PID", "Group_ID", "SP_ALLOC", "SP_K", "SP_R", "VIRT", "RES", "Shm", "PROT", "COMMAND"};

}  // namespace zarn
