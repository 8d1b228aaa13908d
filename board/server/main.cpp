// zarn-board-server: makes a virtual board and writes its moving files, as long as somebody holds
// the other end of its standard input. Called by zarn-board; `table`, `events`, `buffers`,
// `sched` and `status` are for users, too, `trace` is the work of the board's profiling tool. Exit
// status: 0, 1 if the work fails, 2 for a wrong call.

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "board/server/board_files.h"
#include "board/server/board_folder.h"
#include "board/server/board_programs.h"
#include "board/server/cpu_texts.h"
#include "board/server/engine_trace.h"
#include "board/server/event_driver.h"
#include "board/server/recorder_driver.h"
#include "board/server/sched_processes.h"
#include "board/server/sched_truth.h"
#include "board/setup/scenario_parser.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/numbers.h"
#include "foundation/text.h"

namespace zarn::board {
namespace {

constexpr const char* kUsage =
    "usage: zarn-board-server create STATE SCENARIO SEED [FAULTS]\n"
    "       zarn-board-server serve|serve-once FOLDER DATA SCENARIO SEED [FAULTS]\n"
    "       zarn-board-server table STATE MILLISECONDS...\n"
    "       zarn-board-server events STATE MILLISECONDS...\n"
    "       zarn-board-server buffers STATE [MICROSECONDS...]\n"
    "       zarn-board-server sched STATE FROM_US TO_US\n"
    "       zarn-board-server status STATE\n"
    "       zarn-board-server trace STATE FOLDER\n"
    "       zarn-board-server account STATE\n"
    "       zarn-board-server truth SCENARIO SEED -a|-C CORE|-p PROGRAM FROM_MS TO_MS";

using Arguments = std::vector<std::string>;

volatile std::sig_atomic_t stopped = 0;
// Nobody needs the board any more: the ordinary end. Any other one leaves a command without it.
bool isLeft = false;

int Fail(const std::string& text) {
    PrintError("zarn-board-server: " + text);
    return 1;
}

int Create(const Arguments& arguments) {
    const BoardSource source{"", arguments[1], arguments[2],
                             arguments.size() > 3 ? arguments[3] : ""};
    return CreateState(arguments[0], source) ? 0 : 1;
}

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
    return stopped == 0 && !isLeft;
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
};

// What wakes a server between two ticks.
std::vector<Waker> WakersOf(const ServedFiles& served) {
    std::vector<Waker> wakers{{served.events.Wakes(), [&] { served.events.Answer(); }}};
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
        !served.recorder.Refresh()) {
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

// What interrupts the board's command does not end the server.
void SetSignals() {
    struct sigaction action {};
    action.sa_handler = [](int) { stopped = 1; };
    ::sigaction(SIGTERM, &action, nullptr);
    action.sa_handler = SIG_IGN;
    for (const int signal : {SIGINT, SIGQUIT, SIGHUP, SIGPIPE}) {
        ::sigaction(signal, &action, nullptr);
    }
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
    return stopped != 0 || isLeft ? 0 : Fail("cannot lock " + folder + ": " + std::strerror(errno));
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
    BoardState* state = MapBoardState((folder + "/state").c_str());
    if (state == nullptr) {
        return Fail("no board state: " + folder + "/state");
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
    const ServedFiles served{folder, programs, events, recorder};
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

int ServeIn(const Arguments& arguments, bool once) {
    SetSignals();
    const std::string& folder = arguments[0];
    if (!MakeFolder(folder, once)) {
        return 1;
    }
    const std::string scratch = ScratchOf(folder, ::getpid());
    if (::mkdir(scratch.c_str(), 0700) != 0) {
        return Fail("cannot make " + scratch + ": " + std::strerror(errno));
    }
    const int status = ServeFolder(folder, {arguments[1], arguments[2], arguments[3],
                                            arguments.size() > 4 ? arguments[4] : ""});
    std::error_code ignored;
    std::filesystem::remove_all(scratch, ignored);
    if (once && isLeft) {
        RemoveBoard(folder);
    }
    return status;
}

int Serve(const Arguments& arguments) {
    return ServeIn(arguments, false);
}

int ServeOnce(const Arguments& arguments) {
    return ServeIn(arguments, true);
}

// Prints what `textOf` makes of the state, for each of the moments.
template <typename TextOf>
int PrintMoments(const Arguments& arguments, const TextOf& textOf) {
    BoardState* state = MapBoardState(arguments[0].c_str());
    if (state == nullptr) {
        return Fail("no board state: " + arguments[0]);
    }
    std::string texts;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        std::uint64_t timeMs = 0;
        if (!IsDigitString(arguments[i]) || !StringToUint64(arguments[i], timeMs)) {
            return Fail("no time in milliseconds: " + arguments[i]);
        }
        texts += "time: " + std::to_string(timeMs) + " ms\n" + textOf(*state, timeMs);
    }
    texts.pop_back();
    PrintLine(texts);
    return 0;
}

int Table(const Arguments& arguments) {
    return PrintMoments(arguments, [](BoardState& state, std::uint64_t timeMs) {
        const BoardLock lock(state);
        return BandwidthTable(state, timeMs);
    });
}

int Events(const Arguments& arguments) {
    std::optional<EventReplay> replay;
    return PrintMoments(arguments, [&replay](BoardState& state, std::uint64_t timeMs) {
        if (!replay) {
            replay.emplace(state);
        }
        return replay->TextAt(timeMs);
    });
}

int Buffers(const Arguments& arguments) {
    BoardState* state = MapBoardState(arguments[0].c_str());
    if (state == nullptr) {
        return Fail("no board state: " + arguments[0]);
    }
    const BoardLock lock(*state);
    std::string text = BufferRecordingText(*state);
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        std::uint64_t timeUs = 0;
        if (!IsDigitString(arguments[i]) || !StringToUint64(arguments[i], timeUs)) {
            return Fail("no time in microseconds: " + arguments[i]);
        }
        text += RecordedBuffersText(*state, timeUs);
    }
    text.pop_back();
    PrintLine(text);
    return 0;
}

int Sched(const Arguments& arguments) {
    const BoardState* state = MapBoardState(arguments[0].c_str());
    if (state == nullptr) {
        return Fail("no board state: " + arguments[0]);
    }
    SchedSpan span;
    for (const auto& [word, us] :
         {std::pair(&arguments[1], &span.fromUs), {&arguments[2], &span.toUs}}) {
        if (!IsDigitString(*word) || !StringToUint64(*word, *us)) {
            return Fail("no time in microseconds: " + *word);
        }
    }
    if (span.toUs < span.fromUs) {
        return Fail("the time ends before it begins");
    }
    std::string text = SchedTruthText(*state, span);
    text.pop_back();
    PrintLine(text);
    return 0;
}

int Status(const Arguments& arguments) {
    BoardState* state = MapBoardState(arguments[0].c_str());
    if (state == nullptr) {
        return Fail("no board state: " + arguments[0]);
    }
    const BoardLock lock(*state);
    std::string text = StatusText(*state);
    if (state->scenario.sched.cores > 0) {
        text += SchedStatusText(*state);
    }
    text.pop_back();
    PrintLine(text);
    return 0;
}

// Passes on what comes on standard input within so many milliseconds. False at its end, or after a
// signal to end.
bool PassOn(int milliseconds) {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    if (::poll(&input, 1, milliseconds) <= 0) {
        return stopped == 0;
    }
    std::array<char, 4096> bytes{};
    const ssize_t got = ::read(STDIN_FILENO, bytes.data(), bytes.size());
    for (ssize_t done = 0; done < got;) {
        const ssize_t written =
            ::write(STDOUT_FILENO, bytes.data() + done, static_cast<std::size_t>(got - done));
        done = written < 0 ? got : done + written;
    }
    return got > 0;
}

// Traces the image engines until standard input ends, and leaves the slices in a folder.
int Trace(const Arguments& arguments) {
    SetSignals();
    BoardState* state = MapBoardState(arguments[0].c_str());
    if (state == nullptr) {
        return Fail("no board state: " + arguments[0]);
    }
    EngineTrace trace;
    std::uint64_t timeMs = 0;
    do {
        timeMs = BoardTimeMs(*state);
        const BoardLock lock(*state);
        trace.TakeUntil(*state, timeMs);
    } while (PassOn(static_cast<int>(kTickMs - timeMs % kTickMs)));
    for (const auto& [name, text] : {std::pair("/imgp.data.0.slice_0", trace.DataSlice()),
                                     std::pair("/imgp.vpc.0.slice_0", trace.VpcSlice())}) {
        if (WriteFile(arguments[1] + name, text) != FileResult::Ok) {
            return Fail("cannot write " + arguments[1] + name);
        }
    }
    return 0;
}

int Account(const Arguments& arguments) {
    BoardState* state = MapBoardState(arguments[0].c_str());
    if (state == nullptr) {
        return Fail("no board state: " + arguments[0]);
    }
    std::string text = AccountText(*state);
    if (!text.empty()) {
        text.pop_back();
        PrintLine(text);
    }
    return 0;
}

int Truth(const Arguments& arguments) {
    const auto state = std::make_unique<BoardState>();
    std::string scenario;
    if (ReadFile(arguments[0], scenario) != FileResult::Ok) {
        return Fail("cannot read the scenario " + arguments[0]);
    }
    if (const auto reason = ParseScenario(scenario, *state)) {
        return Fail(arguments[0] + ": " + *reason);
    }
    const std::string word = arguments[2] + (arguments.size() > 5 ? arguments[3] : "");
    const auto target = ReadTarget(*state, word);
    BoardSpan span;
    if (!target || !StringToUint64(arguments[1], state->seed) ||
        !StringToUint64(arguments[arguments.size() - 2], span.fromMs) ||
        !StringToUint64(arguments.back(), span.toMs)) {
        PrintError(kUsage);
        return 2;
    }
    std::string text = TruthText(*state, *target, span);
    text.pop_back();
    PrintLine(text);
    return 0;
}

// A command of the program and how many arguments it takes.
struct Command {
    std::string_view name;
    std::size_t least;
    std::size_t most;
    int (*run)(const Arguments&);
};

constexpr std::array<Command, 11> kCommands{{
    {"create", 3, 4, Create},
    {"serve", 4, 5, Serve},
    {"serve-once", 4, 5, ServeOnce},
    {"table", 2, 1000000, Table},
    {"events", 2, 1000000, Events},
    {"buffers", 1, 1000000, Buffers},
    {"sched", 3, 3, Sched},
    {"status", 1, 1, Status},
    {"trace", 2, 2, Trace},
    {"account", 1, 1, Account},
    {"truth", 5, 6, Truth},
}};

}  // namespace
}  // namespace zarn::board

int main(int argc, char** argv) {
    using namespace zarn::board;  // the program is made of this namespace
    const std::vector<std::string> words(argv + 1, argv + argc);
    const Arguments arguments(words.begin() + (words.empty() ? 0 : 1), words.end());
    for (const Command& command : kCommands) {
        const bool isNamed = !words.empty() && words[0] == command.name;
        if (isNamed && arguments.size() >= command.least && arguments.size() <= command.most) {
            return command.run(arguments);
        }
    }
    zarn::PrintError(kUsage);
    return 2;
}
