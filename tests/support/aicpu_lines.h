#pragma once

#include <string>
#include <vector>

#include "formats/aicpu.h"

// Texts as an AicpuCollector leaves them, for tests.
namespace zarn::test {

// A section of a merged file with that text of each pass.
[[nodiscard]] std::string AicpuSection(const std::string& attribute,
                                       const std::vector<std::string>& passes);

// The record of a collection on the cores 1 to 3 with all jobs.
[[nodiscard]] AicpuRecord AicpuRecordOf(const std::vector<AicpuProcess>& processes);

// A process on core 1 in group 31 with that many passes, taken a second apart from
// 20230101120000001 on.
[[nodiscard]] AicpuProcess AicpuProcessOf(const std::string& name, std::uint32_t pid,
                                          std::size_t passes, bool valid = true);

// The merged files of that process on a board where pass k has seen 10 * k events published more
// than the one before: each with as many passes as the process.
struct AicpuRawFiles {
    std::string core;
    std::string event;
    std::string abnormal;
    std::string process;
};
[[nodiscard]] AicpuRawFiles AicpuRawFilesOf(const AicpuProcess& process);

}  // namespace zarn::test
