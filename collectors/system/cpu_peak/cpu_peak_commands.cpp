#include "collectors/system/cpu_peak/cpu_peak_commands.h"

#include "formats/cpu_peak.h"
#include "foundation/numbers.h"

namespace zarn {

std::string PeakRecordCommand(const PeakCores& cores, const CpuPeakSettings& settings,
                              const std::string& path) {
    std::string command = "taskset -c " + std::to_string(cores.quiet) + " perf record -o " + path +
                          cpu_peak_files::kRecordingSuffix + " -F " +
                          std::to_string(settings.collectionFrequency) + " -C " + cores.busy +
                          " -a -g -- sleep ";
    AppendFixed(command, settings.collectionDuration);
    return command;
}

std::string PeakTextCommand(const std::string& path) {
    return "perf script -i " + path + cpu_peak_files::kRecordingSuffix + " > " + path +
           cpu_peak_files::kTextSuffix;
}

}  // namespace zarn
