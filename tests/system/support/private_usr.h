#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

// A private /opt/usr, and more, for one process. Nothing here is seen outside it.
namespace zarn::test {

// True if this process may make a mount namespace of its own.
[[nodiscard]] bool CanMount();

// What a private view of the machine adds: folders of the machine, and for each the names in it
// that are something else, or are there at all, with what stands there instead; "" for nothing.
// In /proc these must be files that are there.
using Additions = std::map<std::string, std::map<std::string, std::string>>;

// Gives the calling process a mount namespace with these additions; all else stays visible.
// `staging` is an empty folder for building it. False, with errno, on failure.
[[nodiscard]] bool EnterPrivateView(const Additions& additions, const std::string& staging);

// The options for proot to the same end. Its root is `emptyRoot`, so that the places it makes for
// the additions are made there and not on the machine; each folder lies directly below "/".
[[nodiscard]] std::vector<std::string> ProotOptions(const Additions& additions,
                                                    const std::string& emptyRoot);

// Mounts a memory file system of that size over `directory`, in a namespace of this process.
[[nodiscard]] bool MountSmall(const std::string& directory, std::size_t bytes, std::size_t inodes);

// Takes what is mounted over `directory` away again, in the namespace of this process.
void Unmount(const std::string& directory);

}  // namespace zarn::test
