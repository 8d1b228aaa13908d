#include "tests/support/signal_state.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

namespace zarn::test {
namespace {

namespace fs = std::filesystem;

fs::path ThreadsOf(pid_t process) {
    return "/proc/" + std::to_string(process) + "/task";
}

}  // namespace

bool IsThreadDoneWith(int signal, pid_t process, pid_t thread) {
    std::ifstream file(ThreadsOf(process) / std::to_string(thread) / "status");
    const std::uint64_t bit = std::uint64_t{1} << static_cast<unsigned>(signal - 1);
    bool isDone = true;
    for (std::string key; file >> key;) {
        std::string value;
        std::getline(file >> std::ws, value);
        if (key == "State:") {
            isDone = isDone && value.front() == 'S';
        } else if (key == "SigPnd:" || key == "ShdPnd:") {
            isDone = isDone && (std::stoull(value, nullptr, 16) & bit) == 0;
        }
    }
    return isDone;
}

bool IsDoneWith(int signal, pid_t process) {
    std::error_code gone;
    for (const auto& thread : fs::directory_iterator(ThreadsOf(process), gone)) {
        if (!IsThreadDoneWith(signal, process, std::stoi(thread.path().filename()))) {
            return false;
        }
    }
    return true;
}

}  // namespace zarn::test
