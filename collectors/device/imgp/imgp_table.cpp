#include "collectors/device/imgp/imgp_table.h"

#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "collectors/device/imgp/slice_reader.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "kit/csv_table.h"

namespace zarn {
namespace {

namespace fs = std::filesystem;

constexpr const char* kTraceMark = "PROF";
constexpr const char* kDataFolder = "/device_0/data/";
constexpr const char* kSlices[] = {"imgp.data.0.slice_0", "imgp.vpc.0.slice_0"};

// The folder of the slices. Of several traces it is that of the last one by name, which holds its
// time.
std::optional<std::string> FindData(const std::string& outputFolder) {
    std::string found;
    std::error_code error;
    for (fs::directory_iterator entry(outputFolder, error); !error && entry != fs::end(entry);
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (name.find(kTraceMark) != std::string::npos && name > found) {
            found = name;
        }
    }
    if (found.empty()) {
        return std::nullopt;
    }
    return outputFolder + "/" + found + kDataFolder;
}

// Hands the lines of a slice on to `table`.
void ReadSlice(LineFile& slice, CsvTable& table) {
    SliceReader reader(table);
    for (std::string_view line; slice.Next(line);) {
        reader.Take(line);
    }
}

}  // namespace

void WriteImgpTable(const std::string& outputFolder, const std::string& csvPath) {
    const std::optional<std::string> data = FindData(outputFolder);
    if (!data) {
        PrintError("[ImgpCollector] Failed to find profiling data.");
        PrintError("[ImgpCollector] Failed to collect profiling data.");
        return;
    }
    std::vector<std::string> paths;
    for (const char* name : kSlices) {
        std::error_code ignored;
        if (!fs::exists(*data + name, ignored)) {
            PrintError("[ImgpCollector] Profiling data does not exist.");
        } else if (!LineFile(*data + name).IsOpen()) {
            PrintError("[ImgpCollector] Fail to open profiling data file");
        } else {
            paths.push_back(*data + name);
        }
    }
    if (paths.empty()) {
        return;
    }
    FileAppender file(csvPath);
    CsvTable table([&file](std::string_view piece) {
        file.Append(piece);
        return true;
    });
    for (const std::string& path : paths) {
        LineFile slice(path);
        ReadSlice(slice, table);
    }
    table.Finish();
    if (file.Keep() != FileResult::Ok) {
        PrintError("[ImgpCollector] Failed to open csv file.");
    }
}

}  // namespace zarn
