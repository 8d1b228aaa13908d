#include <cmath>

#include "foundation/json.h"
#include "fuzz/fuzz_input.h"

// Whatever is accepted can be written, and what was written can be parsed. (Not to the same digits:
// the library's default reading of a number may be off in the last one; and it takes some numbers
// that are too great for infinite, which are written as null.)
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    zarn::JsonDocument document;
    if (!zarn::ParseJson(zarn::fuzz::AsText(data, size), document)) {
        return 0;
    }
    rapidjson::StringBuffer written;
    zarn::WriteJson(document, written);
    zarn::JsonDocument again;
    zarn::fuzz::Require(zarn::ParseJson({written.GetString(), written.GetSize()}, again),
                        "written JSON can be parsed");
    const bool isInfinite = document.IsDouble() && std::isinf(document.GetDouble());
    zarn::fuzz::Require(isInfinite ? again.IsNull() : again.GetType() == document.GetType(),
                        "same type");
    return 0;
}
