#include "board/setup/fault_rules.h"

#include <array>
#include <string>
#include <string_view>

namespace zarn::board {
namespace {

// A call as a rule names it.
struct CallName {
    std::string_view name;
    Call call;
};

constexpr std::array<CallName, 9> kCallNames{{
    {"*", Call::kAny},
    {"tovi_get_device_count", Call::kGetDeviceCount},
    {"tovi_list_device", Call::kListDevice},
    {"tovi_get_device_info", Call::kGetDeviceInfo},
    {"tovi_set_device_info", Call::kSetDeviceInfo},
    {"kesBuffCfg", Call::kBuffCfg},
    {"kesBuffGetInfo", Call::kBuffGetInfo},
    {"RegisterTepaResource", Call::kRegister},
    {"UnRegisterTepaResource", Call::kUnRegister},
}};

Call CallOf(const std::string& name, const std::string& where) {
    for (const CallName& row : kCallNames) {
        if (row.name == name) {
            return row.call;
        }
    }
    Refuse(where, "the name of a library call or *");
}

// The largest value of an argument: the one above stands for any.
constexpr std::uint32_t kMostArgument = FaultRule::kAnyValue - 1;

FaultRule ReadRule(const JsonValue& value, const std::string& where) {
    Fields fields(value, where);
    FaultRule rule;
    std::string name;
    fields.Text("call", name);
    rule.call = CallOf(name, fields.NameOf("call"));
    fields.Count("device", rule.device, kMostArgument);
    fields.Count("main", rule.mainCommand, kMostArgument);
    fields.Count("sub", rule.subCommand, 0xFF);
    fields.Count("key", rule.key, kMostArgument);
    fields.Count("skip", rule.skip, kMostArgument);
    fields.Count("times", rule.times, kMostArgument);
    fields.Whole("code", rule.code);
    fields.Count("size", rule.answerSize, FaultRule::kAnyValue);
    fields.Finish();
    if (fields.Has("code") == fields.Has("size") || (fields.Has("code") && rule.code == 0)) {
        Refuse(where, "either a code other than 0 or a size");
    }
    const bool answersSize = rule.call == Call::kGetDeviceInfo || rule.call == Call::kBuffGetInfo;
    if (fields.Has("size") && !answersSize) {
        Refuse(fields.NameOf("size"), "a call that answers a size");
    }
    return rule;
}

}  // namespace

void ReadFaultRules(Fields& fields, FaultPlan& plan) {
    const JsonValue* list = fields.List("faults", kMaxFaults - plan.count);
    if (list == nullptr) {
        return;
    }
    for (const JsonValue& value : list->GetArray()) {
        const std::string where = fields.NameOf("faults") + "[" + std::to_string(plan.count) + "]";
        plan.rules[plan.count] = ReadRule(value, where);
        ++plan.count;
    }
}

}  // namespace zarn::board
