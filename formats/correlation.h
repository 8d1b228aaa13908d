#pragma once

#include "formats/run_tree.h"

// The table of the correlation in a run tree: written and read again by its analyzer alone.
namespace zarn::correlation_files {

inline constexpr const char* kCsvFolder = "csv/correlation";  // as it is created
inline constexpr NumberedFile kTable = {"csv/correlation/", "soc_correlation_ana_info_",
                                        kCsvSuffix};
// Behind the name of a table in the making.
inline constexpr const char* kUnfinished = ".tmp";

}  // namespace zarn::correlation_files
