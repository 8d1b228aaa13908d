#include "foundation/paths.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstdlib>
#include <filesystem>

#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/text.h"

namespace zarn {
namespace {

constexpr std::string_view kUserRoot = "/opt/usr/";

}  // namespace

std::optional<std::string> ResolvePath(const std::string& path) {
    // For a path that ends in a slash the C library uses a system call that path-translating
    // tracers of older making do not know; so the slash is dealt with here.
    const std::size_t last = path.find_last_not_of('/');
    const std::string trimmed = last == std::string::npos ? path : path.substr(0, last + 1);
    std::array<char, PATH_MAX + 1> buffer{};
    struct stat status {};
    if (::realpath(trimmed.c_str(), buffer.data()) == nullptr ||
        (trimmed != path && (::stat(buffer.data(), &status) != 0 || !S_ISDIR(status.st_mode)))) {
        return std::nullopt;
    }
    return buffer.data();
}

bool CheckFilePath(const std::string& path) {
    if (path.empty()) {
        return PrintFailure("input filePath empty. ");
    }
    const std::optional<std::string> resolved = ResolvePath(path);
    if (!resolved) {
        return PrintFailure("Invalid file path: " + path);
    }
    const std::string& realPath = *resolved;
    if (realPath.size() < kUserRoot.size()) {
        return PrintFailure(realPath + " not a single file in /opt/usr/");
    }
    if (!StartsWith(realPath, kUserRoot)) {
        return PrintFailure("File path illegal: " + path + ", file path should under /opt/usr/");
    }
    return true;
}

bool CheckFileReadable(const std::string& path) {
    if (!CheckFilePath(path)) {
        return false;
    }
    if (::access(path.c_str(), R_OK) != 0) {
        return PrintFailure("Don`t have read permission: " + path);
    }
    return true;
}

bool CheckFileWritable(const std::string& path) {
    if (!CheckFilePath(path)) {
        return false;
    }
    if (::access(path.c_str(), W_OK) != 0) {
        return PrintFailure("Don`t have write permission: " + path);
    }
    return true;
}

bool CreateDirectory(const std::string& path) {
    if (path.empty()) {
        return PrintFailure("[zarn_utils] Illegal path, failed to create directory.");
    }
    if (::access(path.c_str(), F_OK) == 0) {
        return true;
    }
    const std::string directory = path.back() == '/' ? path.substr(0, path.size() - 1) : path;
    std::string reason;
    try {
        (void)std::filesystem::create_directories(directory);
    } catch (const std::filesystem::filesystem_error& error) {
        reason = std::string(", error code:") + error.what();
    }
    // Another thread may have been faster. Whoever made it, it is there.
    std::error_code ignored;
    return std::filesystem::is_directory(directory, ignored) ||
           PrintFailure("[zarn_utils] Failed to create directory : " + path + reason);
}

std::string GetDirectoryOfPath(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

}  // namespace zarn
