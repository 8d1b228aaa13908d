#pragma once

#include <string>

#include "collectors/profiling/valgrind/program_words.h"
#include "foundation/stop_flag.h"
#include "kit/host.h"

namespace zarn {

// Begins with a program: takes the time that its files are named after. False after its line if an
// interrupt has come or there is no such time; nothing more is to be begun then.
[[nodiscard]] bool BeginProgram(const std::string& program, const ProgramWords& words,
                                const StopFlag* stopFlag, const Clock& clock, std::string& time);

}  // namespace zarn
