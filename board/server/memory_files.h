#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

#include "board/model/programs.h"

// Texts of the kernel files about memory. Pure functions of the board's time.
namespace zarn::board {

// A process of the share pool: all that its row in the table tells.
struct SharePoolUser {
    pid_t pid = 0;
    std::string name;
    std::uint32_t kb = 0;
};

// The processes that use the share pool at a moment; `pids` are those of the programs, by index.
[[nodiscard]] std::vector<SharePoolUser> SharePoolUsers(const BoardPrograms& programs,
                                                        const std::vector<pid_t>& pids,
                                                        std::uint64_t timeMs);

// /proc/sharepool/proc_stat: the totals, which are the sums of the rows, a head, a row for each
// process in the group 1, and a guard line.
[[nodiscard]] std::string SharePoolText(const std::vector<SharePoolUser>& users);
// /proc/<pid>/sp_group: the process, its group, its KB.
[[nodiscard]] std::string SharePoolGroupText(const SharePoolUser& user);

// The memory of the system at a moment. What is in use is the base and the plans; it, what is free
// and what the cache has are the total.
[[nodiscard]] std::string MeminfoText(const SystemMemory& memory, std::uint32_t programsKb);
// Caches whose objects are the slab's KB.
[[nodiscard]] std::string SlabinfoText(const SystemMemory& memory);
[[nodiscard]] std::string VmallocinfoText(const SystemMemory& memory);

}  // namespace zarn::board
