#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace zarn::bench {

// What `perf` prints about a busy board, with call chains. The same seed gives the same bytes.
class PerfTextGenerator {
public:
    explicit PerfTextGenerator(std::uint64_t seed) : seed_(seed) {}

    // A report of six lines a row: the row and its chain.
    [[nodiscard]] std::string Report(std::size_t rows) const;

    // A script of that many lines, ten to a sample, of twenty commands called "service_<n>".
    [[nodiscard]] std::string Script(std::size_t lines) const;

    // A diff of two recordings, in which each lacks every tenth function.
    [[nodiscard]] std::string Diff(std::size_t rows) const;

private:
    std::uint64_t seed_;
};

}  // namespace zarn::bench
