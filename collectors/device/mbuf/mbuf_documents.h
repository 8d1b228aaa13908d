#pragma once

#include <string>
#include <vector>

#include "collectors/device/mbuf/mbuf_records.h"
#include "kit/event_writer.h"

namespace zarn {

// A buffer to report, with what its processes are called.
struct MbufFinding {
    const MbufRecord& record;
    std::string allocName;
    std::string useName;
    std::string useGroups;
};

// Writes the document of a cycle, of which `content` has an object for each finding.
void WriteMbufDocument(const std::vector<MbufFinding>& findings, const std::string& happenTime,
                       EventWriter& events);

}  // namespace zarn
