#include "analyzers/sched/raw_stamps.h"

#include "collectors/system/sched/sched_job_param.h"
#include "formats/sched_analysis.h"
#include "foundation/time.h"

namespace zarn {
namespace {

bool Holds(const std::string& name, const char* word) {
    return name.find(word) != std::string::npos;
}

void TakeFirst(const std::string& name, std::string& stamp) {
    if (stamp == RawStamps::kUnknown) {
        stamp = GetFileTimestamp(name);
    }
}

}  // namespace

void RawStamps::Offer(const std::string& name) {
    if (!Holds(name, sched_files::kFirstRecordMark)) {
        return;
    }
    if (Holds(name, kSchedGlobalJob)) {
        TakeFirst(name, global_);
    }
    if (Holds(name, kSchedCoreJob)) {
        TakeFirst(name, core_);
    }
    if (!Holds(name, "affinity") && !Holds(name, "priority") && Holds(name, kSchedProcessJob)) {
        TakeFirst(name, process_);
    }
}

bool RawStamps::AreAllKnown() const {
    return global_ != kUnknown && core_ != kUnknown && process_ != kUnknown;
}

}  // namespace zarn
