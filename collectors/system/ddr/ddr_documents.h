#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "collectors/system/ddr/ddr_bandwidth_parser.h"
#include "collectors/system/ddr/qos_config.h"
#include "kit/event_writer.h"

// The DDR collector's documents.
namespace zarn {

// A bandwidth in MB/s, given as text, in percent of the DDR's peak: at most 100. Throws what
// std::stod throws.
[[nodiscard]] double DdrShare(const std::string& bandwidth);

// Writes the document of one sample, `rows[first]` to `rows[first + size - 1]`: the share of each
// under the name of its id. Throws std::out_of_range for an id that is not in mpamNameMap, and what
// DdrShare throws; a document is begun then that must not be kept.
void WriteBandwidthDocument(const std::vector<BandwidthRow>& rows, std::size_t first,
                            std::size_t size, const std::string& happenTime, EventWriter& events);

// Writes the document of one master's QoS settings.
void WriteQosDocument(const QosConfig& config, const std::string& happenTime, EventWriter& events);

}  // namespace zarn
