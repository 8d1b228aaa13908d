#include "board/server/ordered_child.h"

#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <system_error>

#include "board/launcher/child.h"

namespace zarn::board {

namespace fs = std::filesystem;

std::optional<OrderedChild> StartOrdered(const std::string& path, const std::string& name,
                                         const ChildOrder& order) {
    const auto orders = MakePipe();
    const auto answers = MakePipe();
    if (!orders || !answers) {
        return std::nullopt;
    }
    const OrderedChild child{StartChild([&] {
                                 const bool isTold = ::dup2(orders->read, STDIN_FILENO) >= 0 &&
                                                     ::dup2(answers->write, STDOUT_FILENO) >= 0;
                                 return isTold ? BecomeNamed(path, name) : 1;
                             }),
                             answers->read};
    ::close(orders->read);
    ::close(answers->write);
    const bool isTold = child.pid > 0 && ::write(orders->write, order.bytes, order.size) ==
                                             static_cast<ssize_t>(order.size);
    ::close(orders->write);
    if (!isTold) {
        ::close(child.answers);
        EndChild(child.pid);
        return std::nullopt;
    }
    return child;
}

void EndChild(pid_t pid) {
    if (pid > 0) {
        ::kill(pid, SIGKILL);
        (void)WaitForChild(pid);
    }
}

std::string InnerProgramPath(const std::string& name) {
    std::error_code error;
    const fs::path own = fs::read_symlink("/proc/self/exe", error).parent_path();
    const fs::path built = own / name;
    return (fs::exists(built, error) ? built : own / "../lib/zarn" / name).string();
}

}  // namespace zarn::board
