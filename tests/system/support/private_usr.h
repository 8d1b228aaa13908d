#pragma once

#include <cstddef>
#include <string>

// Mount namespaces for the sandbox. Nothing here is seen outside the calling process.
namespace zarn::test {

// True if this process may make a mount namespace of its own.
[[nodiscard]] bool CanMount();

// Gives the calling process a mount namespace in which `usr` is /opt/usr. /opt keeps its other
// folders; `staging` is an empty folder for building it. False, with errno, on failure.
[[nodiscard]] bool EnterPrivateUsr(const std::string& usr, const std::string& staging);

// Mounts a memory file system of that size over `directory`, in a namespace of this process.
[[nodiscard]] bool MountSmall(const std::string& directory, std::size_t bytes, std::size_t inodes);

void UnmountSmall(const std::string& directory);

}  // namespace zarn::test
