#pragma once

#include <cstdint>
#include <string>

namespace zarn::bench {

// The correlation as one would write it down at once: moments as texts in a set, lines by getline,
// all spans gone through for each row. It takes the sources' files by the names and moments that
// CorrelationGenerator gives them, and documents that are whole.
class PlainCorrelation {
public:
    // `job`: "global", "core" or "process".
    PlainCorrelation(std::string dataPath, std::uint32_t interval, std::string job)
        : dataPath_(std::move(dataPath)), interval_(interval), job_(std::move(job)) {}

    // Makes the table `path`.
    void Write(const std::string& path) const;

private:
    std::string dataPath_;
    std::uint32_t interval_;
    std::string job_;
};

}  // namespace zarn::bench
