#include "optimizer/options/pso_options.h"

#include <map>
#include <string>

#include "foundation/console.h"
#include "kit/section.h"
#include "optimizer/options/option_readers.h"

namespace zarn {
namespace {

constexpr std::uint32_t kGreatestBound = 51;  // GB/s
constexpr std::uint32_t kValueStep = 2;       // GB/s
constexpr std::int32_t kLeastVelocity = -20;
constexpr std::int32_t kGreatestVelocity = 20;

// The words about one object of bounds.
struct BoundsWords {
    const char* key;
    const char* missing;
    const char* noObject;
    const char* noPair;       // followed by the group
    const char* elementType;  // follows the group
};

constexpr BoundsWords kSpaceWords = {
    "psoSpaceBounds",
    "[DdrOptimizer] Pso space bound settings are missing. ",
    "[DdrOptimizer] Invalid psoSpaceBounds type, which should be dict!",
    "[DdrOptimizer] Invalid space bound setting of ",
    " , which should be unsigned int.",
};
constexpr BoundsWords kVelocityWords = {
    "psoVelBounds",
    "[DdrOptimizer] Pso velocity bound settings are missing. ",
    "[DdrOptimizer] Invalid psoVelBounds type, which should be dict!",
    "[DdrOptimizer] Invalid bound setting of ",
    " , which should be int.",
};

PsoBound MakeSpaceBound(const std::string& group, const JsonValue& pair) {
    std::uint32_t low = pair[0].GetUint();
    std::uint32_t up = pair[1].GetUint();
    if (low >= up) {
        PrintError("[DdrOptimizer] Warning, invalid low bound value of " + group +
                   " , which should be in [0, UPBOPUND]current value is " + std::to_string(low) +
                   " . The low bound will be set to: 0");
        low = 0;
    }
    if (up > kGreatestBound) {
        PrintError("[DdrOptimizer] Warning, invalid up bound value of " + group +
                   " , which should be in [LOWBOPUND, 51], current value is " + std::to_string(up) +
                   " . The up bound will be set to: 51");
        up = kGreatestBound;
    }
    PsoBound bound;
    bound.low = static_cast<std::int16_t>(low);
    bound.up = static_cast<std::int16_t>(up);
    for (std::uint32_t value = low; value < up; value += kValueStep) {
        bound.values.push_back(static_cast<std::uint16_t>(value));
    }
    return bound;
}

PsoBound MakeVelocityBound(const std::string& group, const JsonValue& pair) {
    std::int32_t low = pair[0].GetInt();
    std::int32_t up = pair[1].GetInt();
    if (low < kLeastVelocity || low > up) {
        PrintError("[DdrOptimizer] Warning, invalid vel low bound value of " + group +
                   ", which will be set to: -20");
        low = kLeastVelocity;
    }
    if (up > kGreatestVelocity) {
        PrintError("[DdrOptimizer] Warning, invalid vel up bound value of " + group +
                   " , which will be set to: 20");
        up = kGreatestVelocity;
    }
    PsoBound bound;
    bound.low = static_cast<std::int16_t>(low);
    bound.up = static_cast<std::int16_t>(up);
    return bound;
}

// Reads the pair of each group; `type` is that of its elements, `make` turns a checked pair into a
// bound.
template <class Make>
bool ReadBounds(const JsonValue& conf, const BoundsWords& words, JsonType type, Make&& make,
                std::map<std::string, PsoBound>& bounds) {
    const JsonValue* object = FindMember(conf, words.key);
    if (object == nullptr) {
        return PrintFailure(words.missing);
    }
    if (!object->IsObject()) {
        return PrintFailure(words.noObject);
    }
    for (const auto& [group, mpamids] : stressGroups) {
        const JsonValue* pair = FindMember(*object, group.c_str());
        if (pair == nullptr || !pair->IsArray() || pair->Size() != 2) {
            return PrintFailure(words.noPair + group);
        }
        if (!HasType((*pair)[0], type) || !HasType((*pair)[1], type)) {
            return PrintFailure("[DdrOptimizer] Invalid bound value type of " + group +
                                words.elementType);
        }
        bounds[group] = make(group, *pair);
    }
    return true;
}

bool ReadParams(const JsonValue& params, PsoState& state) {
    return ReadUnsigned(params, "numSize", state.numSize) &&
           ReadUnsigned(params, "perTime", state.perTime) &&
           ReadUnsigned(params, "numIterate", state.numIterate) &&
           ReadNumber(params, "w_v", state.w_v) && ReadNumber(params, "w_p", state.w_p) &&
           ReadNumber(params, "w_g", state.w_g);
}

bool ReadIndexes(const JsonValue& indexes, PsoState& state) {
    return ReadNumber(indexes, "beliefProb", state.beliefProb) &&
           ReadNumber(indexes, "aiWorseRate", state.aiWorseRate) &&
           ReadUnsigned(indexes, "camFpsBound", state.camFpsBound);
}

// The words about one optional object.
struct OptionalWords {
    const char* key;
    const char* missing;
    const char* noObject;
};

constexpr OptionalWords kParamsWords = {
    "psoParams",
    "[DdrOptimizer] Pso params settings are missing. Use default settings.",
    "[DdrOptimizer] Invalid psoParams type, which should be dict!",
};
constexpr OptionalWords kIndexesWords = {
    "psoIndexs",
    "[DdrOptimizer] Pso psoIndexs settings are missing. Use default settings.",
    "[DdrOptimizer] Invalid psoIndexs type, which should be dict!",
};

// An absent object leaves the defaults.
bool ReadOptionalObject(const JsonValue& conf, const OptionalWords& words,
                        bool (*read)(const JsonValue&, PsoState&), PsoState& state) {
    const JsonValue* object = FindMember(conf, words.key);
    if (object == nullptr) {
        PrintLine(words.missing);
        return true;
    }
    if (!object->IsObject()) {
        return PrintFailure(words.noObject);
    }
    return read(*object, state);
}

}  // namespace

bool ParsePsoConf(const JsonValue& section, PsoState& state) {
    const JsonValue* conf = FindMember(section, "psoConf");
    if (conf == nullptr || !conf->IsObject()) {
        return PrintFailure("[DdrOptimizer] Configs of pso opt algorithm are missing.");
    }
    if (!ReadBounds(*conf, kSpaceWords, JsonType::Unsigned, MakeSpaceBound, state.psoSpaceBounds)) {
        return PrintFailure("[DdrOptimizer] Get pso search space bounds fail!");
    }
    if (!ReadBounds(*conf, kVelocityWords, JsonType::Integer, MakeVelocityBound,
                    state.psoVelBounds)) {
        return PrintFailure("[DdrOptimizer] Get pso search velocity bounds fail!");
    }
    if (!ReadOptionalObject(*conf, kParamsWords, ReadParams, state)) {
        return PrintFailure("[DdrOptimizer] Get pso params fail!");
    }
    if (!ReadOptionalObject(*conf, kIndexesWords, ReadIndexes, state)) {
        return PrintFailure("[DdrOptimizer] Get pso indexs fail!");
    }
    return true;
}

}  // namespace zarn
