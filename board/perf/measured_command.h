#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zarn::board {

// The command for whose time something is measured; without one it is measured until an interrupt.
class MeasuredCommand {
public:
    enum class Wake { Time, Ended, Interrupted };

    // Starts the command. nullptr after perf's line if there is no such program.
    [[nodiscard]] static std::optional<MeasuredCommand> Start(
        const std::vector<std::string>& words);

    // Waits for so many milliseconds, or for ever, unless the command ends or an interrupt comes
    // before.
    [[nodiscard]] Wake Wait(std::optional<std::uint64_t> milliseconds);

    // Ends the command if it still runs. The exit status of the measurement, which is the
    // command's; an interrupt ends this process in the same way.
    [[nodiscard]] int Finish();

private:
    std::string name_;
    pid_t child_ = 0;
    int ended_ = 0;
    int interrupt_ = 0;
};

}  // namespace zarn::board
