#include "collectors/system/ddr/ddr_documents.h"

#include "formats/ddr.h"

namespace zarn {
namespace {

constexpr const char* kEventId = "962200001";
constexpr const char* kBandwidthObject = "soc_ddr_bandwidth_usage_info";
constexpr const char* kQosObject = "soc_qos_mata_config_info";

constexpr double kFullShare = 100.0;
constexpr double kShareTolerance = 100.000001;  // up to here a share is taken for rounding

void BeginDocument(const char* objectId, const std::string& happenTime, EventWriter& events) {
    events.Begin();
    events.Text("objectId", objectId);
    events.Text("eventId", kEventId);
    events.Text("happenTime", happenTime);
    // The content of these documents is an array with one object.
    events.Key("content");
    events.BeginArray();
    events.BeginObject();
}

void EndDocument(EventWriter& events) {
    events.EndObject();
    events.EndArray();
    events.End();
}

}  // namespace

double DdrShare(const std::string& bandwidth) {
    const double share = std::stod(bandwidth) / kDdrPeakMb * kFullShare;
    return share > kShareTolerance ? kFullShare : share;
}

void WriteBandwidthDocument(const std::vector<BandwidthRow>& rows, std::size_t first,
                            std::size_t size, const std::string& happenTime, EventWriter& events) {
    BeginDocument(kBandwidthObject, happenTime, events);
    for (std::size_t i = first; i < first + size; ++i) {
        const double share = DdrShare(rows[i].value);
        events.Fixed(mpamNameMap.at(rows[i].id), share);
    }
    EndDocument(events);
}

void WriteQosDocument(const QosConfig& config, const std::string& happenTime, EventWriter& events) {
    BeginDocument(kQosObject, happenTime, events);
    events.Text("mpam_name", config.mpam_name);
    events.Text("mpamid", std::to_string(config.mpamid));
    events.Text("bw_low", std::to_string(config.bw_low));
    events.Text("bw_high", std::to_string(config.bw_high));
    events.Text("hardlimit", std::to_string(config.hardlimit));
    events.Text("master", std::to_string(config.master));
    events.Text("priority", std::to_string(config.priority));
    EndDocument(events);
}

}  // namespace zarn
