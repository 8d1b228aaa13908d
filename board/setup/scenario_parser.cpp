#include "board/setup/scenario_parser.h"

#include <algorithm>
#include <stdexcept>

#include "board/model/standard_events.h"
#include "board/setup/buffer_owners.h"
#include "board/setup/event_plans.h"
#include "board/setup/fault_rules.h"
#include "board/setup/fields.h"
#include "board/setup/program_plans.h"
#include "board/setup/sched_plans.h"

namespace zarn::board {
namespace {

constexpr double kMostMb = 1000000.0;
constexpr std::uint32_t kMostMs = 86400000;

// Phases are pairs [milliseconds, factor].
void ReadPhases(Fields& fields, MasterDemand& demand) {
    const JsonValue* list = fields.List("phases", kMaxPhases);
    if (list == nullptr) {
        return;
    }
    for (const JsonValue& pair : list->GetArray()) {
        const bool isPair = pair.IsArray() && pair.Size() == 2 && pair[0].IsUint() &&
                            pair[0].GetUint() > 0 && pair[0].GetUint() <= kMostMs &&
                            pair[1].IsNumber() && pair[1].GetDouble() >= 0.0 &&
                            pair[1].GetDouble() <= kMostMb;
        if (!isPair) {
            Refuse(fields.NameOf("phases"), "pairs of milliseconds and factor");
        }
        demand.phases[demand.phaseCount] = {pair[0].GetUint(), pair[1].GetDouble()};
        ++demand.phaseCount;
    }
}

void ReadBurst(Fields& fields, MasterDemand& demand) {
    fields.Section("burst", [&demand](Fields& burst) {
        burst.Count("every_ms", demand.burstEveryMs, kMostMs);
        burst.Count("length_ms", demand.burstLengthMs, demand.burstEveryMs);
        burst.Real("add", demand.burstAdd, -kMostMb, kMostMb);
    });
}

// The settings a master starts with: an object, or the word "unset" for one never configured.
void ReadQos(Fields& fields, const BusMaster& master, BoardState& state) {
    PartitionBounds& bounds = state.partitions[master.mpamid];
    std::uint32_t& priority = master.number == kNoMasterNumber
                                  ? state.scenario.cpuPriority
                                  : state.masters[master.number].priority;
    const JsonValue* value = fields.Find("qos");
    if (value != nullptr && value->IsString() && std::string_view(value->GetString()) == "unset") {
        bounds = PartitionBounds{0, kUnsetHigh, 0};
        priority = 0;
        return;
    }
    fields.Section("qos", [&](Fields& qos) {
        qos.Count("bw_low", bounds.low, kPeakGb);
        qos.Count("bw_high", bounds.high, kPeakGb);
        qos.Count("hardlimit", bounds.hardlimit, 1);
        qos.Count("priority", priority, kMaxPriority);
    });
}

void ReadMaster(Fields& master, std::size_t index, BoardState& state) {
    MasterDemand& demand = state.scenario.demands[index];
    master.Real("demand", demand.base, 0.0, kMostMb);
    master.Real("noise", demand.noise, 0.0, 1.0);
    ReadPhases(master, demand);
    ReadBurst(master, demand);
    ReadQos(master, kMasters[index], state);
}

void ReadMasters(Fields& fields, BoardState& state) {
    fields.Section("masters", [&state](Fields& masters) {
        for (std::size_t i = 0; i < kMasterCount; ++i) {
            const std::string name(kMasters[i].name);
            masters.Section(name.c_str(),
                            [&state, i](Fields& master) { ReadMaster(master, i, state); });
        }
    });
}

void ReadDevices(Fields& fields, Scenario& scenario) {
    const JsonValue* list = fields.List("devices", kMaxDevices);
    if (list == nullptr) {
        return;
    }
    scenario.deviceCount = 0;
    for (const JsonValue& id : list->GetArray()) {
        if (!id.IsInt() || id.GetInt() < 0) {
            Refuse("devices", "device ids");
        }
        scenario.devices[scenario.deviceCount] = id.GetInt();
        ++scenario.deviceCount;
    }
}

// The AI block: how many cores, and per core 0 or the code it always reports.
void ReadAiBlock(Fields& fields, Scenario& scenario) {
    fields.Section("ai_block", [&scenario](Fields& block) {
        block.Count("cores", scenario.aiCoreCount, kMaxAiCores);
        const JsonValue* codes = block.List("codes", scenario.aiCoreCount);
        for (rapidjson::SizeType i = 0; codes != nullptr && i < codes->Size(); ++i) {
            if (!(*codes)[i].IsUint() || (*codes)[i].GetUint() > 0xFF) {
                Refuse("ai_block.codes", "codes from 0 to 255");
            }
            scenario.aiCoreCodes[i] = static_cast<std::uint8_t>((*codes)[i].GetUint());
        }
    });
}

void ReadLoad(Fields& fields, EngineLoad& load) {
    fields.Section("load", [&load](Fields& loads) {
        loads.Real("aic", load.aic, 0.0, 100.0);
        loads.Real("vdec", load.vdec, 0.0, 100.0);
        loads.Real("vpc", load.vpc, 0.0, 100.0);
        loads.Real("venc", load.venc, 0.0, 100.0);
    });
}

// What the processor's counters lack.
void ReadPerf(Fields& fields, Scenario& scenario) {
    fields.Section("perf", [&scenario](Fields& perf) {
        const JsonValue* names = perf.List("not_supported", kStandardEventCount);
        for (rapidjson::SizeType i = 0; names != nullptr && i < names->Size(); ++i) {
            const auto event =
                (*names)[i].IsString() ? StandardEventOf((*names)[i].GetString()) : std::nullopt;
            if (!event) {
                Refuse("perf.not_supported", "names of counters");
            }
            scenario.unsupportedEvents |= 1U << static_cast<std::size_t>(*event);
        }
    });
}

// Parses the text and hands its fields to `read`; the reason for a refusal comes back.
template <typename Read>
std::optional<std::string> ReadStrictly(std::string_view text, const Read& read) {
    JsonDocument document;
    if (!ParseJson(text, document)) {
        return "no JSON document";
    }
    try {
        Fields fields(document, "");
        read(fields);
        fields.Finish();
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::string> ParseScenario(std::string_view text, BoardState& state) {
    ResetSettings(state);
    return ReadStrictly(text, [&state](Fields& fields) {
        std::string description;
        fields.Text("description", description);
        ReadMasters(fields, state);
        ReadDevices(fields, state.scenario);
        fields.Count("ddr_type", state.scenario.ddrType, FaultRule::kAnyValue);
        ReadAiBlock(fields, state.scenario);
        ReadLoad(fields, state.scenario.load);
        ReadPrograms(fields, state.scenario.programs);
        ReadBuffers(fields, state.scenario.programs, state.scenario.buffers);
        ReadMemory(fields, state.scenario.programs, state.scenario.memory);
        ReadEventPlan(fields, state.scenario.programs, state.scenario.events);
        ReadSchedPlan(fields, state.scenario.demands, state.scenario.sched);
        ReadPerf(fields, state.scenario);
        ReadFaultRules(fields, state.faults);
    });
}

std::optional<std::string> ParseFaultPlan(std::string_view text, FaultPlan& plan) {
    return ReadStrictly(text, [&plan](Fields& fields) {
        if (!fields.Has("faults")) {
            Refuse("faults", "a list of rules");
        }
        ReadFaultRules(fields, plan);
    });
}

}  // namespace zarn::board
