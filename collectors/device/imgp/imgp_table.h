#pragma once

#include <string>

namespace zarn {

// Turns the slices that the profiling tool left below `outputFolder` into the table `csvPath`. What
// cannot be found or read is told on the error stream; a slice that cannot be read costs itself,
// and without any there is no table.
void WriteImgpTable(const std::string& outputFolder, const std::string& csvPath);

}  // namespace zarn
