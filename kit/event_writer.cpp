#include "kit/event_writer.h"

#include "foundation/console.h"
#include "foundation/files.h"

namespace zarn {

void SaveJsonToFile(const std::string& path, const JsonValue& document) {
    // Kept from document to document, unless a huge one has swollen it.
    constexpr std::size_t kKeptSize = 1 << 20;
    thread_local rapidjson::StringBuffer buffer;
    buffer.Clear();
    WriteJson(document, buffer);
    buffer.Put('\n');
    SaveJsonLines(path, buffer);
    if (buffer.GetSize() > kKeptSize) {
        buffer.Clear();
        buffer.ShrinkToFit();
    }
}

void SaveJsonLines(const std::string& path, const rapidjson::StringBuffer& lines) {
    if (AppendFile(path, {lines.GetString(), lines.GetSize()}) != FileResult::Ok) {
        PrintError("[zarn_utils] Cannot open outfile, check your filePath.");
    }
}

}  // namespace zarn
