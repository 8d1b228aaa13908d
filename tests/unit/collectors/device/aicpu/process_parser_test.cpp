#include "collectors/device/aicpu/process_parser.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace zarn {
namespace {

using Verdict = Lookup::Verdict;

const std::vector<std::string> kList = {
    "pid,name,publish,sched,num",
    "1201,perception,3201,3198,7",
    "1204,planning,1410,1410,2",
    "1205,planning,1,1,1",
    "1206,a,b,1,2,3",
    "1207,two words,1,2,3",
    "\t1208,tab,1,2,3",
    "1209,short,1,2",
    "1210,behind,1,2,3\r",
    "99999999999,huge,1,2,3",
    "4294967295,last,1,2,3",
};

TEST(FindPidTest, TakesTheFirstLineWhoseNameMatches) {
    const std::pair<const char*, std::uint32_t> rows[] = {
        {"perception", 1201},   {"planning", 1204},   {"p.*n", 1201},
        {"p[l]anning", 1204},   {"a,b", 1206},        {"two words", 1207},
        {"(x|planning)", 1204}, {"last", 4294967295}, {".+", 1201},
    };
    for (const auto& [name, pid] : rows) {
        const Lookup found = FindPid(kList, name);
        EXPECT_EQ(found.verdict, Verdict::Found) << name;
        EXPECT_EQ(found.value, pid) << name;
    }
}

TEST(FindPidTest, WhatDoesNotMatchIsNotFound) {
    for (const char* name : {"", "erception", "perceptio", "name", "tab", "short", "behind", "a",
                             "PLANNING", "(", "[", "*", "a{", "(p)lanning\\1", "\\"}) {
        const Lookup found = FindPid(kList, name);
        EXPECT_EQ(found.verdict, Verdict::NotFound) << name;
        EXPECT_EQ(found.value, 0U) << name;
    }
    EXPECT_EQ(FindPid({}, "perception").verdict, Verdict::NotFound);
}

TEST(FindPidTest, APidBeyond32BitsIsAFault) {
    const Lookup found = FindPid(kList, "huge");
    EXPECT_EQ(found.verdict, Verdict::Fault);
    EXPECT_EQ(found.reason, "stoul");
}

TEST(FindPidTest, ARuinousNameEndsSoon) {
    const std::vector<std::string> list = {"1," + std::string(3000, 'a') + "!,1,2,3",
                                           "2,aaa,1,2,3"};
    for (const char* name : {"(a+)+", "(a*)*", "(a|aa)+", "(a+a+)+"}) {
        EXPECT_EQ(FindPid(list, name).value, 2U) << name;
    }
    EXPECT_EQ(FindPid(list, "(a{999}){999}").verdict, Verdict::NotFound);
    EXPECT_EQ(FindPid(list, std::string(std::size_t{1} << 20, 'a')).verdict, Verdict::NotFound);
}

TEST(FindPidTest, ALineOfMegabytesIsNoProcess) {
    const std::vector<std::string> list = {
        "1," + std::string(std::size_t{16} << 20, 'a') + ",1,2,3", "2,aaa,1,2,3"};
    EXPECT_EQ(FindPid(list, "a+").value, 2U);
}

AicpuProcess On(std::uint32_t core, std::uint32_t pid) {
    AicpuProcess process;
    process.core = core;
    process.pid = pid;
    return process;
}

TEST(FindGroupTest, TakesTheFirstLineOfTheProcessOnTheCore) {
    const std::vector<std::string> info = {
        "cpu,pid,gid,thread",
        "1,1201,",
        "1,1201,31",
        "1,1201,31,",
        "1,1201,x,y",
        "1,1201,,y",
        "2,1201,30,perception_1,running",
        "11,1201,29,z",
        "1,12011,28,z",
        "1,1201,31,\r",
        "1,1201,32,perception_0,idle",
        "1,1201,33,perception_2,idle",
        "3,1204,99999999999,a",
    };
    EXPECT_EQ(FindGroup(info, On(1, 1201)).value, 32U);
    EXPECT_EQ(FindGroup(info, On(2, 1201)).value, 30U);
    EXPECT_EQ(FindGroup(info, On(2, 1204)).verdict, Verdict::NotFound);
    EXPECT_EQ(FindGroup(info, On(3, 1204)).verdict, Verdict::Fault);
    EXPECT_EQ(FindGroup(info, On(3, 1204)).reason, "stoul");
    EXPECT_EQ(FindGroup({}, On(1, 1)).verdict, Verdict::NotFound);
    EXPECT_EQ(FindGroup({"1,1,7,t"}, On(1, 1)).value, 7U);
}

}  // namespace
}  // namespace zarn
