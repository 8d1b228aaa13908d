#include "board/setup/task_stacks.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <tuple>

namespace zarn::board {
namespace {

constexpr const char* kUsualFunction = "main";
constexpr std::size_t kMostName = std::tuple_size_v<FunctionName> - 1;
constexpr double kMostShare = 1e6;

// The place of a function, which joins the plan if it is new.
std::uint32_t PlaceOf(std::string_view name, SchedPlan& plan) {
    for (std::uint32_t i = 0; i < plan.functionCount; ++i) {
        if (name == plan.functions[i].data()) {
            return i;
        }
    }
    if (plan.functionCount == kMaxFunctions) {
        Refuse("sched", "at most 64 functions in all");
    }
    FunctionName& added = plan.functions[plan.functionCount];
    added.fill('\0');
    std::copy(name.begin(), name.end(), added.begin());
    return plan.functionCount++;
}

void ReadStack(Fields& fields, SchedPlan& plan, TaskStack& stack) {
    fields.Real("share", stack.share, 0.0, kMostShare);
    const JsonValue* calls = fields.List("calls", kMaxStackCalls);
    for (rapidjson::SizeType i = 0; calls != nullptr && i < calls->Size(); ++i) {
        const JsonValue& call = (*calls)[i];
        const std::string_view name =
            call.IsString() ? std::string_view(call.GetString(), call.GetStringLength()) : "";
        if (!IsPlainName(name, kMostName)) {
            Refuse(fields.NameOf("calls"), "names of functions, 1 to 31 of A-Z, a-z, 0-9, _ and -");
        }
        stack.calls[stack.callCount++] = PlaceOf(name, plan);
    }
    if (stack.callCount == 0) {
        Refuse(fields.NameOf("calls"), "a function at least");
    }
}

}  // namespace

void AddUsualFunction(SchedPlan& plan) {
    plan.functionCount = 0;
    (void)PlaceOf(kUsualFunction, plan);
}

void ReadStacks(Fields& fields, SchedPlan& plan, SchedTask& task) {
    const JsonValue* list = fields.List("stacks", kMaxStacks);
    if (list == nullptr) {
        return;
    }
    task.stackCount = 0;
    double sum = 0.0;
    for (rapidjson::SizeType i = 0; i < list->Size(); ++i) {
        Fields stack((*list)[i], fields.NameOf("stacks") + "[" + std::to_string(i) + "]");
        TaskStack& read = task.stacks[task.stackCount++];
        read = {};
        ReadStack(stack, plan, read);
        stack.Finish();
        sum += read.share;
    }
    if (task.stackCount > 0 && sum <= 0.0) {
        Refuse(fields.NameOf("stacks"), "a share above 0");
    }
}

}  // namespace zarn::board
