// perf on the virtual board: counts the board's events itself, records its scheduler, and leaves
// all else to the machine's perf.

#include <string>
#include <vector>

#include "board/perf/machine_perf.h"
#include "board/perf/perf_call.h"
#include "board/perf/record.h"
#include "board/perf/sched.h"
#include "board/perf/stat.h"

namespace {

using namespace zarn::board;  // the program is made of this namespace

int Run(const std::vector<std::string>& words) {
    const std::string name = words.empty() ? "" : words.front();
    const std::vector<std::string> rest(words.begin() + (words.empty() ? 0 : 1), words.end());
    if (name == "stat") {
        const PerfCall call = ParseStatCall(rest);
        if (AsksRawEvents(call) || AsksBoardTable(call)) {
            return RunStat(call);
        }
    }
    if (name == "sched") {
        return RunSched(rest);
    }
    return name == "record" ? RunRecord(rest) : BecomeMachinePerf(words);
}

}  // namespace

int main(int argc, char** argv) {
    return Run({argv + 1, argv + argc});
}
