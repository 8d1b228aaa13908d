#include "collectors/system/ddr/ddr_documents.h"

#include "formats/ddr.h"

namespace zarn {
namespace {

constexpr const char* kEventId = "962200001";
constexpr const char* kBandwidthObject = "soc_ddr_bandwidth_usage_info";
constexpr const char* kQosObject = "soc_qos_mata_config_info";

constexpr double kFullShare = 100.0;
constexpr double kShareTolerance = 100.000001;  // up to here a share is taken for rounding

void StartDocument(const char* objectId, const std::string& happenTime, JsonDocument& document) {
    document.SetObject();
    JsonAllocator& allocator = document.GetAllocator();
    document.AddMember("objectId", JsonValue(rapidjson::StringRef(objectId)), allocator);
    document.AddMember("eventId", JsonValue(rapidjson::StringRef(kEventId)), allocator);
    document.AddMember("happenTime", JsonValue(happenTime, allocator), allocator);
}

void AddText(const std::string& key, const std::string& text, JsonValue& object,
             JsonAllocator& allocator) {
    object.AddMember(JsonValue(key, allocator), JsonValue(text, allocator), allocator);
}

// The content of these documents is an array with one object.
void AddContent(JsonValue& object, JsonDocument& document) {
    JsonAllocator& allocator = document.GetAllocator();
    JsonValue content(rapidjson::kArrayType);
    content.PushBack(object, allocator);
    document.AddMember("content", content, allocator);
}

}  // namespace

double DdrShare(const std::string& bandwidth) {
    const double share = std::stod(bandwidth) / kDdrPeakMb * kFullShare;
    return share > kShareTolerance ? kFullShare : share;
}

void MakeBandwidthDocument(const std::vector<BandwidthRow>& rows, std::size_t first,
                           std::size_t size, const std::string& happenTime,
                           JsonDocument& document) {
    StartDocument(kBandwidthObject, happenTime, document);
    JsonValue shares(rapidjson::kObjectType);
    for (std::size_t i = first; i < first + size; ++i) {
        const std::string share = std::to_string(DdrShare(rows[i].value));
        AddText(mpamNameMap.at(rows[i].id), share, shares, document.GetAllocator());
    }
    AddContent(shares, document);
}

void MakeQosDocument(const QosConfig& config, const std::string& happenTime,
                     JsonDocument& document) {
    StartDocument(kQosObject, happenTime, document);
    JsonAllocator& allocator = document.GetAllocator();
    JsonValue setting(rapidjson::kObjectType);
    AddText("mpam_name", config.mpam_name, setting, allocator);
    AddText("mpamid", std::to_string(config.mpamid), setting, allocator);
    AddText("bw_low", std::to_string(config.bw_low), setting, allocator);
    AddText("bw_high", std::to_string(config.bw_high), setting, allocator);
    AddText("hardlimit", std::to_string(config.hardlimit), setting, allocator);
    AddText("master", std::to_string(config.master), setting, allocator);
    AddText("priority", std::to_string(config.priority), setting, allocator);
    AddContent(setting, document);
}

}  // namespace zarn
