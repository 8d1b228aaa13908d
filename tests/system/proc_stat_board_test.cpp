#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "board/server/proc_stat.h"
#include "board/state/board_state.h"
#include "tests/support/lines.h"
#include "tests/system/support/on_board.h"
#include "tests/system/support/program_lock.h"

// /proc/stat on a board with scheduled processes: the counts are the model's, to the last one, for
// those who keep the file open as for those who open it anew, and for top.
namespace zarn::test {
namespace {

class ProcStatBoard : public Board {
    const ProgramLock lock_;
};

INSTANTIATE_TEST_SUITE_P(Ways, ProcStatBoard, testing::Values("namespace", "proot"), WayName);

// Reads by an open file, from its start, and by its name, until there were 30 different texts, and
// prints how long each is.
constexpr const char* kReader = R"py(import os
stat = os.open("/proc/stat", os.O_RDONLY)
texts = []
while len(texts) < 30:
    os.lseek(stat, 0, os.SEEK_SET)
    again = open("/proc/stat", "rb", buffering=0)
    for text in (os.read(stat, 65536), again.read(65536)):
        if not texts or text != texts[-1]:
            texts.append(text)
    again.close()
assert len({len(text) for text in texts}) == 1
open("texts", "wb").write(b"".join(texts))
print(len(texts[0]))
)py";

// The lines of the model at each tick of a board until now, by a text of its file.
std::vector<std::vector<std::string>> TrueLines(const board::BoardState& state,
                                                const std::string& text) {
    board::CoreTimes times(state.scenario.sched, state.seed);
    const std::uint64_t last = board::BoardTimeUs(state) / board::kClockTickUs;
    std::vector<std::vector<std::string>> lines;
    for (std::uint64_t tick = 0; tick <= last; ++tick) {
        times.Advance(tick);
        lines.push_back(LinesIn(board::ProcStatText(text, times)));
    }
    return lines;
}

// A read that meets a write may have some lines of the one moment and some of the other.
TEST_P(ProcStatBoard, EveryReadHasLinesOfTheModelAndNoneGoesBack) {
    directory_.Write("reader", kReader);
    const Result result =
        OnBoard("python3 reader", "--scenario short_spike --seed 4 --board kept --opt-usr usr");
    ASSERT_EQ(result.status, 0) << result.text;
    const board::BoardState* state =
        board::MapBoardState((directory_.Path() + "kept/state").c_str());
    ASSERT_NE(state, nullptr);
    const std::string texts = directory_.Read("texts");
    const std::size_t size = std::stoul(result.text);
    const auto truth = TrueLines(*state, texts.substr(0, size));
    std::vector<std::size_t> ticks(truth[0].size());  // at which each line was last seen
    for (std::size_t at = 0; at < texts.size(); at += size) {
        const std::vector<std::string> lines = LinesIn(texts.substr(at, size));
        ASSERT_EQ(lines.size(), ticks.size());
        for (std::size_t i = 0; i < lines.size(); ++i) {
            while (truth[ticks[i]][i] != lines[i]) {
                ASSERT_LT(++ticks[i], truth.size()) << lines[i];
            }
        }
    }
    EXPECT_GT(ticks[0], 29U);
}

// Core 0 is busy for ever, core 1 for a task with a nice value, and nobody runs on core 2.
TEST_P(ProcStatBoard, TopSaysWhatTheModelsCoresDo) {
    directory_.Write("steady.json", R"({"sched": {"cores": 3, "processes": [
        {"name": "busy", "run_us": 1000, "affinity": [0]},
        {"name": "polite", "run_us": 1000, "affinity": [1], "nice": 5}]}})");
    // The first sample of top may be of less than a tick, the second not: the board moves on even
    // where the machine has much else to do.
    const Result result = OnBoard("top -1 -b -n 2 -d 2 -w 512 | grep -o '%Cpu[^%]*id,' | tail -n 3",
                                  "--scenario steady.json");
    EXPECT_EQ(result, (Result{"%Cpu0  :100.0 us,  0.0 sy,  0.0 ni,  0.0 id,\n"
                              "%Cpu1  :  0.0 us,  0.0 sy,100.0 ni,  0.0 id,\n"
                              "%Cpu2  :  0.0 us,  0.0 sy,  0.0 ni,100.0 id,\n",
                              0}));
}

TEST_P(ProcStatBoard, WithoutScheduledProcessesItIsTheMachines) {
    const std::string steady = "grep -E '^(cpu[0-9]* |btime)' /proc/stat | cut -d' ' -f1";
    EXPECT_EQ(OnBoard(steady), Shell(steady));
}

}  // namespace
}  // namespace zarn::test
