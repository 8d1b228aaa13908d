#include "fuzz/fuzz_input.h"
#include "optimizer/benchmark/stress_log_parser.h"

// The stress benchmark's log: at most 26 rates per group, as many for each.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    zarn::PerfMap perf;
    const bool read = zarn::ParseStressLog(zarn::fuzz::AsText(data, size), perf);
    for (const auto& [group, rates] : perf) {
        zarn::fuzz::Require(rates.size() <= zarn::kStressLastLine - zarn::kStressHeadLines,
                            "at most 26 rates");
        zarn::fuzz::Require(!read || rates.size() == perf.begin()->second.size(),
                            "as many for each group");
    }
    return 0;
}
