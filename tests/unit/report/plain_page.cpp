#include <string>

#include "report/page_template.h"

namespace zarn::report {

// A page without a script, for tests of what the program writes.
std::string_view PageTemplate() {
    static const std::string page =
        "<!doctype html><title>plain</title>" + std::string(kPayloadMark) + "<p>end</p>\n";
    return page;
}

}  // namespace zarn::report
