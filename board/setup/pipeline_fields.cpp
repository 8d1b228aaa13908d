#include "board/setup/pipeline_fields.h"

#include <array>
#include <string>

namespace zarn::board {
namespace {

constexpr double kMostInThousand = 1000.0;
// What the system leaves of a core.
constexpr double kMostCoreLoad = 0.98;
// For sums of shares as they are written, whose last digit may be rounded.
constexpr double kRounding = 1e-9;

struct Member {
    const char* key;
    double PipelineProfile::*value;
    double most;
};

constexpr std::array<Member, 33> kMembers{{
    {"load", &PipelineProfile::load, kMostCoreLoad},
    {"retiring", &PipelineProfile::retiring, 1.0},
    {"bad_speculation", &PipelineProfile::badSpeculation, 1.0},
    {"frontend", &PipelineProfile::frontend, 1.0},
    {"fetch_latency", &PipelineProfile::fetchLatency, 1.0},
    {"itlb_near", &PipelineProfile::itlbNear, 1.0},
    {"itlb_far", &PipelineProfile::itlbFar, 1.0},
    {"icache_near", &PipelineProfile::icacheNear, 1.0},
    {"icache_far", &PipelineProfile::icacheFar, 1.0},
    {"branch_misses", &PipelineProfile::branchMisses, kMostInThousand},
    {"flushes", &PipelineProfile::flushes, kMostInThousand},
    {"sp_branches", &PipelineProfile::spBranches, kMostInThousand},
    {"indirect", &PipelineProfile::indirect, 1.0},
    {"push", &PipelineProfile::push, 1.0},
    {"pop", &PipelineProfile::pop, 1.0},
    {"nuke", &PipelineProfile::nuke, 1.0},
    {"load_stall", &PipelineProfile::loadStall, 1.0},
    {"store_stall", &PipelineProfile::storeStall, 1.0},
    {"ddr_wait", &PipelineProfile::ddrWait, 1.0},
    {"ddr_overlap", &PipelineProfile::ddrOverlap, 1.0},
    {"l1_open", &PipelineProfile::l1Open, 1.0},
    {"resource", &PipelineProfile::resource, 1.0},
    {"rob", &PipelineProfile::rob, 1.0},
    {"sync", &PipelineProfile::sync, 1.0},
    {"tags", &PipelineProfile::tags, 1.0},
    {"save_queue", &PipelineProfile::saveQueue, 1.0},
    {"pc_buffer", &PipelineProfile::pcBuffer, 1.0},
    {"core", &PipelineProfile::core, 1.0},
    {"divider", &PipelineProfile::divider, 1.0},
    {"fsu", &PipelineProfile::fsu, 1.0},
    {"alu_ports", &PipelineProfile::aluPorts, 1.0},
    {"ls_ports", &PipelineProfile::lsPorts, 1.0},
    {"fsu_ports", &PipelineProfile::fsuPorts, 1.0},
}};

// The cores that the program runs on: a list of numbers, the first one unless it is there.
void ReadCores(Fields& fields, PipelineProfile& profile) {
    const JsonValue* list = fields.List("cores", kMaxCores);
    profile.cores = list == nullptr ? 1 : 0;
    for (rapidjson::SizeType i = 0; list != nullptr && i < list->Size(); ++i) {
        if (!(*list)[i].IsUint() || (*list)[i].GetUint() >= kMaxCores) {
            Refuse(fields.NameOf("cores"),
                   "numbers of cores from 0 to " + std::to_string(kMaxCores - 1));
        }
        profile.cores |= 1U << (*list)[i].GetUint();
    }
}

void CheckSums(const Fields& fields, const PipelineProfile& profile) {
    if (profile.retiring + profile.badSpeculation + profile.frontend > 1.0 + kRounding) {
        Refuse(fields.NameOf("retiring"), "at most 1 with bad_speculation and frontend");
    }
    if (profile.loadStall + profile.storeStall + profile.ddrWait + profile.resource + profile.core >
        1.0 + kRounding) {
        Refuse(fields.NameOf("load_stall"),
               "at most 1 with store_stall, ddr_wait, resource and core");
    }
    if (profile.indirect + profile.push + profile.pop > 1.0 + kRounding) {
        Refuse(fields.NameOf("indirect"), "at most 1 with push and pop");
    }
}

// Shares of functions, which are brought to the sum 1.
void ReadFunctions(Fields& program, PipelineProfile& profile) {
    profile.functions = UsualFunctions(profile.version);
    program.Section("functions", [&](Fields& fields) {
        PerFunction given{};
        double sum = 0.0;
        for (std::size_t i = 0; i < kWorkFunctionCount; ++i) {
            const bool isThere = kWorkFunctions[i].weights[profile.version - 1] > 0.0;
            fields.Real(kWorkFunctions[i].name, given[i], 0.0, isThere ? kMostInThousand : 0.0);
            sum += given[i];
        }
        if (sum <= 0.0) {
            Refuse(program.NameOf("functions"), "a share for one of them at least");
        }
        for (std::size_t i = 0; i < kWorkFunctionCount; ++i) {
            profile.functions[i] = given[i] / sum;
        }
    });
}

}  // namespace

void ReadPipeline(Fields& program, PipelineProfile& profile) {
    program.Count("version", profile.version, kWorkVersions);
    if (profile.version == 0) {
        Refuse(program.NameOf("version"), "1 or 2");
    }
    program.Section("pipeline", [&profile](Fields& fields) {
        ReadCores(fields, profile);
        for (const Member& member : kMembers) {
            fields.Real(member.key, profile.*member.value, 0.0, member.most);
        }
        CheckSums(fields, profile);
    });
    ReadFunctions(program, profile);
}

void CheckCoreLoads(const BoardPrograms& programs) {
    for (std::uint32_t core = 0; core < kMaxCores; ++core) {
        double load = 0.0;
        for (std::size_t i = 0; i < programs.count; ++i) {
            const PipelineProfile& profile = programs.plans[i].pipeline;
            load += (profile.cores & (1U << core)) != 0 ? profile.load : 0.0;
        }
        if (load > kMostCoreLoad + kRounding) {
            Refuse("programs", "a load of at most 0.98 on core " + std::to_string(core));
        }
    }
}

}  // namespace zarn::board
