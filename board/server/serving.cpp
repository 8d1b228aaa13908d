#include "board/server/serving.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <optional>
#include <system_error>
#include <vector>

#include "board/server/board_files.h"
#include "board/server/board_programs.h"
#include "board/server/event_driver.h"
#include "board/server/proc_stat.h"
#include "board/server/recorder_driver.h"
#include "board/server/sched_processes.h"
#include "board/server/server_process.h"
#include "foundation/console.h"
#include "foundation/files.h"

namespace zarn::board {
namespace {

// Nobody needs the board any more: the ordinary end. Any other one leaves a command without it.
bool isLeft = false;

// The files that stay as they are while the server runs. They name its process, and no other.
bool LayProcessFiles(const std::string& files) {
    const std::int32_t self = ::getpid();
    const std::string tasks = files + "/proc/xsmem/task/";
    const std::string task = tasks + std::to_string(self);
    std::error_code error;
    std::filesystem::remove_all(tasks, error);
    std::filesystem::create_directories(task, error);
    std::filesystem::create_directories(files + "/proc/sharepool", error);
    std::filesystem::create_directories(files + "/proc/qos/bwstat", error);
    return ReplaceFile(task + "/summary", BufferGroupsText(self, {"default_dm", "vboard"}));
}

// A descriptor, -1 for none, and what to do when it becomes readable.
struct Waker {
    int fd = -1;
    std::function<void()> answer;
};

// Pauses until the time is over or the server is to end: it was told to by a signal, or nobody
// holds the other end of its standard input any more. False in that case. Meanwhile who wakes it is
// answered.
bool GoesOn(int milliseconds, const std::vector<Waker>& wakers = {}) {
    std::vector<pollfd> inputs{{STDIN_FILENO, POLLIN, 0}};
    for (const Waker& waker : wakers) {
        inputs.push_back({waker.fd, POLLIN, 0});
    }
    const bool isWoken = ::poll(inputs.data(), inputs.size(), milliseconds) > 0;
    if (isWoken && inputs[0].revents != 0) {
        std::array<char, 64> ignored{};
        isLeft = ::read(STDIN_FILENO, ignored.data(), ignored.size()) <= 0;
    }
    for (std::size_t i = 0; isWoken && i < wakers.size(); ++i) {
        if (inputs[i + 1].revents != 0) {
            wakers[i].answer();
        }
    }
    return !IsToldToEnd() && !isLeft;
}

// The table as it was written: its text, its moment and the settings it shows.
struct Written {
    std::string table;
    std::uint64_t timeMs = 0;
    std::uint32_t generation = 0;
};

// What a server is at work on.
struct ServedFiles {
    std::string folder;  // of the board
    RunningPrograms& programs;
    EventDriver& events;
    RecorderDriver& recorder;
    ProcStat& stat;
};

// What wakes a server between two ticks.
std::vector<Waker> WakersOf(const ServedFiles& served) {
    std::vector<Waker> wakers{{served.events.Wakes(), [&] { served.events.Answer(); }},
                              {served.stat.Wakes(), [&] { served.stat.Answer(); }}};
    for (const int fd : served.recorder.Wakes()) {
        wakers.push_back({fd, [&] { served.recorder.Answer(); }});
    }
    return wakers;
}

// Writes the files of this moment: the table, unless it is the last one and still there, and those
// about memory.
std::optional<Written> WriteMoment(BoardState& state, const ServedFiles& served,
                                   const std::string& last) {
    const std::string path = TablePath(served.folder);
    Written written;
    written.timeMs = BoardTimeMs(state);
    {
        const BoardLock lock(state);
        written.generation = state.generation;
        written.table = BandwidthTable(state, written.timeMs);
    }
    const bool stands = written.table == last && ::access(path.c_str(), F_OK) == 0;
    if (!stands && !ReplaceFile(path, written.table)) {
        (void)Fail("cannot write " + path);
        return std::nullopt;
    }
    if (!served.programs.WriteFiles(state, written.timeMs) || !served.events.Refresh() ||
        !served.recorder.Refresh() || !served.stat.Refresh()) {
        (void)Fail("cannot write below " + served.folder + "/files");
        return std::nullopt;
    }
    Beat(state);
    return written;
}

// Writes the files at each tick of the board, and soon after a setting changes, until the server is
// to end. False after a line.
bool KeepFiles(BoardState& state, const ServedFiles& served, Written last) {
    const std::vector<Waker> wakers = WakersOf(served);
    while (WaitForChange(state, last.generation,
                         static_cast<std::uint32_t>(kTickMs - last.timeMs % kTickMs),
                         [&](int milliseconds) { return GoesOn(milliseconds, wakers); })) {
        const auto written = WriteMoment(state, served, last.table);
        if (!written) {
            return false;
        }
        last = *written;
    }
    return true;
}

// Takes a lock, waiting for it if need be. False when the server is to end or the lock fails.
bool TakeLock(int lockFile) {
    constexpr int kLookMs = 20;
    while (lockFile >= 0 && ::flock(lockFile, LOCK_EX | LOCK_NB) != 0) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || !GoesOn(kLookMs)) {
            return false;
        }
    }
    return lockFile >= 0;
}

