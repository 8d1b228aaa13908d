#include "tests/system/support/programs.h"

#include <cstdlib>
#include <sstream>

namespace zarn::test {
namespace {

std::string InstalledPrefix() {
    const char* prefix = std::getenv("ZARN_PREFIX");
    return prefix == nullptr ? "" : prefix;
}

}  // namespace

std::string ProgramPath(const std::string& name) {
    const std::string prefix = InstalledPrefix();
    return (prefix.empty() ? ZARN_BUILD_DIR : prefix) + "/bin/" + name;
}

std::vector<std::string> ProgramStart(const std::string& name) {
    std::vector<std::string> start;
    std::istringstream emulator(ZARN_EMULATOR);
    for (std::string word; emulator >> word;) {
        start.push_back(word);
    }
    start.push_back(ProgramPath(name));
    return start;
}

std::string BoardLauncher() {
    return ProgramPath("zarn-board");
}

std::string WatchedScript(const std::string& program, const std::string& watcher) {
    return "set -m\n" + program +
           " &\nzarn=$!\n(sleep 120; kill -KILL -$zarn) 2>/dev/null & alarm=$!\n" + watcher +
           "\nwait $zarn; status=$?\nkill -- -$alarm\nexit $status";
}

}  // namespace zarn::test
