#include "optimizer/opt_log.h"

#include <cmath>

#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/statistics.h"

namespace zarn {

void OptLog::WriteOptLog(const std::string& text) const {
    PrintLine(text);
    if (AppendFile(path_, text + "\n") == FileResult::CannotOpen) {
        PrintError("[DdrOptimizer] Failed to open log file.");
    }
}

std::string BoundsText(const std::map<std::int16_t, std::int16_t>& bounds) {
    std::string text;
    for (const auto& [mpamid, bound] : bounds) {
        text += std::to_string(mpamid) + " : " + std::to_string(bound) + ",  ";
    }
    return text;
}

std::string PerfText(const PerfMap& perf) {
    std::string text;
    for (const auto& [group, rates] : perf) {
        double mean = 0.0;
        GetAverage(rates, mean);
        text += group + " : " + std::to_string(mean) + ",  ";
    }
    return text;
}

std::string TValueText(double value) {
    return std::isnan(value) ? "nan" : std::to_string(value);
}

}  // namespace zarn
