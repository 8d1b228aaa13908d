#pragma once

#include <pthread.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>

#include "board/model/buffers.h"
#include "board/model/demand.h"
#include "board/model/event_plan.h"
#include "board/model/programs.h"
#include "board/model/sched_plan.h"
#include "board/model/sched_recording.h"
#include "board/model/sharing.h"

// The one shared state of a virtual board: a file that every process on the board maps. Everything
// in it is plain data of fixed size, so that the device libraries need no parser.
namespace zarn::board {

// The variable of the board's environment that holds the path of its state file.
inline constexpr const char* kStateVariable = "VIRTUAL_BOARD_STATE";

inline constexpr std::size_t kPartitions = 16;
inline constexpr std::size_t kMasterNumbers = 32;
inline constexpr std::size_t kMaxDevices = 64;
inline constexpr std::size_t kMaxAiCores = 32;
inline constexpr std::size_t kMaxMonitorIds = 24;
inline constexpr std::size_t kMaxFaults = 64;
inline constexpr std::size_t kMaxRegistered = 256;

// Bounds of one partition as the device keeps them.
struct PartitionBounds {
    std::uint32_t low = 0;
    std::uint32_t high = kPeakGb;
    std::uint32_t hardlimit = 1;
};

// What the device keeps for one master number.
struct MasterConfig {
    std::uint32_t mpamid = 0;
    std::uint32_t priority = 0;
};

// The bandwidth monitor: while it runs, the bandwidth file has one row per id.
struct BandwidthMonitor {
    std::uint32_t running = 0;
    std::uint32_t sampling = 0;
    std::uint32_t idCount = 0;
    std::array<std::uint32_t, kMaxMonitorIds> ids{};
};

// Busy engines in percent when they get all the bandwidth they ask for.
struct EngineLoad {
    double aic = 0.0;
    double vdec = 0.0;
    double vpc = 0.0;
    double venc = 0.0;
};

// What the scenario settles, all but the QoS settings, which calls change. Plain data.
struct Scenario {
    PerMaster<MasterDemand> demands{};
    std::uint32_t cpuPriority = 5;  // the CPU has no master configuration that could hold it
    std::uint32_t deviceCount = 1;
    std::array<std::int32_t, kMaxDevices> devices{};
    std::uint32_t ddrType = 2;
    std::uint32_t aiCoreCount = 4;
    std::array<std::uint8_t, kMaxAiCores> aiCoreCodes{};  // 0, or the code a core always reports
    EngineLoad load;
    BufferPools buffers;
    BoardPrograms programs;
    SystemMemory memory;
    EventPlan events;
    SchedPlan sched;
    std::uint32_t unsupportedEvents = 0;  // a bit for each StandardEvent the processor lacks
};

// The recording of buffers held too long, as it was last set.
struct BufferRecording {
    std::uint32_t enabled = 0;
    std::uint32_t maxRecords = 0;
    std::uint32_t limitUs = 0;
    std::uint32_t scanUs = 0;
    std::uint64_t sinceUs = 0;               // board time of the enabling
    std::array<std::uint64_t, 2> askedUs{};  // and of the last two questions, the earlier one first
};

// The calls of the device libraries, as a fault rule names them.
enum class Call : std::uint32_t {
    kAny,
    kGetDeviceCount,
    kListDevice,
    kGetDeviceInfo,
    kSetDeviceInfo,
    kBuffCfg,
    kBuffGetInfo,
    kRegister,
    kUnRegister,
};

// One line of the fault plan: calls that match it fail, after `skip` of them have passed, `times`
// times.
struct FaultRule {
    static constexpr std::uint32_t kAnyValue = 0xFFFFFFFF;

