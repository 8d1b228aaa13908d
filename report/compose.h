#pragma once

#include <functional>
#include <string>
#include <vector>

#include "report/files.h"
#include "report/payload.h"

namespace zarn::report {

// Told what is read next, for the user who waits.
using OnProgress = std::function<void(const std::string& what)>;

// Reads the run trees, each path with its final slash, and makes the report of them: the first
// page, and a page for each family of each run. `labels` are the names that the user knows them by.
[[nodiscard]] Report ComposeReport(const std::vector<std::string>& paths,
                                   const std::vector<std::string>& labels, Files& files,
                                   const OnProgress& onProgress);

}  // namespace zarn::report
