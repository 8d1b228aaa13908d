#pragma once

#include <string_view>

namespace zarn::report {

// Where the page's data goes.
inline constexpr std::string_view kPayloadMark = "<!--zarn-report-payload-->";

// The page as it was built into the program: HTML that holds kPayloadMark once.
[[nodiscard]] std::string_view PageTemplate();

}  // namespace zarn::report
