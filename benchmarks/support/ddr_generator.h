#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace zarn::bench {

// The result files of a DdrCollector on a busy board: ten masters whose load moves in phases, with
// noise and bursts, and their total. The same seed gives the same bytes.
class DdrGenerator {
public:
    explicit DdrGenerator(std::uint64_t seed) : seed_(seed) {}

    // A document of shares per sample, a second apart, one to a line.
    [[nodiscard]] std::string BandwidthDocuments(std::size_t samples) const;

    // The QoS settings of the ten masters, one to a line.
    [[nodiscard]] std::string QosDocuments() const;

private:
    std::uint64_t seed_;
};

}  // namespace zarn::bench
