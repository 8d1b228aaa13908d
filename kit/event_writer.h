#pragma once

#include <string>

#include "foundation/json.h"

// Writing of event documents, one to a line. A file that cannot be opened or written to its end
// gives one line on the error stream and keeps what it held.
namespace zarn {

// Appends the compact text of `document` and a newline, whole or not at all.
void SaveJsonToFile(const std::string& path, const JsonValue& document);
// The same for the texts of any number of documents, each with its newline.
void SaveJsonLines(const std::string& path, const rapidjson::StringBuffer& lines);

}  // namespace zarn
