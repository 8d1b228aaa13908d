#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "collectors/device/aicpu/core_set_parser.h"
#include "collectors/device/aicpu/process_parser.h"
#include "foundation/files.h"
#include "fuzz/fuzz_input.h"

// The core set, and the lists in which processes and their groups are looked up: the first line is
// a process's name, up to 64 bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using zarn::fuzz::Require;
    const std::string_view text = zarn::fuzz::AsText(data, size);
    const zarn::CoreSet cores = zarn::ParseCoreSet(text);
    if (cores.verdict == zarn::CoreSet::Verdict::Ok) {
        Require(cores.min >= 0 && cores.max >= cores.min, "a range is legal");
    }

    std::vector<std::string> lines;
    zarn::LineCursor cursor(text);
    for (std::string_view line; cursor.Next(line);) {
        lines.emplace_back(line);
    }
    zarn::AicpuProcess process;
    process.name = text.substr(0, std::min<std::size_t>(text.find('\n'), 64));
    const zarn::Lookup pid = zarn::FindPid(lines, process.name);
    if (pid.verdict == zarn::Lookup::Verdict::Found) {
        Require(text.find(std::to_string(pid.value)) != std::string_view::npos,
                "a pid stands in the list");
    }
    process.core = 1;
    process.pid = pid.value;
    const zarn::Lookup group = zarn::FindGroup(lines, process);
    if (group.verdict == zarn::Lookup::Verdict::Found) {
        Require(text.find("1," + std::to_string(process.pid) + ",") != std::string_view::npos,
                "a group is that of the process on the core");
    }
    return 0;
}
