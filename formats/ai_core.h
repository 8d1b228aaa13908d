#pragma once

#include "formats/run_tree.h"

// Files of the AI cores in a run tree: written by their collector, read by the correlation.
namespace zarn::ai_core_files {

inline constexpr const char* kRawDir = "raw_data/aiCore/";

// The readable log of all samples, and a document a sample, named by the sample's own time.
inline constexpr NumberedFile kUsageLog = {kRawDir, "aiCore_usage_", kLogSuffix};
inline constexpr NumberedFile kUsageDocuments = {run_tree::kJsonDir,
                                                 "soc_ai_resource_usage_info_1_", kDataSuffix};

}  // namespace zarn::ai_core_files

// What the family's writers and readers both know.
namespace zarn {

inline constexpr const char* kAiCoreEventId = "222210200";
inline constexpr const char* kAiCoreObjectId = "soc_ai_usage_info";

// The one member of the one element of `content`, a text: the average, then each core, in percent
// with six decimals, each with a blank behind it. kAiCoreNotANumber and kAiCoreNoValue stand for a
// core without a figure.
inline constexpr const char* kAiCoreMember = "aicore";
inline constexpr const char* kAiCoreNotANumber = "-1";
inline constexpr const char* kAiCoreNoValue = "-2";

}  // namespace zarn
