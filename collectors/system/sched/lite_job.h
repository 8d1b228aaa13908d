#pragma once

#include <cstdint>
#include <string>

#include "collectors/system/sched/sched_job_param.h"
#include "foundation/stop_flag.h"
#include "kit/host.h"

namespace zarn {

// The job "lite": arms the kernel's own light recorder, keeps what it holds as text, waits, and
// disarms it. Whatever happens on the way, it does not stay armed.
class LiteJob {
public:
    // All of these outlive the job. `rawDir` has its final slash.
    LiteJob(const Host& host, const SchedJobParam& param, const std::string& rawDir)
        : host_(host), param_(param), rawDir_(rawDir) {}

    // `pass`: counted from 1.
    void Collect(std::uint32_t pass, const StopFlag* stopFlag) const;

private:
    void Wait(const StopFlag* stopFlag) const;

    const Host& host_;
    const SchedJobParam& param_;
    const std::string& rawDir_;
};

}  // namespace zarn
