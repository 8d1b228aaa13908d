#include "collectors/profiling/topdown/topdown_events.h"

#include <gmock/gmock.h>

#include <set>
#include <string>
#include <vector>

#include "foundation/text.h"

namespace zarn {
namespace {

// The codes of the groups, in their order.
std::vector<std::string> Groups() {
    std::string text = kTopdownEventGroups;
    EXPECT_EQ(text.front(), '\'');
    EXPECT_EQ(text.back(), '\'');
    text = text.substr(1, text.size() - 2);
    std::vector<std::string> groups;
    SplitString(text, ",", groups);
    for (std::string& group : groups) {
        EXPECT_EQ(group.front(), '{');
        EXPECT_EQ(group.back(), '}');
        group = group.substr(1, group.size() - 2);
    }
    return groups;
}

TEST(TopdownEvents, EachCounterHasAGroupOfItsOwn) {
    std::set<std::size_t> places;
    for (const std::string& code : Groups()) {
        const auto place = FindTopdownEvent(code);
        ASSERT_TRUE(place.has_value()) << code;
        EXPECT_TRUE(places.insert(*place).second) << code;
    }
    EXPECT_EQ(places.size(), kTopdownEventCount);
}

TEST(TopdownEvents, TheGroupsStandInTheirOrder) {
    EXPECT_THAT(Groups(),
                testing::ElementsAre("r2014", "r11", "r1b", "r8", "r201d", "r10", "r2013", "r7000",
                                     "r7001", "r7004", "r7005", "r30", "r2e", "r27", "r28", "r1001",
                                     "r1010", "r1014", "r1018", "r100c", "r2012", "r2010", "r2004",
                                     "r2006", "r2007", "r2008", "r201e", "r2005", "r7002", "r7003",
                                     "r7006", "r7007", "r200b", "r200c", "r200d"));
}

TEST(TopdownEvents, ACodeHasItsName) {
    const std::pair<const char*, const char*> rows[] = {
        {"r8", "INST_RETIRED"},
        {"r10", "BR_MIS_PRED"},
        {"r11", "CPU_CYCLES"},
        {"r1b", "INST_SPEC"},
        {"r27", "L2I_CACHE"},
        {"r28", "L2I_CACHE_REFILL"},
        {"r2e", "L2I_TLB_REFILL"},
        {"r30", "L2I_TLB"},
        {"r1001", "IF_BP_PRED_BR_SP"},
        {"r100c", "IF_BP_PRED_BR_RET"},
        {"r1010", "IF_BP_MISP_BR_IND"},
        {"r1014", "IF_BR_BL_SPEC"},
        {"r1018", "IF_BP_PRED_BR_LP"},
        {"r2004", "rob_stall"},
        {"r2005", "pcbuf_stall"},
        {"r2006", "Int_ptag_stall"},
        {"r2007", "cc_ptag_stall"},
        {"r2008", "vfp_ptag_stall"},
        {"r200b", "alu_isq_stall"},
        {"r200c", "lsu_isq_stall"},
        {"r200d", "fsu_isq_stall"},
        {"r2010", "sync_stall"},
        {"r2012", "ooo_flush_r4"},
        {"r2013", "nuke_flush"},
        {"r2014", "fetch_bubble"},
        {"r201d", "FetchBubbles_ExceedMIW"},
        {"r201e", "saveop_queue_stall"},
        {"r7000", "resource_bound"},
        {"r7001", "exe_stall_cycle"},
        {"r7002", "exe_stall_div"},
        {"r7003", "fsu_stall"},
        {"r7004", "memstall_anyload"},
        {"r7005", "memstall_anystore"},
        {"r7006", "memstall_L1miss"},
        {"r7007", "memstall_L2miss"},
    };
    EXPECT_EQ(std::size(rows), kTopdownEventCount);
    for (const auto& [code, name] : rows) {
        EXPECT_STREQ(TopdownEventName(FindTopdownEvent(code).value()), name);
    }
}

TEST(TopdownEvents, OtherCodesHaveNone) {
    for (const char* code : {"", "r", "r1", "R11", "r11 ", "r0011", "cycles", "CPU_CYCLES"}) {
        EXPECT_EQ(FindTopdownEvent(code), std::nullopt) << code;
    }
    EXPECT_EQ(FindTopdownEvent(std::string_view("r11\0", 4)), std::nullopt);
    EXPECT_EQ(FindTopdownEvent(std::string_view("\0r11", 4)), std::nullopt);
    EXPECT_EQ(FindTopdownEvent(std::string_view("\0\0\0", 3)), std::nullopt);
}

}  // namespace
}  // namespace zarn
