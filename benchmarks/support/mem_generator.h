#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace zarn::bench {

// The documents of a MemCollector on a busy board, a sample every two seconds. The same seed gives
// the same bytes.
class MemGenerator {
public:
    explicit MemGenerator(std::uint64_t seed) : seed_(seed) {}

    // A document of the system per sample, one to a line.
    [[nodiscard]] std::string SystemDocuments(std::size_t samples) const;

    // A document per sample of as many processes, called "service_<n>": their memory moves in
    // phases, with noise and bursts, and every tenth process leaks.
    [[nodiscard]] std::string ProcessDocuments(std::size_t samples, std::size_t processes) const;

private:
    std::uint64_t seed_;
};

}  // namespace zarn::bench
