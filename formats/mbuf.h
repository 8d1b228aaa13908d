#pragma once

#include "formats/run_tree.h"

// Files of the buffer collector in a run tree.
namespace zarn::mbuf_files {

inline constexpr const char* kRawDir = "raw_data/mbuf/";

// A log for each query of the buffer library, and a document for each cycle of two queries.
inline constexpr NumberedFile kQueryLog = {kRawDir, "soc_mbuffer_stat_info_", kLogSuffix};
inline constexpr NumberedFile kTimeouts = {run_tree::kJsonDir, "soc_mbuffer_stat_info_",
                                           kDataSuffix};

}  // namespace zarn::mbuf_files
