#include <gtest/gtest.h>

#include <string>

#include "formats/correlation.h"
#include "formats/cpu.h"
#include "formats/ddr.h"
#include "formats/mem.h"

// Where users and their scripts find the files of a run.
namespace zarn {
namespace {

struct FileName {
    const NumberedFile& kind;
    const char* name;  // below the run directory, for the time 7
};

const FileName kFileNames[] = {
    {cpu_files::kUsageLog, "raw_data/cpu/soc_gea_cpu_usage_info_1_7.log"},
    {cpu_files::kGlobalLog, "raw_data/cpu/cpu_global_1_7.log"},
    {cpu_files::kCoresLog, "raw_data/cpu/cpu_cores_1_7.log"},
    {cpu_files::kSelectedLog, "raw_data/cpu/cpu_selected_processes_1_7.log"},
    {cpu_files::kThreadLog, "raw_data/cpu/cpu_thread_1_7.log"},
    {cpu_files::kUsageDocuments, "json/soc_gea_cpu_usage_info_7.data"},
    {cpu_files::kGlobalAnalysis, "json/soc_cpu_ana_global_7.data"},
    {cpu_files::kAllProcesses, "json/soc_cpu_ana_all_procs_usage_info_7.data"},
    {cpu_files::kSelectedAnalysis, "json/soc_cpu_ana_selected_process_7.data"},
    {cpu_files::kCoreAnalysis, "json/soc_cpu_ana_core_7.data"},
    {cpu_files::kGlobalTable, "raw_data/cpu/cpu_ana_global_rawdata_7.csv"},
    {cpu_files::kSelectedTable, "raw_data/cpu/soc_cpu_ana_selected_process_rawdata_7.csv"},
    {cpu_files::kCoreTable, "raw_data/cpu//soc_cpu_ana_core_rawdata_7.csv"},
    {cpu_files::kLoadingTable, "raw_data/cpu/soc_cpu_ana_loading_rawdata_7.csv"},
    {ddr_files::kBandwidthLog, "raw_data/ddr/soc_ddr_bandwidth_usage_info_1_7.log"},
    {ddr_files::kBandwidth, "json/soc_ddr_bandwidth_usage_info_1_7.data"},
    {ddr_files::kQosSettings, "json/soc_qos_mata_config_info_7.data"},
    {ddr_files::kAnalysis, "json/soc_ddr_ana_info_1_7.data"},
    {ddr_files::kAnalysisTable, "raw_data/ddr/soc_ddr_ana_info_1_7.csv"},
    {ddr_files::kOptimizerLog, "raw_data/ddr/soc_ddr_opt_info_1_7.log"},
    {ddr_files::kStressLog, "raw_data/ddr/soc_ddr_stress_info_1_7.log"},
    {correlation_files::kTable, "csv/correlation/soc_correlation_ana_info_7.csv"},
    {mem_files::kCounterLog, "raw_data/mem/soc_gea_meminfo_info_1_7.log"},
    {mem_files::kSystemLog, "raw_data/mem/soc_gea_memory_info_1_7.log"},
    {mem_files::kSharePoolLog, "raw_data/mem/soc_gea_sharepool_mem_info_1_7.log"},
    {mem_files::kProcessLog, "raw_data/mem/soc_gea_process_info_1_7.log"},
    {mem_files::kSystemSamples, "json/soc_gea_memory_info_1_7.data"},
    {mem_files::kProcessSamples, "json/soc_gea_process_mem_rawdata_info_1_7.data"},
    {mem_files::kProcessInfo, "json/soc_gea_process_info_1_7.data"},
    {mem_files::kProcessStaticInfo, "json/soc_gea_process_static_info_1_7.data"},
    {mem_files::kRawProcessSamples, "raw_data/mem/soc_gea_process_mem_rawdata_info_1_7.data"},
    {mem_files::kSystemAnalysis, "json/soc_gea_memory_ana_1_7.data"},
    {mem_files::kProcessAnalysis, "json/soc_gea_process_ana_1_7.data"},
};

TEST(FileNames, OfAllKindsAreThoseThatUsersKnow) {
    for (const FileName& file : kFileNames) {
        EXPECT_EQ(file.kind.Path("/run/", "7"), std::string("/run/") + file.name);
    }
}

}  // namespace
}  // namespace zarn
