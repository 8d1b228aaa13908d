#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "collectors/profiling/topdown/frontend_metrics.h"
#include "collectors/profiling/topdown/memory_bound_metrics.h"
#include "collectors/profiling/topdown/top_metrics.h"
#include "collectors/profiling/topdown/topdown_events.h"
#include "tests/support/captured_streams.h"

// The places of the metrics in the tree, and the edges of their values. That the formulas are the
// right ones is told a second time, in metric_truth.py.
namespace zarn::test {
namespace {

using testing::ElementsAre;

constexpr float kInfinity = std::numeric_limits<float>::infinity();

// Where a metric stands.
struct Place {
    std::vector<const char*> keys;  // from the root's child down
    const char* fullName;
    const char* label;
};

const std::vector<Place>& Places() {
    static const std::vector<Place> places = {
        {{"Frontend_Bound"}, "Frontend_Bound", "Frontend Bound"},
        {{"Frontend_Bound", "Fetch_Latency"}, "Frontend_Bound.Fetch_Latency", "Fetch Latency"},
        {{"Frontend_Bound", "Fetch_Latency", "ITLB_Misses"},
         "Frontend_Bound.Fetch_Latency.ITLB_Misses",
         "ITLB Misses"},
        {{"Frontend_Bound", "Fetch_Latency", "ITLB_Misses", "L1_ITBL_MISS"},
         "Frontend_Bound.Fetch_Latency.ITLB_Misses.L1_ITBL_MISS",
         "L1_ITBL_MISS"},
        {{"Frontend_Bound", "Fetch_Latency", "ITLB_Misses", "L2_ITBL_MISS"},
         "Frontend_Bound.Fetch_Latency.ITLB_Misses.L2_ITBL_MISS",
         "L2_ITBL_MISS"},
        {{"Frontend_Bound", "Fetch_Latency", "ICache_Misses"},
         "Frontend_Bound.Fetch_Latency.ICache_Misses",
         "ICache Misses"},
        {{"Frontend_Bound", "Fetch_Latency", "ICache_Misses", "L1_ICache_MISS"},
         "Frontend_Bound.Fetch_Latency.ICache_Misses.L1_ICache_MISS",
         "L1_ICache_MISS"},
        {{"Frontend_Bound", "Fetch_Latency", "ICache_Misses", "L2_ICache_MISS"},
         "Frontend_Bound.Fetch_Latency.ICache_Misses.L2_ICache_MISS",
         "L2_ICache_MISS"},
        {{"Frontend_Bound", "Fetch_Latency", "BP_Misp_Flush"},
         "Frontend_Bound.Fetch_Latency.BP_Misp_Flush",
         "BP Misp Flush"},
        {{"Frontend_Bound", "Fetch_Latency", "OOO_Flush"},
         "Frontend_Bound.Fetch_Latency.OOO_Flush",
         "OOO Flush"},
        {{"Frontend_Bound", "Fetch_Latency", "SP_Flush"},
         "Frontend_Bound.Fetch_Latency.SP_Flush",
         "SP Flush"},
        // The label of another, which readers of the lines know.
        {{"Frontend_Bound", "Fetch_Bandwidth"},
         "Frontend_Bound.Fetch_Bandwidth",
         "Branch Mispredicts"},
        {{"Bad_Speculation"}, "Bad_Speculation", "Bad Speculation"},
        {{"Bad_Speculation", "Branch_Mispredicts"},
         "Bad_Speculation.Branch_Mispredicts",
         "Branch Mispredicts"},
        {{"Bad_Speculation", "Branch_Mispredicts", "Indirect_Branch"},
         "Bad_Speculation.Branch_Mispredicts.Indirect_Branch",
         "Indirect Branch"},
        {{"Bad_Speculation", "Branch_Mispredicts", "Push_Branch"},
         "Bad_Speculation.Branch_Mispredicts.Push_Branch",
         "Push Branch"},
        {{"Bad_Speculation", "Branch_Mispredicts", "Pop_Branch"},
         "Bad_Speculation.Branch_Mispredicts.Pop_Branch",
         "Pop Branch"},
        {{"Bad_Speculation", "Branch_Mispredicts", "Other_Branch"},
         "Bad_Speculation.Branch_Mispredicts.Other_Branch",
         "Other Branch"},
        {{"Bad_Speculation", "Machine_Clears"}, "Bad_Speculation.Machine_Clears", "Machine Clears"},
        {{"Bad_Speculation", "Machine_Clears", "Nuke_Flush"},
         "Bad_Speculation.Machine_Clears.Nuke_Flush",
         "Nuke Flush"},
        {{"Bad_Speculation", "Machine_Clears", "Other_Flush"},
         "Bad_Speculation.Machine_Clears.Other_Flush",
         "Other Flush"},
        {{"Retiring"}, "Retiring", "Retiring"},
        {{"Backend_Bound"}, "Backend_Bound", "Backend Bound"},
        {{"Backend_Bound", "Core_Bound"}, "Backend_Bound.Core_Bound", "Core Bound"},
        {{"Backend_Bound", "Core_Bound", "Divider"}, "Backend_Bound.Core_Bound.Divider", "Divider"},
        {{"Backend_Bound", "Core_Bound", "FSU_Stall"},
         "Backend_Bound.Core_Bound.FSU_Stall",
         "FSU_Stall"},
        {{"Backend_Bound", "Core_Bound", "Exe_Ports_Utilization"},
         "Backend_Bound.Core_Bound.Exe_Ports_Utilization",
         "Ports Utilization"},
        // One of the two keys that are not the name.
        {{"Backend_Bound", "Core_Bound", "Exe_Ports_Utilization", "ALU_Ports_Utilized"},
         "Backend_Bound.Core_Bound.Exe_Ports_Utilization.ALU_BRU_Ports_Utilized",
         "ALU_Ports_Utilized"},
        {{"Backend_Bound", "Core_Bound", "Exe_Ports_Utilization", "LS_Ports_Utilized"},
         "Backend_Bound.Core_Bound.Exe_Ports_Utilization.LS_Ports_Utilized",
         "LS_Ports_Utilized"},
        {{"Backend_Bound", "Core_Bound", "Exe_Ports_Utilization", "FSU_Ports_Utilized"},
         "Backend_Bound.Core_Bound.Exe_Ports_Utilization.FSU_Ports_Utilized",
         "FSU_Ports_Utilized"},
        {{"Backend_Bound", "Memory_Bound"}, "Backend_Bound.Memory_Bound", "Memory Bound"},
        {{"Backend_Bound", "Memory_Bound", "L1_Bound"},
         "Backend_Bound.Memory_Bound.L1_Bound",
         "L1_Bound"},
        {{"Backend_Bound", "Memory_Bound", "L2_Bound"},
         "Backend_Bound.Memory_Bound.L2_Bound",
         "L2_Bound"},
        // The other.
        {{"Backend_Bound", "Memory_Bound", "DRAMBound"},
         "Backend_Bound.Memory_Bound.DRAM_Bound",
         "DRAMBound"},
        {{"Backend_Bound", "Memory_Bound", "Store_Bound"},
         "Backend_Bound.Memory_Bound.Store_Bound",
         "Store_Bound"},
        {{"Backend_Bound", "Resource_Bound"}, "Backend_Bound.Resource_Bound", "Resource Bound"},
        {{"Backend_Bound", "Resource_Bound", "Sync_Stall"},
         "Backend_Bound.Resource_Bound.Sync_Stall",
         "Sync Stall"},
        {{"Backend_Bound", "Resource_Bound", "Rob_Stall"},
         "Backend_Bound.Resource_Bound.Rob_Stall",
         "Rob Stall"},
        {{"Backend_Bound", "Resource_Bound", "Ptag_Stall"},
         "Backend_Bound.Resource_Bound.Ptag_Stall",
         "Ptag_Stall"},
        {{"Backend_Bound", "Resource_Bound", "SaveOpQ_Stall"},
         "Backend_Bound.Resource_Bound.SaveOpQ_Stall",
         "SaveOpQ_Stall"},
        {{"Backend_Bound", "Resource_Bound", "PC_buffer_stall"},
         "Backend_Bound.Resource_Bound.PC_buffer_stall",
         "PC_buffer_stall"},
    };
    return places;
}

BasicMetric* At(const TopDown& tree, const Place& place) {
    BasicMetric* metric = tree.Child(place.keys.front());
    for (std::size_t i = 1; metric != nullptr && i < place.keys.size(); ++i) {
        metric = metric->Child(place.keys[i]);
    }
    EXPECT_NE(metric, nullptr) << place.fullName;
    return metric;
}

// All counters as 0 but for those given.
TopdownData DataWith(const std::map<std::string, float>& events) {
    TopdownData data;
    for (std::size_t i = 0; i < kTopdownEventCount; ++i) {
        data.events[TopdownEventName(i)] = 0.0F;
    }
    for (const auto& [name, count] : events) {
        data.events[name] = count;
    }
    return data;
}

// What the tree makes of these counters; it prints nothing.
TopdownData Computed(const std::map<std::string, float>& events) {
    TopdownData data = DataWith(events);
    const Captured said = Capture([&data] { EXPECT_TRUE(TopDown().Compute(data)); });
    EXPECT_EQ(said.out + said.err, "");
    return data;
}

TEST(TopdownMetrics, EachHasItsPlaceItsFullNameAndItsLabel) {
    EXPECT_EQ(Places().size(), 41U);
    const TopDown tree;
    TopdownData filled = Computed({{"CPU_CYCLES", 100}});
    EXPECT_EQ(filled.metrics.size(), Places().size());
    EXPECT_EQ(filled.thresholds.size(), Places().size());
    for (const Place& place : Places()) {
        EXPECT_EQ(filled.metrics.count(place.fullName), 1U) << place.fullName;
        BasicMetric* metric = At(tree, place);
        ASSERT_NE(metric, nullptr);
        TopdownData none = DataWith({});
        const Captured said = Capture([&] { EXPECT_FALSE(metric->Compute(none)); });
        EXPECT_EQ(said.out, "");
        EXPECT_EQ(said.err,
                  std::string("[TopdownCollector] ") + place.label + " zero division !\n");
        EXPECT_TRUE(none.metrics.empty() && none.thresholds.empty());
        // The key leads to the metric of that name.
        const std::string fullName = place.fullName;
        EXPECT_EQ(metric->Name(), fullName.substr(fullName.find_last_of('.') + 1));
    }
}

TEST(TopdownMetrics, OnlyTwoKeysAreNotTheName) {
    const TopDown tree;
    std::vector<std::string> keys;
    for (const Place& place : Places()) {
        if (At(tree, place)->Name() != place.keys.back()) {
            keys.emplace_back(place.keys.back());
        }
    }
    EXPECT_THAT(keys, ElementsAre("ALU_Ports_Utilized", "DRAMBound"));
    EXPECT_EQ(MemoryBound().Child("DRAM_Bound"), nullptr);
}

constexpr const char* kFourZeroDivisions =
    "[TopdownCollector] Frontend Bound zero division !\n"
    "[TopdownCollector] Bad Speculation zero division !\n"
    "[TopdownCollector] Retiring zero division !\n"
    "[TopdownCollector] Backend Bound zero division !\n";

TEST(TopdownMetrics, WithoutCyclesNothingIsComputed) {
    for (const float cycles : {0.0F, -0.0F, 1e-7F, -1e-7F}) {
        TopdownData data = DataWith({{"CPU_CYCLES", cycles}, {"INST_RETIRED", 5}});
        const Captured said = Capture([&data] { EXPECT_TRUE(TopDown().Compute(data)); });
        EXPECT_EQ(said.err, kFourZeroDivisions) << cycles;
        EXPECT_TRUE(data.metrics.empty() && data.thresholds.empty());
    }
    TopdownData data = Computed({{"CPU_CYCLES", 2e-7F}, {"INST_RETIRED", 4e-7F}});
    EXPECT_EQ(data.metrics.at("Retiring"), 0.5F);
}

TEST(TopdownMetrics, MissingCyclesAreToldOnce) {
    TopdownData data;
    const Captured said = Capture([&data] { EXPECT_TRUE(TopDown().Compute(data)); });
    EXPECT_EQ(said.err, std::string("[TopdownCollector] Event don't contain CPU_CYCLES\n") +
                            kFourZeroDivisions);
}

TEST(TopdownMetrics, EachMissingCounterIsToldOnceInTheOrderOfTheFormulas) {
    TopdownData data;
    data.events["CPU_CYCLES"] = 100;
    const Captured said = Capture([&data] { EXPECT_TRUE(TopDown().Compute(data)); });
    std::string lines;
    for (const char* name : {"fetch_bubble",
                             "FetchBubbles_ExceedMIW",
                             "L2I_TLB",
                             "L2I_TLB_REFILL",
                             "L2I_CACHE",
                             "L2I_CACHE_REFILL",
                             "BR_MIS_PRED",
                             "ooo_flush_r4",
                             "IF_BP_PRED_BR_SP",
                             "INST_SPEC",
                             "INST_RETIRED",
                             "IF_BP_MISP_BR_IND",
                             "IF_BR_BL_SPEC",
                             "IF_BP_PRED_BR_LP",
                             "IF_BP_PRED_BR_RET",
                             "nuke_flush",
                             "exe_stall_cycle",
                             "memstall_anyload",
                             "memstall_anystore",
                             "resource_bound",
                             "exe_stall_div",
                             "fsu_stall",
                             "alu_isq_stall",
                             "lsu_isq_stall",
                             "fsu_isq_stall",
                             "memstall_L1miss",
                             "memstall_L2miss",
                             "sync_stall",
                             "rob_stall",
                             "Int_ptag_stall",
                             "cc_ptag_stall",
                             "vfp_ptag_stall",
                             "saveop_queue_stall",
                             "pcbuf_stall"}) {
        lines += std::string("[TopdownCollector] Event don't contain ") + name + "\n";
    }
    EXPECT_EQ(said.err, lines);
    EXPECT_EQ(data.metrics.size(), Places().size());
}

TEST(TopdownMetrics, AMetricWhosePredecessorsAreMissingSaysSoAndGoesOn) {
    TopdownData data = DataWith({{"CPU_CYCLES", 100}});
    Captured said = Capture([&data] { EXPECT_TRUE(BackendBound().Compute(data)); });
    EXPECT_EQ(said.err,
              "[TopdownCollector] Metric don't contain Frontend_Bound\n"
              "[TopdownCollector] Metric don't contain Bad_Speculation\n"
              "[TopdownCollector] Metric don't contain Retiring\n");
    EXPECT_EQ(data.metrics.at("Backend_Bound"), 1.0F);
    // A metric of the third level that nobody has adopted asks for a parent without a name.
    said = Capture([&data] { EXPECT_TRUE(DRAMBound().Compute(data)); });
    EXPECT_EQ(said.err, "[TopdownCollector] Thresh don't contain \n");
    EXPECT_FALSE(data.thresholds.at("Backend_Bound.Memory_Bound.DRAM_Bound"));
}

TEST(TopdownMetrics, WithoutMispredictsTheirSharesAreInfiniteOrNoNumber) {
    TopdownData data = Computed({{"CPU_CYCLES", 100},
                                 {"INST_SPEC", 100},
                                 {"INST_RETIRED", 50},
                                 {"ooo_flush_r4", 10},
                                 {"IF_BP_MISP_BR_IND", 3}});
    const std::string mispredicts = "Bad_Speculation.Branch_Mispredicts";
    EXPECT_EQ(data.metrics.at(mispredicts), 0.0F);
    EXPECT_EQ(data.metrics.at(mispredicts + ".Indirect_Branch"), kInfinity);
    EXPECT_TRUE(data.thresholds.at(mispredicts + ".Indirect_Branch"));
    for (const char* name : {".Push_Branch", ".Pop_Branch", ".Other_Branch"}) {
        EXPECT_TRUE(std::isnan(data.metrics.at(mispredicts + name))) << name;
        EXPECT_FALSE(data.thresholds.at(mispredicts + name)) << name;
    }
    // Without flushes either the halves of the speculation are no numbers and count all the same.
    data = Computed({{"CPU_CYCLES", 100}, {"INST_SPEC", 100}, {"INST_RETIRED", 50}});
    EXPECT_TRUE(std::isnan(data.metrics.at(mispredicts)));
    EXPECT_TRUE(std::isnan(data.metrics.at("Bad_Speculation.Machine_Clears")));
    EXPECT_TRUE(data.thresholds.at(mispredicts));
}

TEST(TopdownMetrics, AMetricAtItsLimitDoesNotCount) {
    // 0.05 and 0.1 as floats are what these quotients give.
    for (const auto& [name, event, atLimit, above] :
         std::initializer_list<std::tuple<const char*, const char*, float, float>>{
             {"Backend_Bound.Core_Bound.FSU_Stall", "fsu_stall", 5, 5.001F},
             {"Backend_Bound.Memory_Bound.DRAM_Bound", "memstall_L2miss", 10, 10.001F},
             {"Backend_Bound.Core_Bound.Divider", "exe_stall_div", 20, 20.001F},
             {"Backend_Bound.Memory_Bound.Store_Bound", "memstall_anystore", 20, 20.001F},
             {"Backend_Bound.Resource_Bound.Rob_Stall", "rob_stall", 5, 5.001F}}) {
        EXPECT_FALSE(Computed({{"CPU_CYCLES", 100}, {event, atLimit}}).thresholds.at(name)) << name;
        EXPECT_TRUE(Computed({{"CPU_CYCLES", 100}, {event, above}}).thresholds.at(name)) << name;
    }
}

TEST(TopdownMetrics, AFourthLevelCountsOnlyBelowAThirdThatDoes) {
    const std::string ports = "Backend_Bound.Core_Bound.Exe_Ports_Utilization";
    TopdownData data = Computed({{"CPU_CYCLES", 100}, {"alu_isq_stall", 90}});
    EXPECT_EQ(data.metrics.at(ports), 0.0F);
    EXPECT_FALSE(data.thresholds.at(ports));
    EXPECT_FALSE(data.thresholds.at(ports + ".ALU_BRU_Ports_Utilized"));
    data = Computed({{"CPU_CYCLES", 100}, {"alu_isq_stall", 90}, {"exe_stall_cycle", 50}});
    EXPECT_EQ(data.metrics.at(ports), 0.5F);
    EXPECT_TRUE(data.thresholds.at(ports + ".ALU_BRU_Ports_Utilized"));
    EXPECT_FALSE(data.thresholds.at(ports + ".LS_Ports_Utilized"));
}

TEST(TopdownMetrics, TheSecondCacheLevelIsNeverNegative) {
    const char* name = "Backend_Bound.Memory_Bound.L2_Bound";
    EXPECT_EQ(Computed({{"CPU_CYCLES", 100}, {"memstall_anyload", 10}, {"memstall_L1miss", 30}})
                  .metrics.at(name),
              0.0F);
    EXPECT_EQ(Computed({{"CPU_CYCLES", 100}, {"memstall_anyload", 30}, {"memstall_L1miss", 10}})
                  .metrics.at(name),
              0.2F);
}

TEST(TopdownMetrics, ANegativeBackEndScalesItsChildren) {
    TopdownData data = Computed({{"CPU_CYCLES", 100},
                                 {"fetch_bubble", 400},
                                 {"INST_SPEC", 200},
                                 {"INST_RETIRED", 200},
                                 {"resource_bound", 50},
                                 {"exe_stall_cycle", 200},
                                 {"memstall_anyload", 50}});
    EXPECT_EQ(data.metrics.at("Backend_Bound"), -0.5F);
    EXPECT_EQ(data.metrics.at("Backend_Bound.Resource_Bound"), -0.25F);
    EXPECT_EQ(data.metrics.at("Backend_Bound.Memory_Bound"), -0.25F);
    EXPECT_EQ(data.metrics.at("Backend_Bound.Core_Bound"), -0.5F);
}

TEST(TopdownMetrics, UnitsOfSiblingsDiffer) {
    TopdownData data = Computed({{"CPU_CYCLES", 1000},
                                 {"INST_SPEC", 4000},
                                 {"BR_MIS_PRED", 10},
                                 {"ooo_flush_r4", 10},
                                 {"IF_BP_MISP_BR_IND", 5},
                                 {"IF_BR_BL_SPEC", 2},
                                 {"IF_BP_PRED_BR_LP", 1},
                                 {"IF_BP_PRED_BR_RET", 1},
                                 {"nuke_flush", 4}});
    const std::string mispredicts = "Bad_Speculation.Branch_Mispredicts.";
    EXPECT_EQ(data.metrics.at(mispredicts + "Indirect_Branch"), 0.5F);  // of mispredicts
    EXPECT_EQ(data.metrics.at(mispredicts + "Push_Branch"), 0.3F);
    // A share of the slots less two of the mispredicts; the indirect ones are not taken off.
    EXPECT_EQ(data.metrics.at(mispredicts + "Other_Branch"), 0.5F - 0.3F - 0.1F);
    EXPECT_EQ(data.metrics.at("Bad_Speculation.Machine_Clears.Nuke_Flush"), 0.4F);
    EXPECT_EQ(data.metrics.at("Bad_Speculation.Machine_Clears.Other_Flush"), 0.6F);
}

}  // namespace
}  // namespace zarn::test
