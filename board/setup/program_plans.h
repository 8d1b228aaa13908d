#pragma once

#include <cstddef>
#include <string>

#include "board/model/programs.h"
#include "board/setup/fields.h"

namespace zarn::board {

// Reads the member `programs`, a list, and `memory`, an object, of a scenario (docs/board.md).
// Refused besides what Fields refuses: a name that is none, is taken or stands for no program;
// programs that can grow beyond kMostProgramsKb; parts of the memory that exceed its total.
void ReadPrograms(Fields& scenario, BoardPrograms& programs);
void ReadMemory(Fields& scenario, const BoardPrograms& programs, SystemMemory& memory);

// The index of the program of that name; the number of programs if there is none.
[[nodiscard]] std::size_t IndexOfProgram(const BoardPrograms& programs, const std::string& name);

}  // namespace zarn::board
