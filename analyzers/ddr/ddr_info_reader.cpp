#include "analyzers/ddr/ddr_info_reader.h"

#include <string>

#include "formats/ddr.h"
#include "foundation/console.h"
#include "foundation/numbers.h"

namespace zarn {
namespace {

constexpr EventTextWords kQosWords = {
    {"[DdrAnalyzer] Exception occurs while parsing qos json file.",
     "[DdrAnalyzer] Warning! Qos config file lacks of required field [content].",
     "[DdrAnalyzer] Warning! Wrong type of [content] in Qos config file."},
    {"[DdrAnalyzer] Warning! Qos config file lacks of required field [mpam_name], [bw_low] or "
     "[bw_high] .",
     "[DdrAnalyzer] Warning! Wrong type of [mpam_name], [bw_low] or [bw_high]."}};

// The last of the lines' words is that of the other file, as designed.
constexpr EventNumberWords kBandwidthWords = {
    {"[DdrAnalyzer] Exception occurs while parsing ddr json file.",
     "[DdrAnalyzer] Warning! Ddr collect file lacks of required field [content].",
     "[DdrAnalyzer] Warning! Wrong type of [content] in Qos config file."},
    [](const std::string& name) {
        return "[DdrAnalyzer] Warning! Ddr collect file lacks of required field [" + name + "].";
    },
    [](const std::string& name) { return "[DdrAnalyzer] Warning! Wrong type of [" + name + "]."; },
    [](const std::string& /*name*/) -> std::string {
        return "[DdrAnalyzer] Failed to read the ddr info!";
    }};

}  // namespace

bool ReadQosSettings(const NextLine& next, DdrInfoMap& infos) {
    const auto take = [&infos](const std::vector<std::string_view>& texts) {
        DdrMasterInfo& info = infos[std::string(texts[0])];
        if (!StringToUint32(std::string(texts[1]), info.bwLow)) {
            return PrintFailure("[DdrAnalyzer] Failed to read bw_low value!");
        }
        return StringToUint32(std::string(texts[2]), info.bwHigh) ||
               PrintFailure("[DdrAnalyzer] Failed to read bw_high value!");
    };
    return ReadEventTexts(next, kQosWords, {"mpam_name", "bw_low", "bw_high"}, take);
}

bool ReadBandwidthShares(const NextLine& next, DdrInfoMap& infos) {
    std::vector<DdrMasterInfo*> entries;
    entries.reserve(ddrNameList.size());
    for (const std::string& name : ddrNameList) {
        entries.push_back(&infos[name]);
    }
    const auto take = [&entries](std::string_view time, const std::vector<double>& shares) {
        for (std::size_t i = 0; i < shares.size(); ++i) {
            entries[i]->name = ddrNameList[i];
            entries[i]->values.push_back(shares[i]);
            entries[i]->timeStamps.emplace_back(time);
        }
    };
    return ReadEventNumbers(next, kBandwidthWords, {"happenTime"}, ddrNameList, take);
}

}  // namespace zarn
