#pragma once

#include <string>
#include <vector>

#include "formats/cpu.h"
#include "foundation/json.h"
#include "foundation/stop_flag.h"
#include "tests/support/captured_streams.h"
#include "tests/support/run_tree.h"

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

inline const std::string kUsageLogName = RunTree::NameOf(cpu_files::kUsageLog, "20230101120000111");
inline const std::string kCoresLogName = RunTree::NameOf(cpu_files::kCoresLog, "20230101120000222");
inline const std::string kDocumentsName =
    RunTree::NameOf(cpu_files::kUsageDocuments, "20230101120000333");

// A run tree in which a collector has been.
class CpuRunTree {
public:
    CpuRunTree();

    [[nodiscard]] const RunTree& Files() const { return tree_; }
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

private:
    RunTree tree_;
};

}  // namespace zarn::test
