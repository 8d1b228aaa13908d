#include "comparators/ddr/ddr_version_reader.h"

#include <array>
#include <string>

#include "formats/ddr.h"
#include "foundation/console.h"
#include "foundation/numbers.h"
#include "foundation/statistics.h"
#include "kit/event_reader.h"

namespace zarn {
namespace {

constexpr double kPercent = 100.0;

constexpr EventTextWords kQosWords = {
    {"[DdrComparator] Exception occurs while parsing qos json file.",
     "[DdrComparator] Warning! Qos config file lacks of required field [content].",
     "[DdrComparator] Warning! Wrong type of [content] in Qos config file."},
    {"[DdrComparator] Warning! Qos config file lacks of required field [mpam_name], [bw_low] or "
     "[bw_high] .",
     "[DdrComparator] Warning! Wrong type of [mpam_name], [bw_low] or [bw_high]."}};

constexpr EventTextWords kAnalysisWords = {
    {"[DdrComparator] Exception occurs while parsing ddr_ana_info file.",
     "[DdrComparator] Warning! DDR analyze file lacks of required field [content].",
     "[DdrComparator] Warning! Wrong type of [content] in DDR analyze file."},
    {"[DdrComparator] Warning! DDR analyze file lacks of required field [mpam_name], [meanBw], "
     "[maxBw], [minBw] or [over].",
     "[DdrComparator] Warning! Wrong type of  [mpam_name], [meanBw], [maxBw], [minBw] or [over]  "
     "in DDR analyze file. "}};

constexpr EventNumberWords kShareWords = {
    {"[DdrComparator] Exception occurs while parsing ddr collect file.",
     "[DdrComparator] Warning! DDR collection file lacks of required field [content].",
     "[DdrComparator] Warning! Wrong type of [content] in DDR collection file."},
    [](const std::string& name) {
        return "[DdrComparator] Warning! DDR collection file lacks of required field [" + name +
               "].";
    },
    [](const std::string& name) {
        return "[DdrComparator] Warning! Wrong type of [" + name + "] in DDR collection file..";
    },
    [](const std::string& name) {
        return "[DdrComparator] Failed to read the ddr info of " + name;
    }};

constexpr const char* kBadFigures[] = {"[DdrComparator] Warning! Failed to read meanBw value!",
                                       "[DdrComparator] Warning! Failed to read maxBw value!",
                                       "[DdrComparator] Warning! Failed to read minBw value!",
                                       "[DdrComparator] Warning! Failed to read over value!"};

bool ReadBound(std::string_view text, const char* words, std::uint32_t& bound) {
    return StringToUint32(std::string(text), bound) || PrintFailure(words);
}

}  // namespace

bool ReadVersionLimits(const NextLine& next, DdrVersionInfo& info) {
    const auto take = [&info](const std::vector<std::string_view>& texts) {
        DdrBwLimits& limits = info.bwLimits[std::string(texts[0])];
        return ReadBound(texts[1], "[DdrComparator] Warning! Failed to read bw_low value!",
                         limits.bwLow) &&
               ReadBound(texts[2], "[DdrComparator] Warning! Failed to read bw_high value!",
                         limits.bwHigh);
    };
    return ReadEventTexts(next, kQosWords, {"mpam_name", "bw_low", "bw_high"}, take);
}

bool ReadVersionAnalysis(const NextLine& next, DdrVersionInfo& info) {
    const auto take = [&info](const std::vector<std::string_view>& texts) {
        DdrBwUsage& usage = info.bwUsage[std::string(texts[0])];
        const std::array<double*, 4> figures = {&usage.mean, &usage.max, &usage.min, &usage.over};
        for (std::size_t i = 0; i < figures.size(); ++i) {
            if (!TextToDouble(texts[i + 1], *figures.at(i))) {
                return PrintFailure(kBadFigures[i]);
            }
        }
        return true;
    };
    return ReadEventTexts(next, kAnalysisWords, {"mpam_name", "meanBw", "maxBw", "minBw", "over"},
                          take);
}

bool ReadVersionShares(const NextLine& next, std::vector<std::vector<double>>& values) {
    values.resize(ddrCompNameList.size());
    const auto take = [&values](std::string_view /*time*/, const std::vector<double>& shares) {
        for (std::size_t i = 0; i < shares.size(); ++i) {
            values[i].push_back(shares[i]);
        }
    };
    return ReadEventNumbers(next, kShareWords, {}, ddrCompNameList, take);
}

DdrBwUsage ComputeUsage(const std::vector<double>& shares, std::uint32_t bwHigh) {
    DdrBwUsage usage;
    GetMaxMinAverage(shares, usage.max, usage.min, usage.mean);
    if (bwHigh != 0) {
        const auto mean = static_cast<float>(usage.mean * kDdrPeakGb / kPercent);
        const auto high = static_cast<float>(bwHigh);
        if (mean > high) {
            const float over = (mean - high) / high * static_cast<float>(kPercent);
            usage.over = static_cast<double>(over);
        }
    }
    return usage;
}

}  // namespace zarn
