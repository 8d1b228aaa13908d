#include "board/launcher/child.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "foundation/console.h"

namespace zarn::board {

pid_t StartChild(const std::function<int()>& work) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(work());
    }
    return child;
}

bool IsInPath(const std::string& program, int access) {
    const char* path = std::getenv("PATH");
    std::istringstream folders(path == nullptr ? "" : path);
    for (std::string folder; std::getline(folders, folder, ':');) {
        folder.append("/").append(program);
        if (::access(folder.c_str(), access) == 0) {
            return true;
        }
    }
    return false;
}

int Become(const std::vector<std::string>& command) {
    std::vector<char*> words;
    words.reserve(command.size() + 1);
    for (const std::string& word : command) {
        words.push_back(const_cast<char*>(word.c_str()));
    }
    words.push_back(nullptr);
    ::execvp(words.front(), words.data());
    const std::string& name = command.front();
    // A folder of PATH that may not be entered hides that there is no such program in any.
    if (errno == EACCES && name.find('/') == std::string::npos && !IsInPath(name, F_OK)) {
        errno = ENOENT;
    }
    const int status = errno == ENOENT ? 127 : 126;
    PrintError("zarn-board: " + name + ": " + std::strerror(errno));
    return status;
}

int BecomeNamed(const std::string& path, const std::string& name) {
    ::execl(path.c_str(), name.c_str(), nullptr);
    PrintError("zarn-board: " + path + ": " + std::strerror(errno));
    return 126;
}

int ShellStatus(int waitStatus) {
    return WIFSIGNALED(waitStatus) ? 128 + WTERMSIG(waitStatus) : WEXITSTATUS(waitStatus);
}

int WaitForChild(pid_t child) {
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return ShellStatus(status);
}

std::optional<std::string> AskChild(const std::function<std::optional<std::string>()>& work) {
    const std::optional<Pipe> answer = MakePipe();
    if (!answer) {
        return std::strerror(errno);
    }
    const pid_t child = StartChild([&] {
        const std::optional<std::string> text = work();
        if (!text) {
            return 0;
        }
        return ::write(answer->write, text->data(), text->size()) < 0 ? 2 : 1;
    });
    ::close(answer->write);
    std::string text = child < 0 ? std::strerror(errno) : ReadWord(answer->read);
    ::close(answer->read);
    const bool isWell = child >= 0 && WaitForChild(child) == 0;
    return isWell ? std::nullopt : std::optional(text);
}

std::optional<Pipe> MakePipe() {
    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return std::nullopt;
    }
    return Pipe{ends[0], ends[1]};
}

std::string ReadWord(int fd, int seconds) {
    std::string word;
    char letter = '\0';
    pollfd input{fd, POLLIN, 0};
    while (::poll(&input, 1, seconds * 1000) > 0 && ::read(fd, &letter, 1) == 1 && letter != '\n') {
        word += letter;
    }
    return word;
}

void KeepOpen(int fd, bool keep) {
    ::fcntl(fd, F_SETFD, keep ? 0 : FD_CLOEXEC);
}

}  // namespace zarn::board
