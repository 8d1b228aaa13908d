#include "foundation/json.h"

#include <rapidjson/memorystream.h>


namespace zarn {

void FailJsonAssertion(const char* condition, const char* file, int line) noexcept {
    std::fprintf(stderr, "zarn: %s:%d: JSON assertion `%s' failed.\n", file, line, condition);
    std::abort();
}

bool ParseJson(std::string_view text, JsonDocument& document) {
    rapidjson::MemoryStream stream(text.data(), text.size());
    document.ParseStream(stream);
    return !document.HasParseError() && stream.Tell() == text.size();
}

}  // namespace zarn
