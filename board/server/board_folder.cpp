#include "board/server/board_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>

#include "board/server/cpu_files.h"
#include "board/server/event_driver.h"
#include "board/server/event_texts.h"
#include "board/server/function_files.h"
#include "board/server/proc_stat.h"
#include "board/server/recorder_driver.h"
#include "board/setup/scenario_parser.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/zarn_utils.h"

namespace zarn::board {
namespace {

namespace fs = std::filesystem;

constexpr const char* kOptUsr = "/opt-usr";

bool Fail(const std::string& text) {
    return PrintFailure("zarn-board-server: " + text);
}

// A copy of the folder in which its owner may write, whatever the original allows.
std::error_code CopyWritable(const std::string& from, const std::string& to) {
    std::error_code error;
    fs::remove_all(to, error);
    fs::copy(from, to, fs::copy_options::recursive, error);
    if (error) {
        return error;
    }
    fs::permissions(to, fs::perms::owner_write, fs::perm_options::add, error);
    for (const auto& entry : fs::recursive_directory_iterator(to, error)) {
        fs::permissions(entry.path(), fs::perms::owner_write, fs::perm_options::add, error);
    }
    return error;
}

// The kernel files that the scenario settles, once for all.
bool LayScenarioFiles(const std::string& folder, const std::string& path) {
    BoardState* state = MapBoardState(path.c_str());
    if (state == nullptr) {
        return false;
    }
    const std::uint32_t cores = state->scenario.sched.cores;
    const std::string files = folder + "/files";
    const bool good =
        cores == 0 || (LayCpuFiles(files, cores) && LayProcStat(*state, files) &&
                       SetRecorderUp(files) && LayFunctionFiles(folder, state->scenario.sched));
    ::munmap(state, sizeof(BoardState));
    return good;
}

}  // namespace

bool CreateState(const std::string& path, const BoardSource& source) {
    const auto state = std::make_unique<BoardState>();
    std::string text;
    if (ReadFile(source.scenario, text) != FileResult::Ok) {
        return Fail("cannot read the scenario " + source.scenario);
    }
    if (const auto reason = ParseScenario(text, *state)) {
        return Fail(source.scenario + ": " + *reason);
    }
    if (!IsDigitString(source.seed) || !StringToUint64(source.seed, state->seed)) {
        return Fail("the seed must be a whole number: " + source.seed);
    }
    if (!source.faults.empty()) {
        if (ReadFile(source.faults, text) != FileResult::Ok) {
            return Fail("cannot read the fault plan " + source.faults);
        }
        if (const auto reason = ParseFaultPlan(text, state->faults)) {
            return Fail(source.faults + ": " + *reason);
        }
    }
    return CreateBoardState(path.c_str(), *state) || Fail("cannot write " + path);
}

bool MakeBoard(const std::string& folder, const BoardSource& source) {
    const std::string state = folder + "/state";
    if (::access(state.c_str(), F_OK) == 0) {
        return true;
    }
    if (!CreateState(state + ".new", source)) {
        return false;
    }
    const std::error_code error = CopyWritable(source.data + "/files", folder + "/files");
    if (error) {
        return Fail("cannot copy the kernel files to " + folder + ": " + error.message());
    }
    if (!LayScenarioFiles(folder, state + ".new")) {
        return Fail("cannot write below " + folder + "/files");
    }
    return std::rename((state + ".new").c_str(), state.c_str()) == 0 ||
           Fail("cannot write " + state);
}

bool MakeFolder(const std::string& folder, bool fresh) {
    std::error_code error;
    if (fresh) {
        if (::mkdir(folder.c_str(), 0700) != 0) {
            error = std::error_code(errno, std::generic_category());
        }
    } else {
        fs::create_directories(folder, error);
    }
    return !error || Fail("cannot make the board's folder " + folder + ": " + error.message());
}

void RemoveBoard(const std::string& folder) {
    std::error_code ignored;
    ::rmdir((folder + kOptUsr).c_str());
    for (const auto& entry : fs::directory_iterator(folder, ignored)) {
        if (entry.path() != folder + kOptUsr) {
            fs::remove_all(entry.path(), ignored);
        }
    }
    ::rmdir(folder.c_str());
}

std::string ScratchOf(const std::string& folder, pid_t server) {
    return folder + "/scratch." + std::to_string(server);
}

std::string TablePath(const std::string& folder) {
    return folder + "/files/proc/qos/bwstat/bandwidth";
}

int OpenServerLock(const std::string& folder) {
    return ::open((folder + "/state.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
}

void RemoveFigures(const std::string& folder, const BoardState& state) {
    ::unlink(TablePath(folder).c_str());
    const fs::path events = EventFolder(folder + "/files");
    for (const std::string& attribute : EventAttributes()) {
        ::unlink((events / attribute).c_str());
    }
    const fs::path recorder = RecorderFolder(folder + "/files");
    for (const std::string& name : RecorderTexts(state)) {
        ::unlink((recorder / name).c_str());
    }
}

bool TakeFiguresAway(const std::string& folder, const BoardState& state) {
    const int lock = OpenServerLock(folder);
    const bool isUnserved = lock >= 0 && ::flock(lock, LOCK_EX | LOCK_NB) == 0;
    if (isUnserved) {
        RemoveFigures(folder, state);
    }
    if (lock >= 0) {
        ::close(lock);
    }
    return isUnserved;
}

}  // namespace zarn::board
