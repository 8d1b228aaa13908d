#pragma once

#include "board/model/buffers.h"
#include "board/model/programs.h"
#include "board/setup/fields.h"

namespace zarn::board {

// Reads the member `buffers` of a scenario (docs/board.md), behind its programs. Refused besides
// what Fields refuses: an owner that is no program or is one already, a group or a pool without a
// proper name, more buffers at a time than the pool has blocks.
void ReadBuffers(Fields& scenario, const BoardPrograms& programs, BufferPools& pools);

}  // namespace zarn::board
