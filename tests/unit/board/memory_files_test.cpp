#include "board/server/memory_files.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>

namespace zarn::board {
namespace {

TEST(SharePoolTextTest, TheTotalIsTheSumOfTheRowsAndAGuardLineFollows) {
    EXPECT_EQ(
        SharePoolText({{77, "camera", 1024}, {78, "planner", 8}}),
        "Spg total num: 1. Spa total num: 2. Total size: 1032 KB.\n\n"
        "PID      Group_ID SP_ALLOC SP_K     SP_R     VIRT     RES      Shm      PROT COMMAND\n"
        "77       1        1024     1024     0        4096     2048     512      RW   camera\n"
        "78       1        8        8        0        32       16       4        RW   planner\n"
        "guard    1        4        -        -        -        -        -        -    -\n");
    EXPECT_EQ(SharePoolGroupText({78, "planner", 8}), "78 1 8\n");
}

TEST(SharePoolUsersTest, AreTheProgramsWithAShare) {
    BoardPrograms programs;
    programs.count = 2;
    programs.plans[0].name = {'a'};
    programs.plans[1].name = {'b'};
    programs.plans[1].sharePoolKb = 16;
    const auto users = SharePoolUsers(programs, {5, 6}, 0);
    ASSERT_EQ(users.size(), 1U);
    EXPECT_EQ(users[0].pid, 6);
    EXPECT_EQ(users[0].name, "b");
    EXPECT_EQ(users[0].kb, 16U);
}

std::map<std::string, std::uint64_t> LinesOf(const std::string& meminfo) {
    std::map<std::string, std::uint64_t> lines;
    std::istringstream stream(meminfo);
    std::string name;
    std::string unit;
    std::uint64_t kb = 0;
    while (stream >> name >> kb >> unit) {
        EXPECT_EQ(unit, "kB");
        lines[name] = kb;
    }
    return lines;
}

SystemMemory Memory() {
    SystemMemory memory;
    memory.totalKb = 10000;
    memory.baseKb = 3000;
    memory.cachedKb = 2000;
    memory.slabKb = 100;
    memory.vmallocKb = 64;
    memory.pageTablesKb = 30;
    memory.kernelStackKb = 20;
    return memory;
}

TEST(MeminfoTextTest, ItsPartsAddUp) {
    auto lines = LinesOf(MeminfoText(Memory(), 1500));
    EXPECT_EQ(lines["MemTotal:"], 10000U);
    EXPECT_EQ(lines["MemTotal:"] - lines["MemAvailable:"], 3000U + 1500U);
    EXPECT_EQ(lines["MemFree:"] + lines["Cached:"] + 4500U, 10000U);
    EXPECT_EQ(lines["AnonPages:"], 1500U);
    EXPECT_EQ(lines["PageTables:"], 30U);
    EXPECT_EQ(lines["KernelStack:"], 20U);
    EXPECT_EQ(lines.count("Hugetlb:") + lines.count("SecPageTables:"), 2U);
}

TEST(SlabinfoTextTest, ItsObjectsAreTheSlabsKb) {
    std::istringstream stream(SlabinfoText(Memory()));
    std::string line;
    std::uint64_t bytes = 0;
    while (std::getline(stream, line)) {
        std::istringstream cells(line);
        std::string name;
        std::uint64_t active = 0;
        std::uint64_t count = 0;
        std::uint64_t size = 0;
        if (cells >> name >> active >> count >> size) {
            bytes += count * size;
        }
    }
    EXPECT_EQ(bytes, 100U * 1024U);
}

TEST(VmallocinfoTextTest, HasTheBytesInOneVmallocLine) {
    const std::string text = VmallocinfoText(Memory());
    EXPECT_NE(text.find(" 65536 board_driver_probe+0x40/0x80 pages=16 vmalloc\n"),
              std::string::npos);
    EXPECT_EQ(text.find("vmalloc\n"), text.rfind("vmalloc"));
}

}  // namespace
}  // namespace zarn::board
