#include "board/program/work.h"

namespace zarn::board {

std::uint32_t StartWork(const ProgramOrder& /*order*/) {
    return 0;
}

}  // namespace zarn::board
