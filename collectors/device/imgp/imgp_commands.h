#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "collectors/device/imgp/imgp_settings.h"

// The image block's command lines, as they are run, and what their output says.
namespace zarn {

// Profiles the device for so many seconds; what is found goes below `outputFolder`.
[[nodiscard]] std::string GlobalProfilingCommand(const std::string& outputFolder,
                                                 std::uint32_t seconds);

// Profiles it while a script runs.
[[nodiscard]] std::string AppProfilingCommand(const std::string& outputFolder,
                                              const std::string& script);

// The script that starts the application.
[[nodiscard]] std::string AppScript(const ImgpSettings& settings);

// Looks for the tool's word of failure in what it prints, which comes in pieces that end anywhere.
class ErrorWordFinder {
public:
    void Take(std::string_view piece);
    [[nodiscard]] bool HasFound() const { return found_; }

private:
    bool found_ = false;
    std::string end_;  // of what was seen, shorter than the word
};

}  // namespace zarn
