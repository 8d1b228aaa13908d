#pragma once

#include <array>
#include <cstddef>

// Which paths below /proc are the board's, and where the board's view keeps them. A mount cannot
// put them there: procfs lets nobody make an entry. Plain functions without memory of their own,
// for a library that is loaded into every program of the board.
namespace zarn::board {

// In the board's view of the machine: the folder of what stands there for the launcher's sake, and
// in it the board's kernel files (/proc/qos is kKernelFiles/proc/qos) and the library.
inline constexpr char kViewFolder[] = "/etc/zarn-board";
inline constexpr char kKernelFiles[] = "/etc/zarn-board/files";
inline constexpr char kPreloadLibrary[] = "/etc/zarn-board/preload.so";

// The entries of /proc that the board has and the machine has not.
inline constexpr std::array kProcFolders{"qos", "perf", "sharepool", "umap", "xsmem"};
// The entries of a process's folder that the board has.
inline constexpr std::array kProcessFiles{"sp_group"};

// Entries that the machine has too, and the board if its scenario settles them.
inline constexpr std::array kMemoryFiles{"meminfo", "slabinfo", "vmallocinfo"};

// Whether the entry is one of kMemoryFiles: without a file of the board the machine's stands.
[[nodiscard]] bool MayBeTheMachines(const char* entry);

// The part of `path` behind "/proc/" if it names an entry of the board, or nullptr. Doubled slashes
// and "." in front of the entry are seen through, ".." is not.
[[nodiscard]] const char* BoardEntry(const char* path);

// The same for a path relative to /proc.
[[nodiscard]] const char* BoardEntryInProc(const char* path);

// Writes the path at which the board's view keeps the entry; false if it does not fit.
[[nodiscard]] bool PlaceOf(const char* entry, char* place, std::size_t size);

// The path under which the board's programs know a place of kKernelFiles: what follows its folder;
// other paths are given back as they are.
[[nodiscard]] const char* NameOf(const char* place);

}  // namespace zarn::board
