#pragma once

#include "formats/run_tree.h"

// Files of the image block in a run tree: written by its collector.
namespace zarn::imgp_files {

inline constexpr const char* kRawDir = "raw_data/imgp/";
inline constexpr const char* kGlobalFolder = "raw_data/imgp/global";  // as the tool is told it
inline constexpr const char* kAppDir = "raw_data/imgp/app/";
inline constexpr const char* kUmapDir = "raw_data/imgp/umap/";

inline constexpr const char* kAppScript = "imgp_script.sh";  // in kAppDir

// How busy the engines are, a document a device.
inline constexpr NumberedFile kUtilization = {run_tree::kJsonDir, "soc_imgp_utilization_info_",
                                              kDataSuffix};

// The tables of the profiling tool's slices.
inline constexpr NumberedFile kGlobalTable = {"csv/", "soc_imgp_global_profiling_", kCsvSuffix};
inline constexpr NumberedFile kAppTable = {"csv/", "soc_imgp_app_profiling_", kCsvSuffix};

}  // namespace zarn::imgp_files

namespace zarn {

inline constexpr const char* kImgpEventId = "222210220";
inline constexpr const char* kImgpObjectId = "soc_imgp_utilization_info";

}  // namespace zarn
