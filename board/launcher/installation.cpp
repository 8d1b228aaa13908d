#include "board/launcher/installation.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "foundation/files.h"
#include "foundation/json.h"

namespace zarn::board {
namespace {

namespace fs = std::filesystem;

constexpr const char* kServer = "zarn-board-server";
constexpr const char* kPreload = "libzarn_board_paths.so";

// The first of the paths that exists, without links in it; "" if none does.
std::string FirstOf(const std::vector<std::string>& paths) {
    for (const std::string& path : paths) {
        std::error_code error;
        const fs::path real = fs::canonical(path, error);
        if (!error) {
            return real.string();
        }
    }
    return "";
}

// What a scenario's file says about itself.
std::string DescriptionOf(const std::string& path) {
    std::string text;
    JsonDocument document;
    if (ReadFile(path, text) != FileResult::Ok || !ParseJson(text, document) ||
        !document.IsObject()) {
        return "";
    }
    const auto found = document.FindMember("description");
    return found != document.MemberEnd() && found->value.IsString() ? found->value.GetString() : "";
}

}  // namespace

std::optional<Installation> FindInstallation(const std::string& build) {
    Installation found;
    found.launcher = FirstOf({"/proc/self/exe"});
    found.programs =
        build.empty() ? fs::path(found.launcher).parent_path().string() : FirstOf({build + "/bin"});
    if (::access((found.programs + "/" + kServer).c_str(), X_OK) != 0) {
        return std::nullopt;
    }
    const std::string prefix = fs::path(found.programs).parent_path().string();
    found.data = FirstOf({prefix + "/share/zarn/board"});
    found.tools = FirstOf({prefix + "/lib/zarn/board/tools"});
    found.preload = FirstOf({prefix + "/lib/zarn/board/" + kPreload, prefix + "/lib/" + kPreload});
    found.bench = FirstOf({prefix + "/virtual_node", prefix + "/lib/zarn/virtual_node"});
    return found;
}

std::optional<std::string> FindScenario(const Installation& installation,
                                        const std::string& nameOrPath) {
    const bool isPath =
        nameOrPath.find('/') != std::string::npos || fs::path(nameOrPath).extension() == ".json";
    const std::string path =
        isPath ? nameOrPath : installation.data + "/scenarios/" + nameOrPath + ".json";
    return ::access(path.c_str(), R_OK) == 0 ? std::optional(path) : std::nullopt;
}

std::vector<std::string> ListScenarios(const Installation& installation) {
    constexpr std::size_t kColumn = 18;
    std::vector<std::string> lines;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(installation.data + "/scenarios", error)) {
        if (entry.path().extension() == ".json") {
            std::string line = entry.path().stem().string();
            line.resize(std::max(kColumn, line.size()), ' ');
            lines.push_back(line + DescriptionOf(entry.path().string()));
        }
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

}  // namespace zarn::board
