#include "optimizer/options/optimizer_settings.h"

namespace zarn {

// clang-format off
const std::vector<QosConfig> optimizerQosConfigs = {
    // name, mpamid, bw_low, bw_high, hardlimit, master, priority
    {"cpu",        0,  0, 51, 1, 0,  5},
    {"aic_dat",    5,  0, 51, 1, 9,  5},
    {"aic_ins",    6,  0, 51, 1, 10, 5},
    {"imgp_venc",  1,  0, 51, 1, 0,  5},
    {"imgp_vdec",  2,  0, 51, 1, 1,  5},
    {"imgp_vpc",   3,  0, 51, 1, 2,  5},
    {"isp_vicap",  8,  0, 51, 1, 15, 5},
    {"isp_viproc", 9,  0, 51, 1, 16, 5},
    {"isp_vipe",   10, 0, 51, 1, 17, 5},
    {"sdma",       7,  0, 51, 1, 13, 5},
};

const std::map<std::string, std::uint32_t> mpamIdMap = {
    {"cpu", 0},      {"aic_dat", 5},   {"aic_ins", 6},    {"imgp_venc", 1}, {"imgp_vdec", 2},
    {"imgp_vpc", 3}, {"isp_vicap", 8}, {"isp_viproc", 9}, {"isp_vipe", 10}, {"sdma", 7},
};
// clang-format on

}  // namespace zarn
