#pragma once

#include <array>
#include <ostream>

namespace zarn::test {

// A scenario whose program `busy`, alone on the first core, is held up by one thing above all.
struct LabelledPipeline {
    const char* bottleneck;
    const char* masters;   // the member of the scenario; the memory serves all where it is empty
    const char* pipeline;  // members of the program's
};

// For the names of tests.
inline std::ostream& operator<<(std::ostream& out, const LabelledPipeline& labelled) {
    return out << labelled.bottleneck << (*labelled.masters == '\0' ? "" : " with masters");
}

inline constexpr std::array<LabelledPipeline, 29> kLabelledPipelines{{
    {"Frontend_Bound.Fetch_Bandwidth", "",
     R"("retiring": 0.2, "frontend": 0.5, "fetch_latency": 0.2)"},
    {"Frontend_Bound.Fetch_Latency.ITLB_Misses.L1_ITBL_MISS", "",
     R"("retiring": 0.2, "frontend": 0.5, "fetch_latency": 0.8, "itlb_near": 0.3, "itlb_far": 0.05)"},
    {"Frontend_Bound.Fetch_Latency.ITLB_Misses.L2_ITBL_MISS", "",
     R"("retiring": 0.2, "frontend": 0.5, "fetch_latency": 0.8, "itlb_far": 0.3)"},
    {"Frontend_Bound.Fetch_Latency.ICache_Misses.L1_ICache_MISS", "",
     R"("retiring": 0.2, "frontend": 0.5, "fetch_latency": 0.8, "icache_near": 0.35)"},
    {"Frontend_Bound.Fetch_Latency.ICache_Misses.L2_ICache_MISS", "",
     R"("retiring": 0.2, "frontend": 0.5, "fetch_latency": 0.8, "icache_far": 0.35, "icache_near": 0.15)"},
    {"Frontend_Bound.Fetch_Latency.BP_Misp_Flush", "",
     R"("retiring": 0.2, "frontend": 0.5, "fetch_latency": 0.8, "branch_misses": 60)"},
    {"Frontend_Bound.Fetch_Latency.OOO_Flush", "",
     R"("retiring": 0.2, "frontend": 0.5, "fetch_latency": 0.8, "flushes": 50)"},
    {"Frontend_Bound.Fetch_Latency.SP_Flush", "",
     R"("retiring": 0.2, "frontend": 0.5, "fetch_latency": 0.8, "sp_branches": 50)"},
    {"Bad_Speculation.Branch_Mispredicts.Indirect_Branch", "",
     R"("retiring": 0.2, "bad_speculation": 0.5, "frontend": 0.1, "branch_misses": 20, "indirect": 0.6)"},
    {"Bad_Speculation.Branch_Mispredicts.Push_Branch", "",
     R"("retiring": 0.2, "bad_speculation": 0.5, "frontend": 0.1, "branch_misses": 20, "push": 0.6)"},
    {"Bad_Speculation.Branch_Mispredicts.Pop_Branch", "",
     R"("retiring": 0.2, "bad_speculation": 0.5, "frontend": 0.1, "branch_misses": 20, "pop": 0.6)"},
    {"Bad_Speculation.Branch_Mispredicts.Other_Branch", "",
     R"("retiring": 0.2, "bad_speculation": 0.5, "frontend": 0.1, "branch_misses": 20, "push": 0.03, "pop": 0.03)"},
    {"Bad_Speculation.Machine_Clears.Nuke_Flush", "",
     R"("retiring": 0.2, "bad_speculation": 0.5, "frontend": 0.1, "branch_misses": 2, "flushes": 20, "nuke": 0.7)"},
    {"Bad_Speculation.Machine_Clears.Other_Flush", "",
     R"("retiring": 0.2, "bad_speculation": 0.5, "frontend": 0.1, "branch_misses": 2, "flushes": 20, "nuke": 0.2)"},
    {"Retiring", "", R"("retiring": 0.7, "bad_speculation": 0.03, "frontend": 0.1)"},
    {"Backend_Bound.Memory_Bound.L1_Bound", "",
     R"("retiring": 0.2, "frontend": 0.1, "load_stall": 0.45, "ddr_wait": 0.05)"},
    {"Backend_Bound.Memory_Bound.DRAM_Bound", "",
     R"("retiring": 0.2, "frontend": 0.1, "load_stall": 0.05, "ddr_wait": 0.3, "ddr_overlap": 0.25)"},
    {"Backend_Bound.Memory_Bound.DRAM_Bound", R"("cpu": {"demand": 8192, "qos": {"bw_high": 2}})",
     R"("retiring": 0.5, "frontend": 0.2, "load_stall": 0.02, "ddr_wait": 0.2, "ddr_overlap": 0.1)"},
    {"Retiring", R"("cpu": {"demand": 8192})",
     R"("retiring": 0.5, "frontend": 0.2, "load_stall": 0.02, "ddr_wait": 0.2, "ddr_overlap": 0.1)"},
    {"Backend_Bound.Core_Bound.Divider", "",
     R"("retiring": 0.2, "frontend": 0.1, "core": 0.6, "divider": 0.5)"},
    {"Backend_Bound.Core_Bound.FSU_Stall", "",
     R"("retiring": 0.2, "frontend": 0.1, "core": 0.6, "fsu": 0.4)"},
    {"Backend_Bound.Core_Bound.Exe_Ports_Utilization.ALU_BRU_Ports_Utilized", "",
     R"("retiring": 0.2, "frontend": 0.1, "core": 0.7, "alu_ports": 0.4)"},
    {"Backend_Bound.Core_Bound.Exe_Ports_Utilization.LS_Ports_Utilized", "",
     R"("retiring": 0.2, "frontend": 0.1, "core": 0.7, "ls_ports": 0.4)"},
    {"Backend_Bound.Core_Bound.Exe_Ports_Utilization.FSU_Ports_Utilized", "",
     R"("retiring": 0.2, "frontend": 0.1, "core": 0.7, "fsu_ports": 0.4)"},
    {"Backend_Bound.Resource_Bound.Rob_Stall", "",
     R"("retiring": 0.2, "frontend": 0.1, "resource": 0.6, "rob": 0.4)"},
    {"Backend_Bound.Resource_Bound.Sync_Stall", "",
     R"("retiring": 0.2, "frontend": 0.1, "resource": 0.6, "sync": 0.4)"},
    {"Backend_Bound.Resource_Bound.Ptag_Stall", "",
     R"("retiring": 0.2, "frontend": 0.1, "resource": 0.6, "tags": 0.4)"},
    {"Backend_Bound.Resource_Bound.SaveOpQ_Stall", "",
     R"("retiring": 0.2, "frontend": 0.1, "resource": 0.6, "save_queue": 0.4)"},
    {"Backend_Bound.Resource_Bound.PC_buffer_stall", "",
     R"("retiring": 0.2, "frontend": 0.1, "resource": 0.6, "pc_buffer": 0.4)"},
}};

}  // namespace zarn::test
