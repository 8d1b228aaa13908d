#include "board/setup/program_plans.h"

#include <algorithm>
#include <string>
#include <vector>

#include "board/setup/pipeline_fields.h"

namespace zarn::board {
namespace {

constexpr std::uint32_t kMostMs = 86400000;
constexpr std::uint32_t kMostSystemKb = 0x40000000;
constexpr std::uint32_t kLeakRoomKb = 32 * 1024;  // how far a leak goes if nothing else is said

// An area as it is written: with the others' names.
struct NamedArea {
    std::size_t owner = 0;
    std::uint32_t kb = 0;
    std::vector<std::string> others;
    std::string place;  // in messages
};

void ReadName(Fields& fields, const BoardPrograms& earlier, ProgramPlan& plan) {
    std::string name;
    fields.Text("name", name);
    constexpr std::size_t kMost = std::tuple_size_v<decltype(ProgramPlan::name)> - 1;
    if (!IsPlainName(name, kMost) || IndexOfProgram(earlier, name) < earlier.count) {
        Refuse(fields.NameOf("name"), "a name of its own, 1 to 15 of A-Z, a-z, 0-9, _ and -");
    }
    std::copy(name.begin(), name.end(), plan.name.begin());
}

// Steps are pairs [milliseconds, KB].
void ReadSteps(Fields& fields, ProgramPlan& plan) {
    const JsonValue* list = fields.List("steps", kMaxSteps);
    if (list == nullptr) {
        return;
    }
    constexpr int kMost = static_cast<int>(kMostProgramsKb);
    for (const JsonValue& pair : list->GetArray()) {
        const bool isPair = pair.IsArray() && pair.Size() == 2 && pair[0].IsUint() &&
                            pair[0].GetUint() <= kMostMs && pair[1].IsInt() &&
                            std::abs(pair[1].GetInt()) <= kMost;
        if (!isPair) {
            Refuse(fields.NameOf("steps"), "pairs of milliseconds and KB");
        }
        plan.steps[plan.stepCount] = {pair[0].GetUint(), pair[1].GetInt()};
        ++plan.stepCount;
    }
}

// What the private memory becomes at most, if the scenario does not say it.
std::uint32_t GreatestKb(const ProgramPlan& plan) {
    std::uint32_t kb = plan.privateKb + (plan.leakKbPerS > 0 ? kLeakRoomKb : 0);
    for (std::size_t i = 0; i < plan.stepCount; ++i) {
        kb += static_cast<std::uint32_t>(std::max(plan.steps[i].addKb, 0));
    }
    return kb;
}

void ReadAreas(Fields& fields, std::size_t owner, std::vector<NamedArea>& areas) {
    const JsonValue* list = fields.List("shared", kMaxSharedAreas);
    for (rapidjson::SizeType i = 0; list != nullptr && i < list->Size(); ++i) {
        NamedArea area;
        area.owner = owner;
        area.place = fields.NameOf("shared");
        Fields shared((*list)[i], area.place);
        shared.Count("kb", area.kb, kMostProgramsKb);
        const JsonValue* others = shared.List("with", kMaxPrograms);
        for (rapidjson::SizeType k = 0; others != nullptr && k < others->Size(); ++k) {
            if (!(*others)[k].IsString()) {
                Refuse(area.place, "names of programs");
            }
            area.others.emplace_back((*others)[k].GetString());
        }
        shared.Finish();
        areas.push_back(std::move(area));
    }
}

void AddAreas(const std::vector<NamedArea>& named, BoardPrograms& programs) {
    for (const NamedArea& area : named) {
        if (programs.areaCount == kMaxSharedAreas) {
            Refuse(area.place, "at most " + std::to_string(kMaxSharedAreas) + " areas in all");
        }
        SharedArea& added = programs.areas[programs.areaCount++];
        added = {area.kb, 1U << area.owner};
        for (const std::string& other : area.others) {
            const std::size_t index = IndexOfProgram(programs, other);
            if (index == programs.count) {
                Refuse(area.place, "names of programs");
            }
            added.programs |= 1U << index;
        }
    }
}

void ReadProgram(Fields& fields, const BoardPrograms& earlier, ProgramPlan& plan,
                 std::vector<NamedArea>& areas) {
    ReadName(fields, earlier, plan);
    fields.Count("private_kb", plan.privateKb, kMostProgramsKb);
    fields.Count("leak_kb_s", plan.leakKbPerS, kMostProgramsKb);
    fields.Count("threads", plan.threads, kMaxThreads);
    fields.Count("share_pool_kb", plan.sharePoolKb, kMostProgramsKb);
    ReadSteps(fields, plan);
    plan.mostKb = GreatestKb(plan);
    fields.Count("most_kb", plan.mostKb, kMostProgramsKb);
    ReadAreas(fields, earlier.count, areas);
    ReadPipeline(fields, plan.pipeline);
    fields.Finish();
}

}  // namespace

std::size_t IndexOfProgram(const BoardPrograms& programs, const std::string& name) {
    std::size_t index = 0;
    while (index < programs.count && name != programs.plans[index].name.data()) {
        ++index;
    }
    return index;
}

void ReadPrograms(Fields& scenario, BoardPrograms& programs) {
    const JsonValue* list = scenario.List("programs", kMaxPrograms);
    std::vector<NamedArea> areas;
    for (rapidjson::SizeType i = 0; list != nullptr && i < list->Size(); ++i) {
        Fields fields((*list)[i], "programs[" + std::to_string(i) + "]");
        ReadProgram(fields, programs, programs.plans[i], areas);
        ++programs.count;
    }
    AddAreas(areas, programs);
    CheckCoreLoads(programs);
    if (MostProgramsKb(programs) > kMostProgramsKb) {
        Refuse("programs", "at most " + std::to_string(kMostProgramsKb) + " KB in all");
    }
}

void ReadMemory(Fields& scenario, const BoardPrograms& programs, SystemMemory& memory) {
    scenario.Section("memory", [&](Fields& fields) {
        memory.totalKb = 8 * 1024 * 1024;
        fields.Count("total_kb", memory.totalKb, kMostSystemKb);
        fields.Count("base_kb", memory.baseKb, kMostSystemKb);
        fields.Count("cached_kb", memory.cachedKb, kMostSystemKb);
        fields.Count("slab_kb", memory.slabKb, kMostSystemKb);
        fields.Count("vmalloc_kb", memory.vmallocKb, kMostSystemKb);
        fields.Count("page_tables_kb", memory.pageTablesKb, kMostSystemKb);
        fields.Count("kernel_stack_kb", memory.kernelStackKb, kMostSystemKb);
        const std::uint64_t kernel = std::uint64_t{memory.slabKb} + memory.vmallocKb +
                                     memory.pageTablesKb + memory.kernelStackKb;
        if (kernel > memory.baseKb) {
            Refuse(fields.NameOf("base_kb"), "no less than the kernel's parts of it");
        }
        if (memory.baseKb + std::uint64_t{memory.cachedKb} + MostProgramsKb(programs) >
            memory.totalKb) {
            Refuse(fields.NameOf("total_kb"), "no less than base, cache and programs");
        }
    });
}

}  // namespace zarn::board
