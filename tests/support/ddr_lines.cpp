#include "tests/support/ddr_lines.h"

namespace zarn::test {

const std::vector<std::string> kDdrNames = {"cpu",        "imgp_venc", "imgp_vdec", "imgp_vpc",
                                            "aic_dat",    "aic_ins",   "sdma",      "isp_vicap",
                                            "isp_viproc", "isp_vipe",  "total"};

std::string BandwidthLine(const std::string& time, const std::string& shareOfAll,
                          const std::string& name, const std::string& share) {
    std::string line =
        R"({"objectId":"soc_ddr_bandwidth_usage_info","eventId":"962200001","happenTime":")" +
        time + R"(","content":[{)";
    for (const std::string& each : kDdrNames) {
        line.append(line.back() == '{' ? "\"" : ",\"").append(each).append("\":\"");
        line.append(each == name ? share : shareOfAll).append("\"");
    }
    return line + "}]}\n";
}

std::string BandwidthLines(const std::string& name, const std::vector<double>& shares) {
    std::string lines;
    int second = 0;
    for (const double share : shares) {
        // 12:00:00 and so many seconds; a leading 1 keeps the zeros
        const std::string minutes = std::to_string(100 + second / 60);
        const std::string seconds = std::to_string(100 + second % 60);
        std::string moment = "2023010112";
        moment.append(minutes, 1).append(seconds, 1).append("000");
        lines += BandwidthLine(moment, "0.000000", name, std::to_string(share));
        ++second;
    }
    return lines;
}

std::string QosLine(const std::string& name, const std::string& bwLow, const std::string& bwHigh) {
    return R"({"objectId":"soc_qos_mata_config_info","eventId":"962200001",)"
           R"("happenTime":"20230101120000000","content":[{"mpam_name":")" +
           name + R"(","mpamid":"0","bw_low":")" + bwLow + R"(","bw_high":")" + bwHigh +
           R"(","hardlimit":"1","master":"0","priority":"5"}]})" + "\n";
}

std::string QosLines(const std::string& bwLow, const std::string& bwHigh) {
    std::string lines;
    for (const std::string& name : kDdrNames) {
        lines += name == "total" ? "" : QosLine(name, bwLow, bwHigh);
    }
    return lines;
}

std::string NestedArrays(std::size_t depth) {
    return std::string(depth, '[') + std::string(depth, ']');
}

}  // namespace zarn::test
