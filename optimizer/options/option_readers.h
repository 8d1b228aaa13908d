#pragma once

#include <cstdint>

#include "foundation/json.h"

// Readers of one optional key of an object. An absent key is reported and keeps the default that
// `value` holds; a value of a wrong type is reported and gives false.
namespace zarn {

// A non-negative integer of at most 32 bits, of which the low 16 are stored.
[[nodiscard]] bool ReadUnsigned(const JsonValue& object, const char* key, std::uint16_t& value);

// A number in the range of a single-precision float, stored through single precision.
[[nodiscard]] bool ReadNumber(const JsonValue& object, const char* key, double& value);

}  // namespace zarn