    Call call = Call::kAny;
    std::uint32_t device = kAnyValue;
    std::uint32_t mainCommand = kAnyValue;
    std::uint32_t subCommand = kAnyValue;  // low byte of the sub command
    std::uint32_t key = kAnyValue;         // partition, master: what the call is about
    std::uint32_t skip = 0;
    std::uint32_t times = kAnyValue;
    std::int32_t code = 0;         // what the call answers; 0: it answers a wrong size instead
    std::uint32_t answerSize = 0;  // the wrong size of a reading call
    std::uint32_t seen = 0;        // matching calls so far
};

// The fault plan.
struct FaultPlan {
    std::uint32_t count = 0;
    std::array<FaultRule, kMaxFaults> rules{};
};

// The whole state. Made by CreateBoardState, met through AttachBoard; what lies behind `lock` is
// touched only under a BoardLock.
struct BoardState {
    std::array<char, 8> magic{};
    std::uint32_t version = 0;
    std::uint32_t size = 0;
    std::uint64_t startNs = 0;  // monotonic clock at the board's start
    std::uint64_t seed = 0;
    Scenario scenario;
    std::atomic<std::uint32_t> generation{0};  // moves when the settings or the monitor change
    pthread_mutex_t lock{};

    std::array<PartitionBounds, kPartitions> partitions{};
    std::array<MasterConfig, kMasterNumbers> masters{};
    BandwidthMonitor monitor;
    std::uint32_t qosEnabled = 0;
    BufferRecording recording;
    std::array<std::int32_t, kMaxRegistered> registered{};  // pids; 0: free place
    std::int32_t serverPid = 0;  // the program that writes the board's files
    std::array<std::int32_t, kMaxPrograms> programPids{};  // of the scenario's programs; 0: none
    std::array<std::int32_t, kMaxSchedTasks> schedTids{};  // of the scheduler's tasks; 0: none
    SchedRecording schedRecording;
    std::atomic<std::uint64_t> heartbeatNs{0};  // monotonic clock when that program was last alive
    std::uint64_t calls = 0;                    // of the device libraries, so far
    std::uint32_t benchRuns = 0;                // runs of the stress benchmark, so far
    std::uint64_t eventsSinceMs = 0;            // board time at which the event scheduler began
    FaultPlan faults;
    std::array<WorkAccount, kMaxPrograms> accounts{};  // of the programs that work
};

// Holds the state's lock. A lock that a process left behind by dying is taken over.
class BoardLock {
public:
    explicit BoardLock(BoardState& state);
    BoardLock(const BoardLock&) = delete;
    BoardLock& operator=(const BoardLock&) = delete;
    ~BoardLock();

private:
    BoardState& state_;
};

// The settings of a board on which every master stands in its own partition, without bounds.
void ResetSettings(BoardState& state);

// Writes `initial` as the state file `path`, replacing it, with a fresh lock and the clock at 0.
// False if the file cannot be written.
[[nodiscard]] bool CreateBoardState(const char* path, const BoardState& initial);

// The state of the board this process runs on, or nullptr outside a board or if the file is no
// state of this version. The mapping stays for the life of the process. Safe from any thread.
[[nodiscard]] BoardState* AttachBoard();

// The same for a path.
[[nodiscard]] BoardState* MapBoardState(const char* path);

// Time since the board's start.
[[nodiscard]] std::uint64_t BoardTimeMs(const BoardState& state);
[[nodiscard]] std::uint64_t BoardTimeUs(const BoardState& state);

// The heartbeat of the program that writes the board's files: Beat is its own; and for the others,
// for how many milliseconds it has stood still, 0 before the first one.
void Beat(BoardState& state);
[[nodiscard]] std::uint64_t MsSinceBeat(const BoardState& state);

// The id of this process, asked of the kernel once: under the tracer a system call costs more than
// the rest of a device call. A forked child asks anew.
[[nodiscard]] std::int32_t OwnProcessId();

// Tells those who wait in WaitForChange that settings have changed, without a system call: under
// the tracer one would cost the caller more than the rest of a device call. Call under the lock.
void AnnounceChange(BoardState& state);

// Waits until the generation is no longer `known`, at most `timeoutMs`; looks every 5 ms, and calls
// `goesOn` instead of pausing there, which pauses for so many milliseconds and says whether to wait
// on. False if it said no.
using Pause = std::function<bool(int milliseconds)>;
[[nodiscard]] bool WaitForChange(const BoardState& state, std::uint32_t known,
                                 std::uint32_t timeoutMs, const Pause& goesOn);

}  // namespace zarn::board
