#include "analyzers/correlation/correlation_cpu.h"

#include <algorithm>
#include <map>
#include <utility>

#include "analyzers/correlation/peak_reader.h"
#include "formats/cpu.h"
#include "foundation/console.h"

namespace zarn {
namespace {

// The peaks of the idle share; nullptr if `block` does not hold them.
const JsonValue* IdlePeaks(const JsonValue* block) {
    return MemberOf(MemberOf(block, "id", JsonType::Object), "peak", JsonType::Array);
}

bool ReadGlobal(const std::string& path, std::vector<TimeDigits>& peaks) {
    FirstDocument document;
    if (!document.Open(path)) {
        return PrintFailure("[CorrelationAnalyzer] cpu global json file not exist. ");
    }
    const JsonValue* content = document.Content();
    if (content == nullptr) {
        return PrintFailure("[CorrelationAnalyzer] Failed to get cpu global json content. ");
    }
    const JsonValue* list = IdlePeaks(content);
    return list != nullptr
               ? ReadPeakStamps(*list, "Cpu global json file lacks of timeStamp.", peaks)
               : FailJson("Cpu global json file lacks of required field.");
}

// The number in a core's name, such as "Cpu12", in the order of numbers.
using CoreNumber = std::pair<std::size_t, std::string>;

// Empty if there is none.
CoreNumber NumberOf(const JsonValue* coreId) {
    constexpr const char* kDigits = "0123456789";
    const std::string name = coreId == nullptr ? "" : TextOf(*coreId);
    const std::size_t begin = std::min(name.find_first_of(kDigits), name.size());
    const std::size_t end = std::min(name.find_first_not_of(kDigits, begin), name.size());
    return {end - begin, name.substr(begin, end - begin)};
}

using CorePeaks = std::map<CoreNumber, std::vector<TimeDigits>>;

bool ReadCores(const std::string& path, CorePeaks& peaks) {
    FirstDocument document;
    if (!document.Open(path)) {
        return PrintFailure("[CorrelationAnalyzer] cpu core json file not exist. ");
    }
    const JsonValue* content = document.Content();
    if (content == nullptr) {
        return false;
    }
    const JsonValue* cores = MemberOf(content, "cpuUsage", JsonType::Array);
    if (cores == nullptr) {
        return FailJson("Cpu core json lacks of cpuUsage.");
    }
    for (const JsonValue& core : cores->GetArray()) {
        const CoreNumber number = NumberOf(MemberOf(&core, "coreID", JsonType::String));
        const JsonValue* list = IdlePeaks(&core);
        if (number.second.empty() || list == nullptr) {
            return FailJson("Cpu core json lacks of peak or id.");
        }
        if (!ReadPeakStamps(*list, "Cpu core json lacks of timeStamp.", peaks[number])) {
            return false;
        }
    }
    return true;
}

}  // namespace

CorrelationCpu::CorrelationCpu(const CorrelationContext& context)
    : CorrelationTable(context, cpu_files::kLoadingTable, "cpu_",
                       {"[CorrelationAnalyzer] cpu raw data not exist in dir:",
                        "[CorrelationAnalyzer] Failed to get cpu raw data, skip cpu.",
                        "[CorrelationAnalyzer] Failed to open cpu raw data: ",
                        "[CorrelationAnalyzer] Failed to get cpu time stamp, skip cpu.",
                        {"[CorrelationAnalyzer] Failed to open file for writting cpu data!",
                         "[CorrelationAnalyzer] Failed to save cpu data."}}) {}

// Either file counts without the other.
void CorrelationCpu::CollectPeaks() {
    const std::string global = FirstFile(cpu_files::kGlobalAnalysis, DataPath());
    const std::string core = FirstFile(cpu_files::kCoreAnalysis, DataPath());
    const std::string dir = DataPath() + run_tree::kJsonDir;
    if (global.empty()) {
        PrintError("[CorrelationAnalyzer] Failed to get cpu global json data in dir:" + dir);
    }
    if (core.empty()) {
        PrintError("[CorrelationAnalyzer] Failed to get cpu core json data in dir:" + dir);
    }
    if (global.empty() || core.empty()) {
        PrintError("[CorrelationAnalyzer] Failed to get cpu analyzer data.");
    }
    if (!global.empty()) {
        CollectGlobalPeaks(global);
    }
    if (!core.empty()) {
        CollectCorePeaks(core);
    }
}

void CorrelationCpu::CollectGlobalPeaks(const std::string& path) {
    std::vector<TimeDigits> peaks;
    if (!ReadGlobal(path, peaks)) {
        PrintError("[CorrelationAnalyzer] Cpu global peak not exist. ");
        return;
    }
    AddPeaks("peak_cpu_total", peaks);
}

void CorrelationCpu::CollectCorePeaks(const std::string& path) {
    CorePeaks peaks;
    if (!ReadCores(path, peaks)) {
        PrintError("[CorrelationAnalyzer] Cpu core peak not exist. ");
        return;
    }
    for (const auto& [number, times] : peaks) {
        AddPeaks("peak_cpu_cpu" + number.second, times);
    }
}

}  // namespace zarn
