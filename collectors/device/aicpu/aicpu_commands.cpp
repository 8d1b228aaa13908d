#include "collectors/device/aicpu/aicpu_commands.h"

#include <string_view>

namespace zarn {
namespace {

// Between the commands of a line.
constexpr const char* kAnd = " && ";
// Between those of the line that clears the selection.
const std::string kWideAnd = " && " + std::string(36, ' ');

std::string SetLine(const std::string& value, const std::string& path) {
    return "echo " + value + " > " + path;
}

// The commands that `make` gives for each of `attributes`, as one line.
template <typename Make>
void Append(const std::vector<std::string>& attributes, std::string& line, Make make) {
    for (const std::string& attribute : attributes) {
        line += (line.empty() ? "" : kAnd) + make(attribute);
    }
}

}  // namespace

std::string AicpuPlaces::Node(const std::string& attribute) const {
    return sysRoot + "devices/virtual/event_sched/event_sched/node/" + attribute;
}

std::string CopyCoreSetLine(const AicpuPlaces& places) {
    return "cat " + places.sysRoot + "fs/cgroup/cpuset/AICPU/cpuset.cpus > " +
           places.Copy(kAicpuCoreSet);
}

std::string SnapshotLine(const AicpuPlaces& places, const std::string& attribute) {
    return "cat " + places.Node(attribute) + " > " + places.Snapshot(attribute);
}

std::string RemoveSnapshotLine(const AicpuPlaces& places, const std::string& attribute) {
    return "rm " + places.Snapshot(attribute);
}

std::string SelectLine(const AicpuPlaces& places, const AicpuProcess& process) {
    const auto shown = [&process](std::uint32_t id) {
        return std::to_string(process.valid ? id : 0);
    };
    return SetLine("0", places.Node("node_id")) + kAnd +
           SetLine(shown(process.pid), places.Node("pid")) + kAnd +
           SetLine(std::to_string(process.core), places.Node("cpuid_in_node")) + kAnd +
           SetLine(shown(process.groupId), places.Node("proc_gid"));
}

std::string ClearLine(const AicpuPlaces& places) {
    return SetLine("0", places.Node("node_id")) + kWideAnd +
           SetLine("0", places.Node("cpuid_in_node")) + kWideAnd +
           SetLine("0", places.Node("pid")) + kWideAnd + SetLine("0", places.Node("proc_gid"));
}

std::string MarkLine(const AicpuPlaces& places, const AicpuLists& lists) {
    std::string line;
    for (const AicpuList* list : lists) {
        Append(list->attributes, line, [&places](const std::string& attribute) {
            return "echo '\n" + std::string(kAicpuPass) + "' >> " + places.Copy(attribute);
        });
    }
    return line;
}

std::string CopyLine(const AicpuPlaces& places, const AicpuList& list) {
    std::string line;
    Append(list.attributes, line, [&places](const std::string& attribute) {
        return "cat " + places.Node(attribute) + " >> " + places.Copy(attribute);
    });
    return line;
}

std::string MergeLine(const AicpuPlaces& places, const std::vector<std::string>& attributes,
                      const std::string& target) {
    std::string line;
    Append(attributes, line, [&places, &target](const std::string& attribute) {
        const std::string into = " >> " + target;
        return "echo '\n" + attribute + std::string(kAicpuStart) + "'" + into + kAnd + "cat " +
               places.Copy(attribute) + into + kAnd + "echo '" + attribute +
               std::string(kAicpuEnd) + "\n'" + into;
    });
    return line;
}

std::string RemoveLine(const AicpuPlaces& places, const std::vector<std::string>& attributes) {
    std::string line;
    Append(attributes, line,
           [&places](const std::string& attribute) { return "rm " + places.Copy(attribute); });
    return line;
}

}  // namespace zarn
