#pragma once

#include <string>
#include <vector>

#include "foundation/json.h"
#include "foundation/stop_flag.h"
#include "tests/support/captured_streams.h"
#include "tests/support/temp_dir.h"

namespace zarn::test {

// A small collection of three samples, with its numbers chosen so that they can be reckoned by
// hand:
//   sample   us  sy  id  hi  si   loads          tasks  init  worker  helper
//   1        10   5  80   1   2   1.00 2.00 3.00   10   10.0    50.0     0.0
//   2        30   5  60   1   2   2.00 2.00 3.00   12   20.0    80.0       -
//   3        10   5  80   1   2   3.00 2.00 3.00   11   10.0       -     2.0
extern const char* const kUsageLogText;
// Two samples of two cores, idle 90 and 50, then 70 and 50.
extern const char* const kCoresLogText;
// The collector's documents of the three samples.
extern const char* const kDocumentsText;

inline constexpr const char* kUsageLogName =
    "raw_data/cpu/soc_gea_cpu_usage_info_1_20230101120000111.log";
inline constexpr const char* kCoresLogName = "raw_data/cpu/cpu_cores_1_20230101120000222.log";
inline constexpr const char* kDocumentsName = "json/soc_gea_cpu_usage_info_20230101120000333.data";

// A run tree with the folders of a fresh run.
class CpuRunTree {
public:
    CpuRunTree();

    [[nodiscard]] const TempDir& Files() const { return dir_; }
    // Writes the three files of the small collection.
    void WriteCollection() const;

    struct Result {
        bool succeeded;
        Captured captured;
    };
    // Starts an analyzer on a machine of two processors, with a section that has these jobs and the
    // sets "all" (init, worker, helper), "small" (helper) and "none" (absent).
    [[nodiscard]] Result Analyze(const std::string& jobs, bool stopped = false) const;
    // The same of a tree that is not this object's.
    [[nodiscard]] static Result AnalyzeTree(const std::string& dataPath, const std::string& jobs,
                                            bool stopped = false);

    // The files below the tree, without the cost log, in byte order.
    [[nodiscard]] std::vector<std::string> FileNames() const;

private:
    TempDir dir_;
};

}  // namespace zarn::test
