#include "board/preload/kernel_paths.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace zarn::board {
namespace {

// Where the board's view keeps what a program calls `path`; "" if the machine has it.
std::string PlaceFor(const std::string& path) {
    const char* entry = BoardEntry(path.c_str());
    std::array<char, 128> place{};
    return entry != nullptr && PlaceOf(entry, place.data(), place.size()) ? place.data() : "";
}

TEST(BoardEntry, IsBelowProcOneOfTheBoards) {
    EXPECT_EQ(PlaceFor("/proc/qos"), "/etc/zarn-board/files/proc/qos");
    EXPECT_EQ(PlaceFor("/proc/qos/"), "/etc/zarn-board/files/proc/qos/");
    EXPECT_EQ(PlaceFor("/proc/qos/bwstat/bandwidth"),
              "/etc/zarn-board/files/proc/qos/bwstat/bandwidth");
    EXPECT_EQ(PlaceFor("/proc/17/sp_group"), "/etc/zarn-board/files/proc/17/sp_group");
    EXPECT_EQ(PlaceFor("//proc/./umap//vpc"), "/etc/zarn-board/files/proc/umap//vpc");
    for (const char* name : {"perf", "sharepool", "xsmem"}) {
        EXPECT_NE(PlaceFor(std::string("/proc/") + name), "") << name;
    }
}

TEST(BoardEntry, MayBeAMemoryFileThatTheMachineHasToo) {
    for (const char* name : {"meminfo", "slabinfo", "vmallocinfo"}) {
        const std::string path = std::string("/proc/") + name;
        EXPECT_EQ(PlaceFor(path), "/etc/zarn-board/files" + path);
        EXPECT_TRUE(MayBeTheMachines(BoardEntry(path.c_str())));
    }
    EXPECT_FALSE(MayBeTheMachines(BoardEntry("/proc/qos")));
    EXPECT_FALSE(MayBeTheMachines(BoardEntry("/proc/17/sp_group")));
    EXPECT_EQ(PlaceFor("/proc/17/meminfo") + PlaceFor("/proc/meminfos"), "");
}

TEST(BoardEntry, IsNothingThatTheMachineHas) {
    for (const char* path :
         {"", "/", "proc/qos", "/proc", "/proc/", "/procs/qos", "/proc/qosx", "/proc/17",
          "/proc/17/stat", "/proc/17/sp_groups", "/proc/17a/sp_group", "/proc/sp_group",
          "/proc/self/stat", "/sys/proc/qos", "/proc/../qos", "/proc/sys/qos"}) {
        EXPECT_EQ(PlaceFor(path), "") << path;
    }
}

TEST(BoardEntry, CanBeNamedFromProc) {
    EXPECT_STREQ(BoardEntryInProc("qos/bwstat"), "qos/bwstat");
    EXPECT_STREQ(BoardEntryInProc("./3/sp_group"), "3/sp_group");
    EXPECT_EQ(BoardEntryInProc("stat"), nullptr);
}

TEST(PlaceOf, DoesNotWriteBeyondItsEnd) {
    const std::string fits = "/etc/zarn-board/files/proc/qos";
    std::string place(fits.size() + 1, '#');
    EXPECT_TRUE(PlaceOf("qos", place.data(), place.size()));
    EXPECT_STREQ(place.c_str(), fits.c_str());
    EXPECT_FALSE(PlaceOf("qos", place.data(), place.size() - 1));
}

TEST(NameOf, IsWhatTheProgramsOfTheBoardSay) {
    EXPECT_STREQ(NameOf("/etc/zarn-board/files/proc/qos/x"), "/proc/qos/x");
    for (const char* path :
         {"/etc/zarn-board/files", "/etc/zarn-board/filesystem", "/proc/1", ""}) {
        EXPECT_STREQ(NameOf(path), path);
    }
}

}  // namespace
}  // namespace zarn::board
