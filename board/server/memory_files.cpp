#include "board/server/memory_files.h"

#include <iomanip>
#include <numeric>
#include <sstream>
#include <utility>

namespace zarn::board {
namespace {

constexpr std::uint32_t kGroup = 1;

void AddLine(std::ostringstream& text, const std::string& name, std::uint64_t kb) {
    text << std::left << std::setw(16) << (name + ":") << std::right << std::setw(8) << kb
         << " kB\n";
}

}  // namespace

std::vector<SharePoolUser> SharePoolUsers(const BoardPrograms& programs,
                                          const std::vector<pid_t>& pids, std::uint64_t timeMs) {
    std::vector<SharePoolUser> users;
    for (std::size_t i = 0; i < pids.size(); ++i) {
        const ProgramPlan& plan = programs.plans[i];
        if (plan.sharePoolKb > 0) {
            users.push_back({pids[i], plan.name.data(), SharePoolKb(plan, timeMs)});
        }
    }
    return users;
}

std::string SharePoolText(const std::vector<SharePoolUser>& users) {
    const std::uint64_t sum =
        std::accumulate(users.begin(), users.end(), std::uint64_t{0},
                        [](std::uint64_t kb, const SharePoolUser& user) { return kb + user.kb; });
    std::ostringstream text;
    text << "Spg total num: 1. Spa total num: " << users.size() << ". Total size: " << sum
         << " KB.\n\n"
         << "PID      Group_ID SP_ALLOC SP_K     SP_R     VIRT     RES      Shm      PROT COMMAND\n"
         << std::left;
    for (const SharePoolUser& user : users) {
        text << std::setw(9) << user.pid << std::setw(9) << kGroup << std::setw(9) << user.kb
             << std::setw(9) << user.kb << std::setw(9) << 0 << std::setw(9) << 4 * user.kb
             << std::setw(9) << 2 * user.kb << std::setw(9) << user.kb / 2 << "RW   " << user.name
             << '\n';
    }
    text << "guard    1        4        -        -        -        -        -        -    -\n";
    return text.str();
}

std::string SharePoolGroupText(const SharePoolUser& user) {
    std::ostringstream text;
    text << user.pid << ' ' << kGroup << ' ' << user.kb << '\n';
    return text.str();
}

std::string MeminfoText(const SystemMemory& memory, std::uint32_t programsKb) {
    const std::uint64_t used = std::uint64_t{memory.baseKb} + programsKb;
    const std::pair<const char*, std::uint64_t> lines[] = {
        {"MemTotal", memory.totalKb},
        {"MemFree", memory.totalKb - used - memory.cachedKb},
        {"MemAvailable", memory.totalKb - used},
        {"Buffers", 0},
        {"Cached", memory.cachedKb},
        {"SwapCached", 0},
        {"SwapTotal", 0},
        {"SwapFree", 0},
        {"AnonPages", programsKb},
        {"Shmem", 0},
        {"Slab", memory.slabKb},
        {"SReclaimable", 0},
        {"SUnreclaim", memory.slabKb},
        {"KernelStack", memory.kernelStackKb},
        {"PageTables", memory.pageTablesKb},
        {"SecPageTables", 0},
        {"VmallocUsed", memory.vmallocKb},
        {"Hugetlb", 0},
    };
    std::ostringstream text;
    for (const auto& [name, kb] : lines) {
        AddLine(text, name, kb);
    }
    return text.str();
}

// Objects of 1 KB, so that any size can be told.
std::string SlabinfoText(const SystemMemory& memory) {
    std::ostringstream text;
    text << "slabinfo - version: 2.1\n"
            "# name            <active_objs> <num_objs> <objsize> <objperslab> <pagesperslab>\n";
    const std::uint32_t inodes = memory.slabKb / 3;
    for (const auto& [name, count] :
         {std::pair<const char*, std::uint32_t>{"board_inode", inodes},
          std::pair<const char*, std::uint32_t>{"board_buffer", memory.slabKb - inodes}}) {
        text << std::left << std::setw(17) << name << std::right << ' ' << std::setw(6) << count
             << ' ' << std::setw(6) << count << "   1024   32    8\n";
    }
    return text.str();
}

std::string VmallocinfoText(const SystemMemory& memory) {
    std::ostringstream text;
    text << "0xffff800008000000-0xffff800008400000 " << std::uint64_t{memory.vmallocKb} * 1024
         << " board_driver_probe+0x40/0x80 pages=" << memory.vmallocKb / 4 << " vmalloc\n"
         << "0xffff800009000000-0xffff800009002000    8192 board_map+0x20/0x40 ioremap\n";
    return text.str();
}

}  // namespace zarn::board
