#include "benchmarks/support/peak_memory.h"

#include <malloc.h>

#include <fstream>
#include <string>

namespace zarn::bench {
namespace {

// A line of /proc/self/status, in bytes.
double StatusBytes(const std::string& key) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind(key, 0) == 0) {
            return std::stod(line.substr(key.size())) * 1024;
        }
    }
    return 0;
}

}  // namespace

double PeakMemoryOf(const std::function<bool()>& run) {
    ::malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5";  // forget the peak so far
    const double before = StatusBytes("VmRSS:");
    return run() ? StatusBytes("VmHWM:") - before : -1.0;
}

}  // namespace zarn::bench
