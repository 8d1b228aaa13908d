#include "analyzers/ddr/ddr_info_reader.h"

#include <string>

#include "formats/ddr.h"
#include "foundation/console.h"
#include "foundation/numbers.h"
#include "kit/event_reader.h"

namespace zarn {
namespace {

constexpr const char* kHappenTime = "happenTime";

constexpr EventLineWords kQosLineWords = {
    "[DdrAnalyzer] Exception occurs while parsing qos json file.",
    "[DdrAnalyzer] Warning! Qos config file lacks of required field [content].",
    "[DdrAnalyzer] Warning! Wrong type of [content] in Qos config file."};

constexpr MemberWords kQosMemberWords = {
    "[DdrAnalyzer] Warning! Qos config file lacks of required field [mpam_name], [bw_low] or "
    "[bw_high] .",
    "[DdrAnalyzer] Warning! Wrong type of [mpam_name], [bw_low] or [bw_high]."};

// The last line is that of the other file, as designed.
constexpr EventLineWords kBandwidthLineWords = {
    "[DdrAnalyzer] Exception occurs while parsing ddr json file.",
    "[DdrAnalyzer] Warning! Ddr collect file lacks of required field [content].",
    "[DdrAnalyzer] Warning! Wrong type of [content] in Qos config file."};

// The share of the name finder.Names()[index].
bool ReadShare(const MemberFinder& finder, std::size_t index, double& share) {
    const std::string& name = finder.Names()[index];
    const EventMember* value = finder.Find(index);
    if (value == nullptr) {
        return PrintFailure("[DdrAnalyzer] Warning! Ddr collect file lacks of required field [" +
                            name + "].");
    }
    if (!value->isText) {
        return PrintFailure("[DdrAnalyzer] Warning! Wrong type of [" + name + "].");
    }
    return TextToDouble(value->text, share) ||
           PrintFailure("[DdrAnalyzer] Failed to read the ddr info!");
}

}  // namespace

bool ReadQosSettings(const NextLine& next, DdrInfoMap& infos) {
    MemberFinder finder({"mpam_name", "bw_low", "bw_high"});
    std::vector<std::string_view> texts;
    return ReadEventLines(next, kQosLineWords, {},
                          [&](const EventObject& /*event*/, const EventObject& element) {
                              if (!TakeTexts(finder, element, kQosMemberWords, texts)) {
                                  return false;
                              }
                              DdrMasterInfo& info = infos[std::string(texts[0])];
                              if (!StringToUint32(std::string(texts[1]), info.bwLow)) {
                                  return PrintFailure("[DdrAnalyzer] Failed to read bw_low value!");
                              }
                              return StringToUint32(std::string(texts[2]), info.bwHigh) ||
                                     PrintFailure("[DdrAnalyzer] Failed to read bw_high value!");
                          });
}

bool ReadBandwidthShares(const NextLine& next, DdrInfoMap& infos) {
    MemberFinder finder(ddrNameList);
    std::vector<DdrMasterInfo*> entries;
    entries.reserve(ddrNameList.size());
    for (const std::string& name : ddrNameList) {
        entries.push_back(&infos[name]);
    }
    return ReadEventLines(next, kBandwidthLineWords, {kHappenTime},
                          [&](const EventObject& event, const EventObject& element) {
                              finder.Enter(element);
                              const std::string_view time = event.Find(kHappenTime)->text;
                              for (std::size_t i = 0; i < entries.size(); ++i) {
                                  double share = 0.0;
                                  if (!ReadShare(finder, i, share)) {
                                      return false;
                                  }
                                  entries[i]->name = ddrNameList[i];
                                  entries[i]->values.push_back(share);
                                  entries[i]->timeStamps.emplace_back(time);
                              }
                              return true;
                          });
}

}  // namespace zarn
