#include "formats/mem.h"

#include <gtest/gtest.h>

namespace zarn {
namespace {

TEST(MemFiles, AProcessHasItsOwnSmapsLog) {
    EXPECT_EQ(mem_files::SmapsLogPath("/run/", "417", "20230101120000000"),
              "/run/raw_data/mem/soc_gea_process_smaps_417_1_20230101120000000.log");
}

TEST(MemFiles, ADocumentBearsTheNameOfItsTable) {
    EXPECT_EQ(mem_files::ObjectId(mem_files::kSystemSamples), "soc_gea_memory_info");
    EXPECT_EQ(mem_files::ObjectId(mem_files::kProcessSamples), "soc_gea_process_mem_rawdata_info");
    EXPECT_EQ(mem_files::ObjectId(mem_files::kProcessAnalysis), "soc_gea_process_ana");
}

TEST(MemTables, ASizeLosesItsUnitOnce) {
    EXPECT_EQ(WithoutMemUnit("8K"), "8");
    EXPECT_EQ(WithoutMemUnit("8KK"), "8K");
    EXPECT_EQ(WithoutMemUnit("8"), "8");
    EXPECT_EQ(WithoutMemUnit("8k"), "8k");
    EXPECT_EQ(WithoutMemUnit(""), "");
}

TEST(MemTables, TheColumnsOfFreeComeBeforeTheCounters) {
    EXPECT_STREQ(kMemSystemColumns.at(kMemFreeColumnCount - 1), "avail");
    EXPECT_STREQ(kMemSystemColumns.at(kMemFreeColumnCount), "pss");
}

}  // namespace
}  // namespace zarn
