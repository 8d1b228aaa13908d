#pragma once

#include <string>

#include "formats/run_tree.h"

// Files of the topdown family in a run tree: a counter file of perf and a document for the system,
// for each core and for each process that is measured.
namespace zarn::topdown_files {

inline constexpr const char* kRawDir = "raw_data/topdown/";

// A kind of measurement: how the names of its counter files and of its documents begin, the core or
// process following, and what its documents bear as `objectId`.
struct Kind {
    const char* rawPrefix;
    const char* documentPrefix;
    const char* objectId;
};

inline constexpr Kind kGlobal = {"topdown_global_", "soc_topdown_global_info",
                                 "soc_topdown_global_info"};
inline constexpr Kind kCore = {"topdown_core_", "soc_topdown_core_info_core",
                               "soc_topdown_core_info"};
inline constexpr Kind kProcess = {"topdown_process_", "soc_topdown_process_info_process",
                                  "soc_topdown_process_info"};

// The counter file's name in kRawDir. `element`: the core or process, empty for the system.
[[nodiscard]] inline std::string RawName(const Kind& kind, const std::string& element,
                                         const std::string& time) {
    return kind.rawPrefix + element + (element.empty() ? "" : "_") + time + "." + kLogSuffix;
}

// The document's name in the folder of documents.
[[nodiscard]] inline std::string DocumentName(const Kind& kind, const std::string& element,
                                              const std::string& time) {
    return kind.documentPrefix + element + "_1_" + time + "." + kDataSuffix;
}

// The core or process that a document of that kind and name is about; empty for the system.
[[nodiscard]] inline std::string ElementOf(const Kind& kind, const std::string& name) {
    const std::size_t begin = std::string(kind.documentPrefix).size();
    const std::size_t end = name.rfind("_1_");
    return end == std::string::npos || end < begin ? "" : name.substr(begin, end - begin);
}

// The `eventId` of all documents of the family.
inline constexpr const char* kEventId = "222200005";

// The member of a document's one element of `content` that names the bottleneck; the others are
// metrics by their full names.
inline constexpr const char* kBottleneckMember = "<==";

}  // namespace zarn::topdown_files
