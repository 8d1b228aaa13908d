#include "benchmarks/support/ddr_generator.h"

#include <algorithm>
#include <string_view>

#include "benchmarks/support/generator.h"
#include "foundation/time.h"

namespace zarn::bench {
namespace {

constexpr std::string_view kMasters[] = {"cpu",        "imgp_venc", "imgp_vdec", "imgp_vpc",
                                         "aic_dat",    "aic_ins",   "sdma",      "isp_vicap",
                                         "isp_viproc", "isp_vipe"};
constexpr std::uint64_t kFirstSecond = 1704110400000;  // milliseconds since the epoch
constexpr double kPeak = 52224.0;                      // MB/s

void StartLine(std::string_view object, const std::string& time, std::string& text) {
    text.append(R"({"objectId":")").append(object);
    text.append(R"(","eventId":"962200001","happenTime":")").append(time);
    text.append(R"(","content":[{)");
}

void AddMember(std::string_view name, const std::string& value, std::string& text) {
    if (text.back() != '{') {
        text.push_back(',');
    }
    text.append("\"").append(name).append("\":\"").append(value).append("\"");
}

std::string Share(double bandwidth) {
    return std::to_string(std::min(bandwidth / kPeak * 100.0, 100.0));
}

}  // namespace

std::string DdrGenerator::BandwidthDocuments(std::size_t samples) const {
    Generator random(seed_);
    std::string text;
    for (std::size_t sample = 0; sample < samples; ++sample) {
        std::string time;
        (void)TimestampToString(kFirstSecond + sample * 1000, time);
        StartLine("soc_ddr_bandwidth_usage_info", time, text);
        double total = 0.0;
        std::size_t index = 0;
        for (const std::string_view master : kMasters) {
            const std::int64_t base = 1000 + 400 * static_cast<std::int64_t>(index++);
            const std::int64_t phase = sample / 40 % 2 == index % 2 ? base / 2 : 0;
            const std::int64_t burst = random.Chance(3) ? 2 * base : 0;
            const auto bandwidth =
                static_cast<double>(base + phase + burst + random.Between(-base / 8, base / 8));
            total += bandwidth;
            AddMember(master, Share(bandwidth), text);
        }
        AddMember("total", Share(total), text);
        text.append("}]}\n");
    }
    return text;
}

std::string DdrGenerator::QosDocuments() const {
    std::string text;
    std::uint32_t id = 0;
    for (const std::string_view master : kMasters) {
        StartLine("soc_qos_mata_config_info", "20240101120000000", text);
        AddMember("mpam_name", std::string(master), text);
        AddMember("mpamid", std::to_string(id++), text);
        for (const char* key : {"bw_low", "bw_high", "hardlimit", "master", "priority"}) {
            AddMember(key, "2", text);
        }
        text.append("}]}\n");
    }
    return text;
}

}  // namespace zarn::bench
