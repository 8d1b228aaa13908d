#include "collectors/device/imgp/umap_copy.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <vector>

#include "foundation/console.h"
#include "foundation/files.h"

namespace zarn {
namespace {

namespace fs = std::filesystem;

void CopyFile(const std::string& from, const std::string& to) {
    const auto fail = [&from, &to](std::error_code code) {
        throw fs::filesystem_error("cannot copy file", from, to, code);
    };
    const fs::file_status status = fs::status(from);
    if (fs::is_directory(status)) {
        return;
    }
    if (!fs::is_regular_file(status)) {
        // Reading it might never end.
        fail(std::make_error_code(fs::exists(status) ? std::errc::not_supported
                                                     : std::errc::no_such_file_or_directory));
    }
    std::string text;
    errno = 0;
    FileResult result = ReadFile(from, text);
    if (result == FileResult::Ok) {
        result = WriteFile(to, text);
    }
    if (result != FileResult::Ok) {
        fail(errno != 0 ? std::error_code(errno, std::generic_category())
                        : std::make_error_code(std::errc::io_error));
    }
}

void PrintException(const fs::filesystem_error& error) {
    PrintError(std::string("[ImgpCollector] Catch a file copy exception: ") + error.what());
}

}  // namespace

void CopyUmap(const std::string& from, const std::string& to) {
    std::vector<std::string> names;
    try {
        for (const fs::directory_entry& entry : fs::directory_iterator(from)) {
            names.push_back(entry.path().filename().string());
        }
    } catch (const fs::filesystem_error& error) {
        PrintException(error);
    }
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
        try {
            CopyFile(from + name, to + name);
        } catch (const fs::filesystem_error& error) {
            PrintException(error);
        }
    }
}

}  // namespace zarn
