#include "formats/ddr.h"

#include <gmock/gmock.h>

namespace zarn {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAreArray;

TEST(DdrTables, TheListHasTheTotalFirstAndTheMastersInTheirOrder) {
    EXPECT_THAT(ddrNameList,
                ElementsAre("total", "cpu", "imgp_venc", "imgp_vdec", "imgp_vpc", "aic_dat",
                            "aic_ins", "sdma", "isp_vicap", "isp_viproc", "isp_vipe"));
}

TEST(DdrTables, TheMapNamesTheSameMasters) {
    std::vector<std::string> names;
    for (const auto& [id, name] : mpamNameMap) {
        names.push_back(name);
    }
    EXPECT_THAT(names, UnorderedElementsAreArray(ddrNameList));
    EXPECT_EQ(mpamNameMap.at("10"), "isp_vipe");
    EXPECT_EQ(mpamNameMap.at(kDdrTotal), kDdrTotal);
}

}  // namespace
}  // namespace zarn
