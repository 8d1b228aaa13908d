#include "board/launcher/served_board.h"

#include <poll.h>
#include <sys/random.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <vector>

#include "board/launcher/child.h"
#include "board/server/board_folder.h"
#include "foundation/console.h"

namespace zarn::board {
namespace {

namespace fs = std::filesystem;

// A server that writes ten tables a second and has not been heard of for so long may hang; it does
// if it says nothing while the launcher has been looking for so much longer. Where the machine
// itself stood still both come late.
constexpr std::uint64_t kMayHangMs = 2000;
constexpr std::chrono::seconds kHangs{1};

std::string Absolute(const std::string& path) {
    std::error_code error;
    return fs::absolute(path, error).lexically_normal().string();
}

// A name that nobody has, where temporary files go.
std::string TemporaryFolder() {
    constexpr const char* kDigits = "0123456789abcdef";
    const char* place = std::getenv("TMPDIR");
    std::string folder =
        Absolute(place == nullptr || *place == '\0' ? "/tmp" : place) + "/zarn-board.";
    std::uint64_t number = 0;
    if (::getrandom(&number, sizeof(number), 0) < 0) {
        number = static_cast<std::uint64_t>(::getpid());
    }
    for (int i = 0; i < 16; ++i, number >>= 4U) {
        folder += kDigits[number & 0xFU];
    }
    return folder;
}

// Becomes the server, with the life line as its input and its answer for the launcher as its
// output.
int BecomeServer(const std::vector<std::string>& command, int life, int answer) {
    if (::dup2(life, STDIN_FILENO) < 0 || ::dup2(answer, STDOUT_FILENO) < 0) {
        return 1;
    }
    return Become(command);
}

}  // namespace

std::optional<ServedBoard> ServedBoard::Start(const LauncherOptions& options,
                                              const Installation& installation,
                                              const std::string& scenario) {
    ServedBoard board;
    board.isTemporary_ = options.board.empty();
    board.folder_ = board.isTemporary_ ? TemporaryFolder() : Absolute(options.board);
    std::vector<std::string> command{installation.programs + "/zarn-board-server",
                                     board.isTemporary_ ? "serve-once" : "serve",
                                     board.folder_,
                                     installation.data,
                                     scenario,
                                     options.seed};
    if (!options.faults.empty()) {
        command.push_back(options.faults);
    }
    const std::optional<Pipe> life = MakePipe();
    const std::optional<Pipe> answer = MakePipe();
    board.server_ =
        life && answer
            ? StartChild([&] { return BecomeServer(command, life->read, answer->write); })
            : -1;
    if (board.server_ < 0) {
        PrintError(std::string("zarn-board: cannot start the board's server: ") +
                   std::strerror(errno));
        return std::nullopt;
    }
    board.life_ = life->write;
    ::close(life->read);
    ::close(answer->write);
    const bool isReady = !ReadWord(answer->read).empty();
    board.state_ = isReady ? MapBoardState((board.folder_ + "/state").c_str()) : nullptr;
    if (board.state_ == nullptr) {
        ::close(board.life_);
        board.serverLives_ = false;
        // One that has ended is not hurt by it; one that neither answers nor ends is of no use.
        pollfd output{answer->read, POLLIN, 0};
        if (::poll(&output, 1, 0) == 0) {
            ::kill(board.server_, SIGKILL);
        }
        const bool hasSaidWhy = WaitForChild(board.server_) == 1;
        (void)board.End();
        if (!hasSaidWhy) {
            PrintError("zarn-board: the board's server does not start");
        }
        return std::nullopt;
    }
    ::close(answer->read);
    return board;
}

std::string ServedBoard::Scratch() const {
    return ScratchOf(folder_, server_);
}

void ServedBoard::NoteEnd(pid_t child) {
    if (child != server_) {
        return;
    }
    serverLives_ = false;
    if (TakeFiguresAway(folder_, *state_)) {
        PrintError("zarn-board: the board's server has died; there is no bandwidth table any more");
    }
}

void ServedBoard::CheckHeartbeat() {
    if (!serverLives_ || MsSinceBeat(*state_) <= kMayHangMs) {
        suspectedAt_.reset();
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    if (!suspectedAt_) {
        suspectedAt_ = now;
    } else if (now - *suspectedAt_ > kHangs) {
        RemoveFigures(folder_, *state_);
    }
}

bool ServedBoard::End() {
    if (serverLives_) {
        ::close(life_);
        (void)WaitForChild(server_);
    }
    if (!isTemporary_) {
        return false;
    }
    RemoveBoard(folder_);  // what a server leaves that was killed
    return ::access(folder_.c_str(), F_OK) == 0;
}

}  // namespace zarn::board
