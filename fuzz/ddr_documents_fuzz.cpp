#include "analyzers/ddr_info_reader.h"
#include "comparators/ddr_version_reader.h"
#include "fuzz/fuzz_input.h"

// The DDR analyzer's and comparator's readers of documents: whatever the lines hold, the lists fit
// together.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = zarn::fuzz::AsText(data, size);
    zarn::DdrInfoMap infos;
    (void)zarn::ReadQosSettings(text, infos);
    (void)zarn::ReadBandwidthShares(text, infos);
    for (const auto& [name, info] : infos) {
        zarn::fuzz::Require(info.values.size() == info.timeStamps.size(), "a moment per value");
    }
    zarn::DdrVersionInfo version;
    (void)zarn::ReadVersionLimits(text, version);
    (void)zarn::ReadVersionAnalysis(text, version);
    std::vector<std::vector<double>> values(zarn::ddrCompNameList.size());
    (void)zarn::ReadVersionShares(text, values);
    for (const auto& shares : values) {
        zarn::fuzz::Require(shares.size() <= values.front().size(),
                            "no name has more than the first");
    }
    return 0;
}
