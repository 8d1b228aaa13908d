#pragma once

#include <string>

namespace zarn {

// Copies the regular files of a folder of the kernel into another one, folders in it left out. They
// are read to their end, since they show a size of 0, by which a copy would be empty. What cannot
// be copied is told on the error stream and costs itself. Both paths end in a slash.
void CopyUmap(const std::string& from, const std::string& to);

}  // namespace zarn
