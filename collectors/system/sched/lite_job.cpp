#include "collectors/system/sched/lite_job.h"

#include "collectors/system/sched/sched_commands.h"
#include "formats/sched.h"
#include "foundation/console.h"

namespace zarn {
namespace {

// The wait status of a shell that an interrupt ended.
constexpr int kInterrupted = 2;

void TellProgress(const std::string& percent) {
    PrintLine("[SchedCollector] Completed " + percent + "% lite sched data collection time.");
}

}  // namespace

void LiteJob::Collect(std::uint32_t pass, const StopFlag* stopFlag) const {
    std::string time;
    if (!host_.clock.currentTime(time)) {
        PrintError("[SchedCollector] Get lite happent time failed.");
        return;
    }
    const LiteFiles files = {
        rawDir_ + sched_files::LiteName(sched_files::kLiteLog, pass, time),
        rawDir_ + sched_files::LiteName(sched_files::kLiteTable, pass, time),
        rawDir_ + sched_files::LiteName(sched_files::kLiteStacks, pass, time),
    };
    if (host_.runner.Run(LiteStartCommand(param_.liteThreshold, files)) != 0) {
        PrintError("[SchedCollector] Fail to start collecting lite raw data!");
        // It may have armed the recorder before it failed.
        (void)host_.runner.Run(kLiteStopCommand);
        return;
    }
    PrintLine("[SchedCollector] Start to collect lite sched raw data!");
    Wait(stopFlag);
    if (host_.runner.Run(kLiteStopCommand) == 0) {
        PrintLine("[SchedCollector] Success to exit lite raw data collection!");
    } else {
        PrintError("[SchedCollector] Fail to exit lite raw data collection!");
    }
}

// By a command, so that an interrupt by the keyboard ends it at once.
void LiteJob::Wait(const StopFlag* stopFlag) const {
    for (std::uint64_t steps = 1; !IsSet(stopFlag); ++steps) {
        const int status = host_.runner.Run(kLiteSleepCommand);
        if (status == kInterrupted) {
            PrintLine(
                "[SchedCollector] Early exit of lite sched raw data collection because of "
                "stopFlag!");
            return;
        }
        if (status != 0) {
            PrintError("[SchedCollector] Fail to sleep for collecting lite sched raw data!");
            return;
        }
        if (steps * kLiteSleepSeconds >= param_.liteDuration) {
            TellProgress("100");
            PrintLine("[SchedCollector] End to collect lite sched raw data!!");
            return;
        }
        TellProgress(std::to_string(100 * kLiteSleepSeconds * steps / param_.liteDuration));
    }
}

}  // namespace zarn
