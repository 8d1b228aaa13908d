#pragma once

#include <string>

#include "analyzers/cpu/cpu_settings.h"

namespace zarn::bench {

// What the analysis of a CPU collection is measured against: the same jobs over the tree at
// `dataPath`, written down plainly. Two passes of getline over the usage log, every compiled
// expression tried on every line by std::regex_search, texts in strings and maps, each of the
// collector's documents as a document object, tables through a stream. It writes the same bytes to
// the same files. False if a log is missing.
[[nodiscard]] bool AnalyzeCpuPlainly(const std::string& dataPath,
                                     const CpuAnalyzerSettings& settings);

}  // namespace zarn::bench
