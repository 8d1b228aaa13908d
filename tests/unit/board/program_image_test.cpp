#include "board/perf/program_image.h"

#include <elf.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "board/perf/processes.h"
#include "tests/support/amounts.h"
#include "tests/support/temp_dir.h"

// A function of this program that is known by its name.
extern "C" __attribute__((noinline)) int zarn_known_function() {
    return 7;
}

namespace zarn::board {
namespace {

TEST(LoadImage, FindsTheFunctionsOfARunningProgram) {
    const auto image = LoadImage(static_cast<std::uint32_t>(::getpid()));
    ASSERT_TRUE(image);
    const auto found = image->functions.find("zarn_known_function");
    ASSERT_NE(found, image->functions.end());
    EXPECT_EQ(image->process.start + found->second.offset - image->process.offset,
              reinterpret_cast<std::uint64_t>(&zarn_known_function));
    EXPECT_GT(found->second.size, 0U);
    EXPECT_LT(found->second.offset - image->process.offset, image->process.size);
    EXPECT_EQ(image->process.name, ProcessName(image->process.pid));
    EXPECT_EQ(zarn_known_function(), 7);
}

TEST(LoadImage, GivesNothingOfNoProcess) {
    EXPECT_FALSE(LoadImage(2147483647));
    EXPECT_FALSE(ProcessName(2147483647));
}

TEST(FunctionsOf, ReadsNoFurtherThanATornFileGoes) {
    const std::string elf = test::ReadText("/proc/self/exe");
    ASSERT_FALSE(FunctionsOf(elf).empty());
    EXPECT_TRUE(FunctionsOf("").empty());
    EXPECT_TRUE(FunctionsOf("#!/bin/sh\nexit\n" + std::string(100, ' ')).empty());
    for (std::size_t size = 0; size < 4096; size += 7) {
        EXPECT_TRUE(FunctionsOf(elf.substr(0, size)).empty()) << size;
    }
    // Tables that point anywhere.
    constexpr std::size_t kHead = 64;
    for (std::size_t at = 16; at < kHead; at += kHead / test::Amount(kHead)) {
        std::string bent = elf;
        bent[at] = static_cast<char>(~bent[at]);
        (void)FunctionsOf(bent);
    }
}

TEST(FunctionsOf, SaysWhereInTheFileTheyAre) {
    std::string elf = test::ReadText("/proc/self/exe");
    const std::uint64_t before = FunctionsOf(elf).at("zarn_known_function").offset;
    // The same addresses from further back in the file.
    Elf64_Ehdr head{};
    std::memcpy(&head, elf.data(), sizeof(head));
    for (std::uint64_t i = 0; i < head.e_phnum; ++i) {
        Elf64_Phdr segment{};
        char* place = elf.data() + head.e_phoff + i * sizeof(segment);
        std::memcpy(&segment, place, sizeof(segment));
        segment.p_offset += 0x3000;
        std::memcpy(place, &segment, sizeof(segment));
    }
    EXPECT_EQ(FunctionsOf(elf).at("zarn_known_function").offset, before + 0x3000);
}

TEST(ExecutableMapping, IsTheOneOfTheFileWithTheRightTo) {
    const std::string maps =
        "55d0-55e0 r--p 00000000 fe:00 17 /opt/my worker\n"
        "55e0-5600 r-xp 00001000 fe:00 17                         /opt/my worker\n"
        "7f00-7f10 r-xp 00002000 fe:00 18 /lib/libc.so\n"
        "7fff-8000 rw-p 00000000 00:00 0\n";
    const SampledProcess worker = ExecutableMapping(maps, "/opt/my worker");
    EXPECT_EQ(worker.start, 0x55e0U);
    EXPECT_EQ(worker.size, 0x20U);
    EXPECT_EQ(worker.offset, 0x1000U);
    EXPECT_EQ(worker.path, "/opt/my worker");
    EXPECT_EQ(ExecutableMapping(maps, "/lib/libc.so").start, 0x7f00U);
    EXPECT_EQ(ExecutableMapping(maps, "/opt/my").size, 0U);
    EXPECT_EQ(ExecutableMapping("", "/opt/my").size, 0U);
}

}  // namespace
}  // namespace zarn::board
