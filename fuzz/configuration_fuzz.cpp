#include <array>

#include "analyzers/cpu/cpu_settings.h"
#include "collectors/system/ddr/ddr_settings.h"
#include "comparators/cpu/cpu_comparison_settings.h"
#include "foundation/json.h"
#include "fuzz/fuzz_input.h"
#include "optimizer/options/optimizer_options.h"

namespace {

// A root or a section that is no object ends the process, which is meant.
bool SectionsAreObjects(const zarn::JsonDocument& config) {
    constexpr std::array<const char*, 4> kSections{"CpuAnalyzer", "CpuComparator", "DdrCollector",
                                                   "DdrOptimizer"};
    if (!config.IsObject()) {
        return false;
    }
    for (const char* section : kSections) {
        const auto member = config.FindMember(section);
        if (member != config.MemberEnd() && !member->value.IsObject()) {
            return false;
        }
    }
    return true;
}

}  // namespace

// Any configuration is accepted or refused by the missions that check every type they read.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    zarn::JsonDocument config;
    if (!zarn::ParseJson(zarn::fuzz::AsText(data, size), config) || !SectionsAreObjects(config)) {
        return 0;
    }
    zarn::CpuAnalyzerSettings analyzer;
    if (zarn::ParseCpuAnalyzerSettings(
            config, [] { return 4L; }, analyzer)) {
        zarn::fuzz::Require(analyzer.peakRatio > 1.0 && analyzer.peakRatio < 2.0,
                            "a peak lies above the mean");
    }
    zarn::DdrSettings ddr;
    if (zarn::ReadDdrSettings(config, ddr)) {
        zarn::fuzz::Require(ddr.count >= 1 && ddr.count <= zarn::DdrSettings::kMaxCount,
                            "count within its limits");
    }
    zarn::CpuComparisonSettings comparison;
    (void)zarn::ReadCpuComparisonSettings(config, comparison);
    zarn::OptimizerSettings optimizer;
    (void)zarn::ReadOptimizerOptions(config, optimizer);
    return 0;
}
