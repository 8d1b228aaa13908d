#include "collectors/device/imgp/imgp_commands.h"

#include <algorithm>

#include "foundation/commands.h"

namespace zarn {
namespace {

// The leading blank is part of what the tool has always been called by.
const std::string kTool = " rungate /var/kavtrace --output=";
constexpr const char* kOfImageBlock = " --imgp-profiling=on";

constexpr std::string_view kErrorWord = "ERROR";

}  // namespace

std::string GlobalProfilingCommand(const std::string& outputFolder, std::uint32_t seconds) {
    return kTool + outputFolder +
           " --sys-devices=all --ai-core=off --sys-period=" + std::to_string(seconds) +
           kOfImageBlock;
}

std::string AppProfilingCommand(const std::string& outputFolder, const std::string& script) {
    return kTool + outputFolder + "  --application=\"sh " + script + "\"" + kOfImageBlock;
}

std::string AppScript(const ImgpSettings& settings) {
    std::string script = "cd " + settings.path + "\n";
    script += "export LD_LIBRARY_PATH=" + settings.library + ":$LD_LIBRARY_PATH\n";
    script += "rungate ./" + settings.appName + " ";
    for (const std::string& param : settings.params) {
        script += EscapeShellArgument(param) + " ";
    }
    return script + "--allocGroup=default_dm\n";
}

void ErrorWordFinder::Take(std::string_view piece) {
    // The word may stand across the two.
    end_ += piece.substr(0, kErrorWord.size() - 1);
    found_ = found_ || end_.find(kErrorWord) != std::string::npos ||
             piece.find(kErrorWord) != std::string_view::npos;
    if (piece.size() >= kErrorWord.size() - 1) {
        end_ = piece;
    }
    end_.erase(0, end_.size() - std::min(end_.size(), kErrorWord.size() - 1));
}

}  // namespace zarn