// Closes a file at the end of a scope.
class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { Close(); }
    [[nodiscard]] int Get() const { return fd_; }
    void Close() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
        fd_ = -1;
    }

private:
    int fd_;
};

int NoLock(const std::string& folder) {
    return IsToldToEnd() || isLeft ? 0
                                   : Fail("cannot lock " + folder + ": " + std::strerror(errno));
}

// Serves the board in a folder, which is made first if it is not there. Says on standard output
// when the table is there, or that another server is at work, whose place it then takes.
int ServeFolder(const std::string& folder, const BoardSource& source) {
    Descriptor setup(::open((folder + "/lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!TakeLock(setup.Get())) {
        return NoLock(folder);
    }
    if (!MakeBoard(folder, source)) {
        return 1;
    }
    BoardState* state = OpenState(folder + "/state");
    if (state == nullptr) {
        return 1;
    }
    const Descriptor serving(OpenServerLock(folder));
    const bool isFirst = serving.Get() >= 0 && ::flock(serving.Get(), LOCK_EX | LOCK_NB) == 0;
    if (!isFirst) {
        PrintLine("standing by");
        setup.Close();
    }
    if (!TakeLock(serving.Get())) {
        return NoLock(folder);
    }
    if (!LayProcessFiles(folder + "/files")) {
        return Fail("cannot write below " + folder + "/files");
    }
    {
        const BoardLock lock(*state);
        state->serverPid = ::getpid();
    }
    RunningPrograms programs;
    if (!programs.Start(*state, folder + "/state")) {
        return Fail("cannot start the board's programs");
    }
    SchedProcesses scheduled;
    if (!scheduled.Start(state->scenario.sched)) {
        return Fail("cannot start the processes of the board's scheduler");
    }
    {
        const BoardLock lock(*state);
        programs.TellProcesses(*state);
        scheduled.TellThreads(*state);
    }
    if (!programs.LayFiles(*state, folder + "/files")) {
        return Fail("cannot write below " + folder + "/files");
    }
    EventDriver events(*state, folder + "/files", folder + "/attribute.new", programs.Pids());
    RecorderDriver recorder(*state, folder + "/files", folder + "/recorder.new");
    ProcStat stat(*state, folder + "/files");
    const ServedFiles served{folder, programs, events, recorder, stat};
    const auto first = WriteMoment(*state, served, "");
    if (first && isFirst) {
        PrintLine("ready");
        setup.Close();
    }
    const bool isWell = first && KeepFiles(*state, served, *first);
    if (!isLeft) {
        RemoveFigures(folder, *state);
    }
    return isWell ? 0 : 1;
}

}  // namespace

int ServeBoard(const std::string& folder, const BoardSource& source, bool once) {
    SetSignals();
    if (!MakeFolder(folder, once)) {
        return 1;
    }
    const std::string scratch = ScratchOf(folder, ::getpid());
    if (::mkdir(scratch.c_str(), 0700) != 0) {
        return Fail("cannot make " + scratch + ": " + std::strerror(errno));
    }
    const int status = ServeFolder(folder, source);
    std::error_code ignored;
    std::filesystem::remove_all(scratch, ignored);
    if (once && isLeft) {
        RemoveBoard(folder);
    }
    return status;
}

}  // namespace zarn::board
