#include "board/server/recorder_driver.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <csignal>
#include <vector>

#include "foundation/files.h"

namespace zarn::board {
namespace {

constexpr const char* kControl = "/sched_ctrl";
constexpr const char* kThreshold = "/sched_threshold";
constexpr const char* kSizes = "/sched_record_size";
constexpr const char* kLog = "sched_log";
constexpr const char* kTable = "sched_table";
constexpr const char* kStacks = "sched_stacks";

// What cannot be read is as if it was about to be written.
std::string TextIn(const std::string& path) {
    std::string text;
    return ReadFile(path, text) == FileResult::Ok ? text : "";
}

// A descriptor that tells when a file in the folder has been written. Without one the settings are
// looked at when a file is opened and at each tick.
int WatchWriting(const std::string& folder) {
    const int watch = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    (void)::inotify_add_watch(watch, folder.c_str(), IN_CLOSE_WRITE | IN_MOVED_TO);
    return watch;
}

}  // namespace

std::string RecorderFolder(const std::string& files) {
    return files + "/proc/perf";
}

std::vector<std::string> RecorderTexts(const BoardState& state) {
    return state.scenario.sched.cores > 0 ? std::vector<std::string>{kLog, kTable, kStacks}
                                          : std::vector<std::string>{};
}

bool SetRecorderUp(const std::string& files) {
    const std::string folder = RecorderFolder(files);
    return WriteFile(folder + kControl, "0\n") == FileResult::Ok &&
           WriteFile(folder + kThreshold, "0\n") == FileResult::Ok &&
           WriteFile(folder + kSizes, "100,1000\n") == FileResult::Ok;
}

RecorderDriver::RecorderDriver(BoardState& state, const std::string& files,
                               const std::string& spare)
    : state_(state),
      folder_(RecorderFolder(files)),
      isThere_(state.scenario.sched.cores > 0),
      files_(folder_, spare, RecorderTexts(state), SIGRTMIN) {
    if (isThere_) {
        written_ = WatchWriting(folder_);
    }
}

RecorderDriver::~RecorderDriver() {
    if (written_ >= 0) {
        ::close(written_);
    }
}

std::array<int, 2> RecorderDriver::Wakes() const {
    return {isThere_ ? files_.Wakes() : -1, written_};
}

// The settings come first: who has armed the recorder and then opens a file is to find it armed.
void RecorderDriver::Answer() {
    std::array<char, 4096> ignored{};
    while (written_ >= 0 && ::read(written_, ignored.data(), ignored.size()) > 0) {
        // The settings are looked at as they are, whatever was written how often.
    }
    LookAtSettings();
    files_.Answer([this](const std::string& name) { return TextOf(name); });
}

bool RecorderDriver::Refresh() {
    if (!isThere_) {
        return true;
    }
    LookAtSettings();
    return files_.Refresh([this](const std::string& name) { return TextOf(name); });
}

// A file that is empty is about to be written.
void RecorderDriver::LookAtSettings() {
    const std::string control = TextIn(folder_ + kControl);
    const std::string threshold = TextIn(folder_ + kThreshold);
    const std::string sizes = TextIn(folder_ + kSizes);
    if (!control.empty() && !threshold.empty() && !sizes.empty()) {
        settings_ = ReadRecorderSettings(control, threshold, sizes);
    }
    const std::uint64_t nowUs = BoardTimeUs(state_);
    Advance(nowUs);
    if (settings_.thresholdNs != ArmedThresholdNs(state_.schedRecording)) {
        const BoardLock lock(state_);
        Rearm(state_.schedRecording, nowUs, settings_.thresholdNs);
    }
}

// A recorder that was never armed knows nothing, so nothing needs to happen for it.
void RecorderDriver::Advance(std::uint64_t timeUs) {
    if (!recorder_ && state_.schedRecording.count > 0) {
        recorder_.emplace(state_.scenario.sched, state_.seed);
    }
    if (recorder_) {
        recorder_->Advance(timeUs, state_.schedRecording);
    }
}

std::string RecorderDriver::TextOf(const std::string& name) {
    LookAtSettings();
    static const RecorderNotes nothing;
    const RecorderView view{state_, recorder_ ? recorder_->Notes() : nothing, settings_};
    if (name == kLog) {
        return SchedLogText(view);
    }
    return name == kTable ? SchedTableText(view) : SchedStacksText(view);
}

}  // namespace zarn::board
