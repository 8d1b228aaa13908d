#include "benchmarks/support/generator.h"

namespace zarn::bench {

std::int64_t Generator::Between(std::int64_t low, std::int64_t high) {
    return low + static_cast<std::int64_t>(Below(static_cast<std::uint64_t>(high - low) + 1));
}

std::string Generator::Text(std::size_t size, std::string_view alphabet) {
    std::string text(size, '\0');
    for (char& c : text) {
        c = alphabet[Below(alphabet.size())];
    }
    return text;
}

std::string Generator::Percentage() {
    const std::uint64_t tenths = Below(1001);
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10);
}

}  // namespace zarn::bench
