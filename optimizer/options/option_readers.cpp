#include "optimizer/options/option_readers.h"

#include <cmath>
#include <limits>
#include <sstream>
#include <string>

#include "foundation/console.h"
#include "kit/section.h"

namespace zarn {
namespace {

template <class Value>
void ReportDefault(const char* key, Value value) {
    std::ostringstream text;
    text << "[DdrOptimizer] Warning, setting of" << key
         << " is missing. Use default value: " << value;
    PrintError(text.str());
}

bool ReportType(const char* key, const char* expected) {
    return PrintFailure(std::string("[DdrOptimizer] Invalid type of ") + key + expected);
}

bool FitsSinglePrecision(const JsonValue& value) {
    return value.IsNumber() &&
           std::abs(value.GetDouble()) <= double{std::numeric_limits<float>::max()};
}

}  // namespace

bool ReadUnsigned(const JsonValue& object, const char* key, std::uint16_t& value) {
    const JsonValue* member = FindMember(object, key);
    if (member == nullptr) {
        ReportDefault(key, value);
        return true;
    }
    if (!member->IsUint()) {
        return ReportType(key, " , which should be unsigned int.");
    }
    value = static_cast<std::uint16_t>(member->GetUint());
    return true;
}

bool ReadNumber(const JsonValue& object, const char* key, double& value) {
    const JsonValue* member = FindMember(object, key);
    if (member == nullptr) {
        ReportDefault(key, value);
        return true;
    }
    if (!FitsSinglePrecision(*member)) {
        return ReportType(key, " , which should be floate.");
    }
    value = double{static_cast<float>(member->GetDouble())};
    return true;
}

}  // namespace zarn
