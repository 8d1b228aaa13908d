#pragma once

#include <string>

#include "analyzers/ddr/ddr_master_info.h"
#include "kit/event_writer.h"

// The DDR analyzer's results, made of an entry for every name of ddrNameList; a name without one
// counts as one without samples.
namespace zarn {

// The event document of the analysis.
void WriteAnalysisDocument(const DdrInfoMap& infos, const std::string& happenTime,
                           EventWriter& events);

// The table of all samples: a line per moment of `total`, a column per name. Throws
// std::out_of_range if a name has fewer values than `total` has moments.
[[nodiscard]] std::string AnalysisTable(const DdrInfoMap& infos);

}  // namespace zarn
