#include "analyzers/ddr/ddr_results.h"

#include <vector>

#include "formats/ddr.h"
#include "kit/csv_table.h"

namespace zarn {
namespace {

constexpr const char* kObjectId = "soc_ddr_ana";
constexpr const char* kEventId = "222210070";
constexpr std::size_t kCellSize = 10;  // of a share and its comma, at most as a rule

const DdrMasterInfo& InfoOf(const DdrInfoMap& infos, const std::string& name) {
    static const DdrMasterInfo none;
    const auto found = infos.find(name);
    return found == infos.end() ? none : found->second;
}

// A master's peaks or troughs.
void WriteExtremes(std::string_view name, const std::vector<double>& values,
                   const std::vector<std::string>& moments, EventWriter& events) {
    events.Key(name);
    events.BeginArray();
    for (std::size_t i = 0; i < values.size(); ++i) {
        events.BeginObject();
        events.Fixed("Value", values[i]);
        events.Text("timeStamp", moments[i]);
        events.EndObject();
    }
    events.EndArray();
}

void WriteMaster(const std::string& name, const DdrMasterInfo& info, EventWriter& events) {
    events.BeginObject();
    events.Text("mpam_name", name);
    events.Fixed("meanBw", info.meanBw);
    events.Fixed("maxBw", info.maxBw);
    events.Fixed("minBw", info.minBw);
    events.Fixed("over", info.over);
    events.Key("peak_interval");
    events.BeginArray();
    for (const std::int32_t interval : info.peakIntervals) {
        events.Integer(interval);
    }
    events.EndArray();
    WriteExtremes("peak", info.peaks, info.peakTimeStamps, events);
    WriteExtremes("trough", info.troughs, info.troughTimeStamps, events);
    events.EndObject();
}

}  // namespace

void WriteAnalysisDocument(const DdrInfoMap& infos, const std::string& happenTime,
                           EventWriter& events) {
    events.Begin();
    events.Text("objectId", kObjectId);
    events.Text("eventId", kEventId);
    events.Text("happenTime", happenTime);
    events.Key("content");
    events.BeginArray();
    for (const std::string& name : ddrNameList) {
        WriteMaster(name, InfoOf(infos, name), events);
    }
    events.EndArray();
    events.End();
}

std::string AnalysisTable(const DdrInfoMap& infos) {
    std::vector<const DdrMasterInfo*> columns;
    CsvTable table;
    table.Cell("happen_time");
    for (const std::string& name : ddrNameList) {
        table.Cell(name);
        columns.push_back(&InfoOf(infos, name));
    }
    table.EndLine();
    const std::vector<std::string>& moments = InfoOf(infos, kDdrTotal).timeStamps;
    table.Reserve(moments.size() * (columns.size() + 2) * kCellSize);
    for (std::size_t i = 0; i < moments.size(); ++i) {
        table.TimeCell(moments[i]);
        for (const DdrMasterInfo* column : columns) {
            table.Cell(column->values.at(i));
        }
        table.EndLine();
    }
    return table.TakeText();
}

}  // namespace zarn
