#include "formats/ddr.h"

namespace zarn {

const std::map<std::string, std::string> mpamNameMap = {
    {"0", "cpu"},        {"1", "imgp_venc"}, {"2", "imgp_vdec"}, {"3", "imgp_vpc"},
    {"5", "aic_dat"},    {"6", "aic_ins"},   {"7", "sdma"},      {"8", "isp_vicap"},
    {"9", "isp_viproc"}, {"10", "isp_vipe"}, {"total", "total"},
};

const std::vector<std::string> ddrNameList = {"total",     "cpu",        "imgp_venc", "imgp_vdec",
                                              "imgp_vpc",  "aic_dat",    "aic_ins",   "sdma",
                                              "isp_vicap", "isp_viproc", "isp_vipe"};

}  // namespace zarn
