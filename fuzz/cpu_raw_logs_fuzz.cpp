#include "analyzers/cpu/cpu_log_parser.h"
#include "analyzers/cpu/cpu_patterns.h"
#include "fuzz/fuzz_input.h"

// The analyzer's readers of usage logs and cores logs: whatever the log, the lists fit together.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = zarn::fuzz::AsText(data, size);
    const zarn::CpuUsageLog usage = zarn::ParseUsageLog(text, zarn::CpuPatterns());
    zarn::fuzz::Require(usage.sampleProcs.Count() == usage.sampleTotals.size(),
                        "a batch per total");
    for (std::size_t sample = 0; sample < usage.sampleProcs.Count(); ++sample) {
        for (const zarn::CpuProcessRow& row : usage.sampleProcs.At(sample)) {
            zarn::fuzz::Require(row.process < usage.processes.size(), "a row's process is known");
            zarn::fuzz::Require(row.command < usage.commands.size(), "a row's command is known");
        }
    }
    const zarn::CpuCoresLog cores = zarn::ParseCoresLog(text, zarn::CpuPatterns());
    for (const zarn::CpuCore& core : cores.cores) {
        zarn::fuzz::Require(!core.name.empty(), "a core has a name");
    }
    return 0;
}
