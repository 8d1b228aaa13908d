#include "analyzers/correlation/correlation_ddr.h"

#include "analyzers/correlation/peak_reader.h"
#include "formats/ddr.h"
#include "foundation/console.h"

namespace zarn {
namespace {

constexpr const char* kLacksField = "ddr json file lacks of required field.";

// The peaks of the total; nullptr after its line if they are not there.
const JsonValue* FindPeaks(const JsonValue& content) {
    if (content.IsArray()) {
        for (const JsonValue& master : content.GetArray()) {
            const JsonValue* name = MemberOf(&master, "mpam_name", JsonType::String);
            if (name == nullptr) {
                break;
            }
            if (TextOf(*name) == kDdrTotal) {
                const JsonValue* peaks = MemberOf(&master, "peak", JsonType::Array);
                if (peaks != nullptr) {
                    return peaks;
                }
                break;
            }
        }
    }
    FailJson(kLacksField);
    return nullptr;
}

bool ReadPeaks(const std::string& path, std::vector<TimeDigits>& peaks) {
    FirstDocument document;
    if (!document.Open(path)) {
        return PrintFailure("[CorrelationAnalyzer] Ddr json file not exist. ");
    }
    const JsonValue* content = document.Content();
    if (content == nullptr) {
        return PrintFailure("[CorrelationAnalyzer] Failed to get json content. ");
    }
    const JsonValue* list = FindPeaks(*content);
    return list != nullptr && ReadPeakStamps(*list, "ddr json file lacks of timeStamp.", peaks);
}

}  // namespace

CorrelationDdr::CorrelationDdr(const CorrelationContext& context)
    : CorrelationTable(context, ddr_files::kAnalysisTable, "ddr_",
                       {"[CorrelationAnalyzer] ddr raw data not exist in dir:",
                        "[CorrelationAnalyzer] Failed to get ddr raw data, skip ddr.",
                        "[CorrelationAnalyzer] Failed to open ddr raw data: ",
                        "[CorrelationAnalyzer] Failed to get ddr time stamp, skip ddr.",
                        {"[CorrelationAnalyzer] Failed to open file for writting ddr data!",
                         "[CorrelationAnalyzer] Failed to save ddr data."}}) {}

void CorrelationDdr::CollectPeaks() {
    const std::string path = FirstFile(ddr_files::kAnalysis, DataPath());
    if (path.empty()) {
        PrintError("[CorrelationAnalyzer] Failed to get ddr analyzer data in dir:" + DataPath() +
                   run_tree::kJsonDir);
        PrintError("[CorrelationAnalyzer] Failed to get ddr analyzer data.");
        return;
    }
    std::vector<TimeDigits> peaks;
    if (!ReadPeaks(path, peaks)) {
        PrintError("[CorrelationAnalyzer] Failed to get ddr peak time.");
        return;
    }
    AddPeaks("peak_ddr_total", peaks);
}

}  // namespace zarn
