#include "collectors/profiling/valgrind/begin_program.h"

#include "foundation/console.h"
#include "foundation/text.h"

namespace zarn {

bool BeginProgram(const std::string& program, const ProgramWords& words, const StopFlag* stopFlag,
                  const Clock& clock, std::string& time) {
    if (IsSet(stopFlag)) {
        PrintLine(words.interrupted + program + ProgramWords::kBehindInterrupted);
        return false;
    }
    if (!clock.currentTime(time)) {
        return PrintFailure(words.noTime);
    }
    return IsDigitString(time) || PrintFailure(words.timeNoNumber);
}

}  // namespace zarn
