#pragma once

#include <map>
#include <string>
#include <vector>

namespace zarn::test {

// Texts by column.
using MemCells = std::map<std::string, std::string>;

// A line of a collector's documents of the system in which `cells` have these texts and the other
// columns "1".
[[nodiscard]] std::string MemSystemLine(const std::string& time, const MemCells& cells = {});

// Lines of samples a second apart from 20230101120000000 on, of one column.
[[nodiscard]] std::string MemSystemLines(const std::string& column,
                                         const std::vector<std::string>& values);

// A process of a sample: the columns that `cells` do not name hold "8K", or "1" where there is no
// unit.
struct MemRow {
    std::string pid;
    std::string command;
    MemCells cells;
};

// A line of a collector's documents of the processes.
[[nodiscard]] std::string MemProcessLine(const std::string& time, const std::vector<MemRow>& rows);

// Lines of samples a second apart, of one column of one process.
[[nodiscard]] std::string MemProcessLines(const MemRow& process, const std::string& column,
                                          const std::vector<std::string>& values);

// The moment of the sample with that index in such lines.
[[nodiscard]] std::string MemMoment(std::size_t index);

// `text` with the first `from` replaced.
[[nodiscard]] std::string With(std::string text, const std::string& from, const std::string& to);

}  // namespace zarn::test
