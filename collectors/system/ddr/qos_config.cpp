#include "collectors/system/ddr/qos_config.h"

namespace zarn {

const std::vector<QosConfig> defaultQosConfigs = {
    // name, mpamid, bw_low, bw_high, hardlimit, master, priority
    {"cpu", 0, 0, 51, 1, kNoMaster, 5}, {"imgp_venc", 1, 0, 51, 1, 0, 5},
    {"imgp_vdec", 2, 0, 51, 1, 1, 5},   {"imgp_vpc", 3, 0, 51, 1, 2, 5},
    {"aic_dat", 5, 0, 51, 1, 9, 5},     {"aic_ins", 6, 0, 51, 1, 10, 5},
    {"sdma", 7, 0, 51, 1, 13, 5},       {"isp_vicap", 8, 0, 51, 1, 15, 5},
    {"isp_viproc", 9, 0, 51, 1, 16, 5}, {"isp_vipe", 10, 0, 51, 1, 17, 5},
};

const std::vector<std::uint32_t> mbwuMpamIds = {0, 1, 2, 3, 5, 6, 7, 8, 9, 10};

}  // namespace zarn
