#include "board/perf/machine_perf.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string_view>
#include <system_error>

#include "board/launcher/child.h"
#include "foundation/console.h"
#include "foundation/files.h"

namespace zarn::board {

namespace fs = std::filesystem;

std::string FindMachinePerf() {
    std::error_code error;
    const fs::path own = fs::read_symlink("/proc/self/exe", error);
    const char* path = std::getenv("PATH");
    std::istringstream folders(path == nullptr ? "" : path);
    for (std::string folder; std::getline(folders, folder, ':');) {
        const fs::path found = fs::canonical(folder + "/perf", error);
        if (!error && found != own && ::access(found.c_str(), X_OK) == 0) {
            return found.string();
        }
    }
    return "";
}

void WarnIfTraced() {
    std::string status;
    (void)ReadFile("/proc/self/status", status);
    constexpr std::string_view kTracer = "\nTracerPid:\t";
    const std::size_t found = status.find(kTracer);
    if (found != std::string::npos && status[found + kTracer.size()] != '0') {
        PrintError(
            "perf: this process is traced, as on a board by proot: what starts, sleeps or talks to "
            "others is ten to twenty times slower than on this machine");
    }
}

int BecomeMachinePerf(const std::vector<std::string>& words) {
    std::vector<std::string> command{FindMachinePerf()};
    if (command.front().empty()) {
        constexpr int kNoSuchProgram = 127;
        PrintError(
            "perf: this machine has no perf, which the board needs for this; install linux-perf");
        return kNoSuchProgram;
    }
    if (!words.empty() && (words[0] == "bench" || words[0] == "record" || words[0] == "stat")) {
        WarnIfTraced();
    }
    command.insert(command.end(), words.begin(), words.end());
    return Become(command);
}

}  // namespace zarn::board
