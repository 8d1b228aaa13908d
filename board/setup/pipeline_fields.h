#pragma once

#include "board/model/programs.h"
#include "board/setup/fields.h"

namespace zarn::board {

// Reads the members `pipeline` and `functions` of a program (docs/board.md). Refused besides what
// Fields refuses: shares that exceed their whole, functions that the program's version lacks, or
// all of them without a share.
void ReadPipeline(Fields& program, PipelineProfile& profile);

// Refuses programs that ask for more of a core than the system leaves of it.
void CheckCoreLoads(const BoardPrograms& programs);

}  // namespace zarn::board
