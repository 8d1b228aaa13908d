#pragma once

#include <string>
#include <vector>

#include "formats/aicpu.h"

// The shell lines of the AICPU collector.
namespace zarn {

// Where the lines find and leave things.
struct AicpuPlaces {
    std::string sysRoot;   // of sysfs, with its final slash
    std::string dataPath;  // likewise
    std::string time;      // in the names of the raw files

    [[nodiscard]] std::string Node(const std::string& attribute) const;
    [[nodiscard]] std::string Copy(const std::string& attribute) const {
        return aicpu_files::CopyPath(dataPath, attribute, time);
    }
    [[nodiscard]] std::string Snapshot(const std::string& attribute) const {
        return aicpu_files::SnapshotPath(dataPath, attribute);
    }
};

// Copies the core set.
[[nodiscard]] std::string CopyCoreSetLine(const AicpuPlaces& places);

// Takes, and removes, a snapshot of one attribute.
[[nodiscard]] std::string SnapshotLine(const AicpuPlaces& places, const std::string& attribute);
[[nodiscard]] std::string RemoveSnapshotLine(const AicpuPlaces& places,
                                             const std::string& attribute);

// Lets the attributes show one process on one core. One that is not valid selects pid and group 0.
[[nodiscard]] std::string SelectLine(const AicpuPlaces& places, const AicpuProcess& process);
// Takes the selection back.
[[nodiscard]] std::string ClearLine(const AicpuPlaces& places);

using AicpuLists = std::vector<const AicpuList*>;

// Appends the marker of a pass to the copies of all attributes of the lists.
[[nodiscard]] std::string MarkLine(const AicpuPlaces& places, const AicpuLists& lists);

// Appends what the attributes of a list say to their copies.
[[nodiscard]] std::string CopyLine(const AicpuPlaces& places, const AicpuList& list);

// Appends the copies, as sections, to `target`; removes them.
[[nodiscard]] std::string MergeLine(const AicpuPlaces& places,
                                    const std::vector<std::string>& attributes,
                                    const std::string& target);
[[nodiscard]] std::string RemoveLine(const AicpuPlaces& places,
                                     const std::vector<std::string>& attributes);

}  // namespace zarn
