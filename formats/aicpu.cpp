#include "formats/aicpu.h"

namespace zarn {

namespace aicpu_files {
namespace {

// What all names in kRawDir begin with.
std::string RawPath(const std::string& dataPath, const std::string& name) {
    return dataPath + kRawDir + "aicpu_" + name;
}

}  // namespace

std::string ProcessAnalysisPath(const std::string& dataPath, const std::string& process,
                                const std::string& time) {
    const std::string prefix = "soc_aicpu_ana_1_" + process + "_";
    return NumberedFile{run_tree::kJsonDir, prefix.c_str(), kDataSuffix}.Path(dataPath, time);
}

std::string CopyPath(const std::string& dataPath, const std::string& attribute,
                     const std::string& time) {
    return RawPath(dataPath, attribute + "_" + time);
}

std::string SnapshotPath(const std::string& dataPath, const std::string& attribute) {
    return RawPath(dataPath, attribute + "_tmp");
}

std::string DevicePath(const std::string& dataPath, const std::string& time) {
    return RawPath(dataPath, aicpuDeviceList.name + "_" + time);
}

std::string SectionsPath(const std::string& dataPath, const std::string& list,
                         const std::string& process, const std::string& time) {
    return RawPath(dataPath, list + "_" + process + "_" + time);
}

}  // namespace aicpu_files

const AicpuList aicpuCoreList = {"core",
                                 {"node_event_resource", "proc_list", "cpu_event_resource",
                                  "cpu_cur_thread", "cpu_thread_info", "cpu_sched_track"}};

const AicpuList aicpuEventList = {"event", {"event_trace", "node_event_summary"}};

const AicpuList aicpuAbnormalList = {
    "abnormal",
    {"node_sched_proc_abnormal_event", "node_sched_proc_abnormal_time_in_microsecond",
     "node_sched_publish_in_kernel_abnormal_event",
     "node_sched_publish_in_kernel_abnormal_time_in_microsecond",
     "node_sched_publish_subscribe_abnormal_event",
     "node_sched_publish_subscribe_abnormal_time_in_microsecond",
     "node_sched_publish_syscall_abnormal_event",
     "node_sched_publish_syscall_abnormal_time_in_microsecond", "node_sched_wakeup_abnormal_event",
     "node_sched_wakeup_abnormal_time_in_microsecond"}};

const AicpuList aicpuProcessList = {
    "process",
    {"proc_pri", "proc_status", "proc_event_num", "proc_group_event_list", "proc_group_list",
     "proc_group_thread"}};

const AicpuList aicpuDeviceList = {"device", {"node_list", "cpu_list", "sched_cpu_mask"}};

}  // namespace zarn
