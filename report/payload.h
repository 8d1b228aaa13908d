#pragma once

#include <optional>
#include <string>
#include <vector>

#include "report/blocks.h"
#include "report/files.h"
#include "report/json_out.h"

namespace zarn::report {

// A run as the page names it.
struct RunLabel {
    std::string label;
    std::string path;
    std::optional<Moment> from;  // when its collectors began, and when they had ended
    std::optional<Moment> to;
};

// All that a report shows.
struct Report {
    std::string version;  // of this program
    std::string made;     // UTC, ISO 8601
    std::vector<RunLabel> runs;
    std::vector<Page> pages;
    std::vector<std::string> foot;
};

// Writes the page's data, one JSON object, in pieces.
void WritePayload(const Report& report, const Files& files, const JsonOut::Take& take);

}  // namespace zarn::report
