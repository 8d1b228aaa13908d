#include "collectors/device/aicpu/aicpu_common.h"

#include "foundation/console.h"
#include "kit/section.h"

namespace zarn {

void AicpuCommon(const std::string& job, AicpuJobs& jobs) {
    if (job == kAicpuCoreJob) {
        jobs.core = true;
    } else if (job == kAicpuEventJob) {
        jobs.event = true;
    } else if (job == kAicpuAbnormalJob) {
        jobs.abnormal = true;
    } else {
        PrintError("[AicpuCommon] Illegal job name: " + job);
    }
}

bool ReadAicpuJobs(const JsonValue& list, const char* wordsIfNotString, AicpuJobs& jobs) {
    for (const JsonValue& job : list.GetArray()) {
        if (!job.IsString()) {
            return PrintFailure(wordsIfNotString);
        }
        AicpuCommon(TextOf(job), jobs);
    }
    return true;
}

}  // namespace zarn
