#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "benchmarks/support/generator.h"

namespace zarn::bench {

// Run trees with the four sources of the correlation, without the tools and missions that would
// make them. The same seed gives the same bytes.
class CorrelationGenerator {
public:
    // The moments in the names of files, and that of booting.
    static constexpr const char* kTime = "20230101120000000";
    static constexpr const char* kBoot = "20230101120000";

    // A history of the scheduler: what was measured, its label in names of documents and in heads
    // of columns.
    struct History {
        std::string target;
        std::string analysis;
        std::string label;
    };
    // Those that a tree may hold for a job, in the order of their columns.
    [[nodiscard]] static std::vector<History> HistoriesOf(const std::string& job);

    explicit CorrelationGenerator(std::uint64_t seed) : generator_(seed) {}

    // Writes a small tree below `dataPath`, with its final slash, making the folders: sources may
    // be missing, moments meet, come again and go back, lines are torn. It may take the place of
    // another small one. False if a file cannot be written.
    [[nodiscard]] bool WriteSmall(const std::string& dataPath, const std::string& job);

    // How much a big tree holds: a sample every 10 ms in the tables, 89 bytes a row of the history.
    struct Size {
        std::size_t historyRows = 1000000;
        std::size_t tableRows = 600;
        std::size_t samples = 2000;
        std::size_t spans = 1000;  // peaks of the scheduler
    };
    // The same for a big tree of the job "global", in which all is as missions write it.
    [[nodiscard]] bool WriteBig(const std::string& dataPath, const Size& size);

private:
    [[nodiscard]] std::string Stamp();
    [[nodiscard]] std::string SmallTable(std::vector<std::string> heads);
    [[nodiscard]] std::string SmallHistory();
    [[nodiscard]] std::string Seconds();
    [[nodiscard]] std::string PeakList();
    [[nodiscard]] bool WriteSmallTables(const std::string& dataPath);
    [[nodiscard]] bool WriteSmallSamples(const std::string& dataPath);
    [[nodiscard]] bool WriteSmallHistories(const std::string& dataPath, const std::string& job);
    [[nodiscard]] std::string BigTable(std::size_t columns, const Size& size, const char* head);
    [[nodiscard]] std::string BigHistory(std::size_t rows);
    [[nodiscard]] std::string BigPeaks(std::size_t peaks, const Size& size);

    Generator generator_;
};

}  // namespace zarn::bench
