#include "board/server/board_programs.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "board/launcher/child.h"
#include "board/program/program_order.h"
#include "board/server/board_files.h"
#include "board/server/memory_files.h"
#include "board/server/ordered_child.h"
#include "foundation/files.h"
#include "foundation/text.h"

namespace zarn::board {
namespace {

namespace fs = std::filesystem;

constexpr const char* kIdleProgram = "zarn-board-program";
constexpr const char* kWorkProgram = "frame_worker";
constexpr std::uint32_t kServerPoolKb = 1024;  // the simulated buffers

// The memory that programs share: an open file each, in the order of the areas. Closed at the end:
// those who map it keep it.
class AreaFiles {
public:
    explicit AreaFiles(const BoardPrograms& programs) {
        for (std::size_t i = 0; i < programs.areaCount; ++i) {
            const int fd = ::memfd_create("shared", 0);
            if (fd >= 0 && ::ftruncate(fd, off_t{programs.areas[i].kb} * 1024) == 0) {
                ++good_;
            }
            files_.push_back(fd);
        }
    }
    AreaFiles(const AreaFiles&) = delete;
    AreaFiles& operator=(const AreaFiles&) = delete;
    ~AreaFiles() {
        for (const int fd : files_) {
            ::close(fd);
        }
    }

    [[nodiscard]] bool AreThere() const { return good_ == files_.size(); }
    [[nodiscard]] int Of(std::size_t area) const { return files_[area]; }

private:
    std::vector<int> files_;
    std::size_t good_ = 0;
};

// The state's file, as programs that work get it.
class StateFile {
public:
    explicit StateFile(const std::string& path) : fd_(::open(path.c_str(), O_RDWR)) {}
    StateFile(const StateFile&) = delete;
    StateFile& operator=(const StateFile&) = delete;
    ~StateFile() { ::close(fd_); }
    [[nodiscard]] int Get() const { return fd_; }

private:
    int fd_;
};

// What programs have from the server beside their plans.
struct OpenFiles {
    const AreaFiles& areas;
    const StateFile& state;
};

ProgramOrder OrderFor(const BoardState& state, std::size_t index, const OpenFiles& files) {
    const BoardPrograms& programs = state.scenario.programs;
    ProgramOrder order;
    order.server = ::getpid();
    order.startNs = state.startNs;
    order.plan = programs.plans[index];
    for (std::size_t i = 0; i < programs.areaCount; ++i) {
        if ((programs.areas[i].programs & (1U << index)) != 0 && programs.areas[i].kb > 0) {
            order.mappings[order.mappingCount++] = {files.areas.Of(i), programs.areas[i].kb};
        }
    }
    order.stateFd = files.state.Get();
    order.stateSize = sizeof(BoardState);
    order.accountOffset = offsetof(BoardState, accounts) + index * sizeof(WorkAccount);
    return order;
}

// The program that works is there once for each version, always under one name, by which profiles
// are compared.
std::string ProgramPath(const PipelineProfile& profile) {
    if (profile.load <= 0.0) {
        return InnerProgramPath(kIdleProgram);
    }
    std::error_code error;
    const fs::path own = fs::read_symlink("/proc/self/exe", error).parent_path();
    const fs::path versions = own.parent_path() / "lib/zarn/board/programs";
    return (versions / std::to_string(profile.version) / kWorkProgram).string();
}

// Starts a program and waits until it has its memory; -1 if that fails.
pid_t StartProgram(const ProgramOrder& order) {
    const auto child = StartOrdered(ProgramPath(order.plan.pipeline), order.plan.name.data(),
                                    {&order, sizeof(order)});
    if (!child) {
        return -1;
    }
    const bool ready = ReadWord(child->answers) == "ready";
    ::close(child->answers);
    if (!ready) {
        EndChild(child->pid);
    }
    return ready ? child->pid : -1;
}

// A program that is gone has no such file any more.
void RemoveGroups(const std::string& proc) {
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(proc, ignored)) {
        if (IsDigitString(entry.path().filename().string())) {
            fs::remove_all(entry.path(), ignored);
        }
    }
}

}  // namespace

bool ReplaceFile(const std::string& path, const std::string& text) {
    const std::string fresh = path + ".new";
    return WriteFile(fresh, text) == FileResult::Ok &&
           std::rename(fresh.c_str(), path.c_str()) == 0;
}

RunningPrograms::~RunningPrograms() {
    for (const pid_t pid : pids_) {
        EndChild(pid);
    }
}

bool RunningPrograms::Start(const BoardState& state, const std::string& path) {
    const AreaFiles areas(state.scenario.programs);
    const StateFile file(path);
    for (std::size_t i = 0; i < state.scenario.programs.count && areas.AreThere(); ++i) {
        const pid_t pid = StartProgram(OrderFor(state, i, {areas, file}));
        if (pid < 0) {
            return false;
        }
        pids_.push_back(pid);
    }
    return areas.AreThere();
}

bool RunningPrograms::LayFiles(const BoardState& state, const std::string& files) {
    files_ = files + "/proc/";
    RemoveGroups(files_);
    std::error_code error;
    fs::create_directories(files_ + "sharepool", error);
    for (const pid_t pid : pids_) {
        fs::create_directories(files_ + std::to_string(pid), error);
    }
    fs::create_directories(files_ + std::to_string(::getpid()), error);
    return WriteBufferGroups(state.scenario.buffers) && WriteFiles(state, BoardTimeMs(state));
}

bool RunningPrograms::WriteBufferGroups(const BufferPools& pools) {
    bool good = true;
    for (std::size_t i = 0; i < pids_.size(); ++i) {
        const std::vector<std::string> groups =
            BufferGroupsOf(pools, static_cast<std::uint32_t>(i));
        if (!groups.empty()) {
            const std::string task = "xsmem/task/" + std::to_string(pids_[i]);
            std::error_code error;
            fs::create_directories(files_ + task, error);
            good = Write(task + "/summary", BufferGroupsText(pids_[i], groups)) && good;
        }
    }
    return good;
}

void RunningPrograms::TellProcesses(BoardState& state) const {
    state.programPids.fill(0);
    std::copy(pids_.begin(), pids_.end(), state.programPids.begin());
}

bool RunningPrograms::WriteFiles(const BoardState& state, std::uint64_t timeMs) {
    std::vector<SharePoolUser> users = SharePoolUsers(state.scenario.programs, pids_, timeMs);
    users.insert(users.begin(), {::getpid(), kServerName, kServerPoolKb});
    bool good = Write("sharepool/proc_stat", SharePoolText(users));
    for (const SharePoolUser& user : users) {
        good = Write(std::to_string(user.pid) + "/sp_group", SharePoolGroupText(user)) && good;
    }
    const SystemMemory& memory = state.scenario.memory;
    if (memory.totalKb > 0) {
        const std::uint32_t programsKb = ProgramsKb(state.scenario.programs, timeMs);
        good = Write("meminfo", MeminfoText(memory, programsKb)) &&
               Write("slabinfo", SlabinfoText(memory)) &&
               Write("vmallocinfo", VmallocinfoText(memory)) && good;
    }
    return good;
}

bool RunningPrograms::Write(const std::string& name, const std::string& text) {
    std::string& last = written_[name];
    if (text == last) {
        return true;
    }
    last = text;
    return ReplaceFile(files_ + name, text);
}

}  // namespace zarn::board
