#include "board/preload/kernel_paths.h"

#include <cstring>

namespace zarn::board {
namespace {

// Behind slashes and "." parts.
const char* SkipNothing(const char* path) {
    while (*path == '/' || (*path == '.' && (path[1] == '/' || path[1] == '\0'))) {
        ++path;
    }
    return path;
}

// Behind the first part of the path if that is `name`, or nullptr.
const char* Behind(const char* path, const char* name) {
    const std::size_t length = std::strlen(name);
    const bool isIt =
        std::strncmp(path, name, length) == 0 && (path[length] == '/' || path[length] == '\0');
    return isIt ? path + length : nullptr;
}

template <std::size_t Count>
bool BeginsWithOne(const char* path, const std::array<const char*, Count>& names) {
    for (const char* name : names) {
        if (Behind(path, name) != nullptr) {
            return true;
        }
    }
    return false;
}

// Behind a process's number, or nullptr.
const char* BehindProcess(const char* path) {
    const char* end = path;
    while (*end >= '0' && *end <= '9') {
        ++end;
    }
    return end != path && *end == '/' ? end : nullptr;
}

}  // namespace

const char* BoardEntryInProc(const char* path) {
    const char* entry = SkipNothing(path);
    if (const char* rest = BehindProcess(entry)) {
        return BeginsWithOne(SkipNothing(rest), kProcessFiles) ? entry : nullptr;
    }
    return BeginsWithOne(entry, kProcFolders) || BeginsWithOne(entry, kMemoryFiles) ? entry
                                                                                    : nullptr;
}

bool MayBeTheMachines(const char* entry) {
    return BeginsWithOne(entry, kMemoryFiles);
}

const char* BoardEntry(const char* path) {
    if (*path != '/') {
        return nullptr;
    }
    const char* rest = Behind(SkipNothing(path), "proc");
    return rest == nullptr ? nullptr : BoardEntryInProc(rest);
}

bool PlaceOf(const char* entry, char* place, std::size_t size) {
    constexpr char kInside[] = "/proc/";
    constexpr std::size_t kFront = sizeof(kKernelFiles) - 1 + sizeof(kInside) - 1;
    const std::size_t length = std::strlen(entry) + 1;
    if (kFront + length > size) {
        return false;
    }
    std::memcpy(place, kKernelFiles, sizeof(kKernelFiles) - 1);
    std::memcpy(place + sizeof(kKernelFiles) - 1, kInside, sizeof(kInside) - 1);
    std::memcpy(place + kFront, entry, length);
    return true;
}

const char* NameOf(const char* place) {
    const char* rest = std::strncmp(place, kKernelFiles, sizeof(kKernelFiles) - 1) == 0
                           ? place + sizeof(kKernelFiles) - 1
                           : nullptr;
    return rest != nullptr && *rest == '/' ? rest : place;
}

}  // namespace zarn::board
