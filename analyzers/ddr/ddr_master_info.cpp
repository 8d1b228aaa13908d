#include "analyzers/ddr/ddr_master_info.h"

namespace zarn {

const std::vector<std::string> ddrNameList = {"total",     "cpu",        "imgp_venc", "imgp_vdec",
                                              "imgp_vpc",  "aic_dat",    "aic_ins",   "sdma",
                                              "isp_vicap", "isp_viproc", "isp_vipe"};

DdrInfoMap ddrInfoMap;

}  // namespace zarn
