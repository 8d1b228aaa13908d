#include "comparators/ddr/ddr_version_info.h"

namespace zarn {

const std::vector<std::string> ddrCompNameList = {
    "total",   "cpu",  "imgp_venc", "imgp_vdec",  "imgp_vpc", "aic_dat",
    "aic_ins", "sdma", "isp_vicap", "isp_viproc", "isp_vipe"};

}  // namespace zarn
