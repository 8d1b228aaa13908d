#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "foundation/files.h"
#include "foundation/json.h"
#include "fuzz/fuzz_input.h"
#include "report/compose.h"

namespace {

namespace fs = std::filesystem;
using zarn::JsonValue;
using zarn::fuzz::Require;

// A file of each kind that a report reads. An input is one small tree: a line "@<number>" begins
// the file of that number, and what follows up to the next such line is its text.
const std::vector<const char*> kNames = {
    "env_info/zarn_config.json",
    "env_info/time_cost.log",
    "env_info/qvt_version",
    "json/zarn_collector_start_end_timestamp.data",
    "json/soc_cpu_ana_global_1.data",
    "json/soc_cpu_ana_core_1.data",
    "json/soc_cpu_ana_selected_process_1.data",
    "raw_data/cpu/cpu_global_1_1.log",
    "raw_data/cpu/soc_cpu_ana_loading_rawdata_1.csv",
    "raw_data/cpu/soc_cpu_ana_core_rawdata_1.csv",
    "raw_data/cpu/cpu_ana_global_rawdata_1.csv",
    "raw_data/cpu/soc_cpu_ana_selected_process_rawdata_1.csv",
    "json/soc_ddr_ana_info_1_1.data",
    "json/soc_ddr_bandwidth_usage_info_1_1.data",
    "json/soc_qos_mata_config_info_1.data",
    "raw_data/ddr/soc_ddr_opt_info_1_1.log",
    "json/soc_gea_memory_info_1_1.data",
    "json/soc_gea_process_mem_rawdata_info_1_1.data",
    "json/soc_gea_memory_ana_1_1.data",
    "json/soc_gea_process_ana_1_1.data",
    "json/soc_schedAna_global_latency_ana_1_1.data",
    "json/soc_sched_global_latency_info_1_1.data",
    "raw_data/sched/sched_global_timehist_1_20260101000000000.log",
    "csv/soc_sched_thread_info.csv",
    "json/soc_topdown_global_info_1_1.data",
    "json/soc_hot_function_process_info_1_1.data",
    "json/soc_hot_function_function_set_info_1_1.data",
    "raw_data/hotFun/hotfun_global_1.script",
    "json/soc_sys_call_info_1_1.data",
    "json/soc_cpu_bench_info_1.data",
    "raw_data/lib/lib_process_a_7_1.txt",
    "raw_data/massif/massif_a_1.log",
    "json/soc_ai_resource_usage_info_1_1.data",
    "json/soc_aicpu_info_1_1.data",
    "json/soc_aicpu_ana_1_soc_1.data",
    "json/soc_aicpu_ana_1_a_1.data",
    "json/soc_imgp_utilization_info_1.data",
    "csv/soc_imgp_global_profiling_1.csv",
    "json/soc_mbuffer_stat_info_1.data",
    "csv/cpu/cpu_comparator_result.csv",
    "csv/mem/mem_process_info.csv",
    "csv/hotFun/hotfun_global_info.csv",
    "raw_data/cpu_peak/cpu_peak_collect_CPU_1,3_20260101000000000.unfold",
};

// The tree's place, the same for all inputs of a process, and gone at its end.
class Folder {
public:
    Folder() : path_(fs::temp_directory_path().string() + "/report_fuzz.XXXXXX") {
        Require(::mkdtemp(path_.data()) != nullptr, "a folder can be made");
        path_ += "/";
        for (const char* name : kNames) {
            fs::create_directories(fs::path(path_ + name).parent_path());
        }
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() { fs::remove_all(path_); }

    [[nodiscard]] const std::string& Path() const { return path_; }

private:
    std::string path_;
};

const std::string& Root() {
    static const Folder folder;
    return folder.Path();
}

// Writes the files of an input; those before are gone.
void WriteTree(std::string_view input) {
    for (const char* name : kNames) {
        (void)::unlink((Root() + name).c_str());
    }
    std::string path = Root() + kNames[0];
    std::string text;
    zarn::LineCursor lines(input);
    for (std::string_view line; lines.Next(line);) {
        if (!line.empty() && line.front() == '@') {
            const std::size_t number =
                std::strtoul(std::string(line.substr(1)).c_str(), nullptr, 10);
            Require(zarn::WriteFile(path, text) == zarn::FileResult::Ok, "a file can be written");
            path = Root() + kNames[number % kNames.size()];
            text.clear();
        } else {
            text.append(line).append("\n");
        }
    }
    Require(zarn::WriteFile(path, text) == zarn::FileResult::Ok, "a file can be written");
}

// The moments are the first one, and the microseconds from each to the next.
void CheckMoments(const JsonValue& line) {
    const JsonValue& moments = line["t"];
    for (rapidjson::SizeType i = 1; i < moments.Size(); ++i) {
        Require(moments[i].GetInt64() >= 0, "time goes on");
    }
    if (line.HasMember("src")) {
        Require(line["src"]["lines"].Size() == moments.Size(), "a source for each value");
    }
}

// The line of another page that a line shows.
const JsonValue& LineAt(const JsonValue& pages, const JsonValue& place) {
    for (const JsonValue& page : pages.GetArray()) {
        if (page["id"] == place[0]) {
            return page["blocks"][place[1].GetUint()]["series"][place[2].GetUint()];
        }
    }
    Require(false, "a line shows one that is there");
    return place;
}

void CheckChart(const JsonValue& pages, const JsonValue& chart) {
    rapidjson::SizeType moments = 0;
    for (const JsonValue& line : chart["series"].GetArray()) {
        if (line.HasMember("like")) {
            Require(LineAt(pages, line["like"])["name"] == line["name"],
                    "a line shows its namesake");
            continue;
        }
        // Without moments of its own it has those of the line before.
        if (line.HasMember("t")) {
            CheckMoments(line);
            moments = line["t"].Size();
        }
        Require(line["v"].Size() == moments, "a value for each moment");
        for (const char* const name : {"counts", "means"}) {
            Require(!line.HasMember(name) || line[name].Size() == moments, "one for each value");
        }
    }
    if (!chart.HasMember("marks")) {
        return;
    }
    for (const JsonValue& mark : chart["marks"].GetArray()) {
        Require(!mark.HasMember("series") || mark["series"].GetUint() < chart["series"].Size(),
                "a mark is on a line");
    }
}

}  // namespace

// Whatever a tree holds becomes data that a page can hold, whose lines go forward in time.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    WriteTree(zarn::fuzz::AsText(data, size));
    zarn::report::Files files;
    const zarn::report::Report report = zarn::report::ComposeReport(
        {Root(), Root()}, {"a", "b"}, files, [](const std::string& /*what*/) {});
    std::string text;
    zarn::report::WritePayload(report, files, [&text](std::string_view piece) { text += piece; });
    Require(text.find('<') == std::string::npos, "no markup");
    zarn::JsonDocument document;
    Require(zarn::ParseJson(text, document), "the data is JSON");
    for (const JsonValue& page : document["pages"].GetArray()) {
        for (const JsonValue& block : page["blocks"].GetArray()) {
            if (block.HasMember("series")) {
                CheckChart(document["pages"], block);
            }
        }
    }
    return 0;
}
