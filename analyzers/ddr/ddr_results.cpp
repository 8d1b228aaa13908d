#include "analyzers/ddr/ddr_results.h"

#include <vector>

#include "formats/ddr.h"
#include "foundation/numbers.h"
#include "kit/csv_table.h"

namespace zarn {
namespace {

constexpr const char* kObjectId = "soc_ddr_ana";
constexpr const char* kEventId = "222210070";

const DdrMasterInfo& InfoOf(const DdrInfoMap& infos, const std::string& name) {
    static const DdrMasterInfo none;
    const auto found = infos.find(name);
    return found == infos.end() ? none : found->second;
}

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void WriteText(const char* key, const std::string& text, Writer& writer) {
    writer.Key(key);
    writer.String(text);
}

// As text in fixed notation with six decimals; `text` is scratch memory.
void WriteFigure(const char* key, double figure, std::string& text, Writer& writer) {
    text.clear();
    AppendFixed(text, figure);
    WriteText(key, text, writer);
}

// A master's peaks or troughs.
void WriteExtremes(const char* key, const std::vector<double>& values,
                   const std::vector<std::string>& moments, Writer& writer) {
    std::string text;
    writer.Key(key);
    writer.StartArray();
    for (std::size_t i = 0; i < values.size(); ++i) {
        writer.StartObject();
        WriteFigure("Value", values[i], text, writer);
        WriteText("timeStamp", moments[i], writer);
        writer.EndObject();
    }
    writer.EndArray();
}

void WriteMaster(const std::string& name, const DdrMasterInfo& info, Writer& writer) {
    std::string text;
    writer.StartObject();
    WriteText("mpam_name", name, writer);
    WriteFigure("meanBw", info.meanBw, text, writer);
    WriteFigure("maxBw", info.maxBw, text, writer);
    WriteFigure("minBw", info.minBw, text, writer);
    WriteFigure("over", info.over, text, writer);
    writer.Key("peak_interval");
    writer.StartArray();
    for (const std::int32_t interval : info.peakIntervals) {
        writer.Int(interval);
    }
    writer.EndArray();
    WriteExtremes("peak", info.peaks, info.peakTimeStamps, writer);
    WriteExtremes("trough", info.troughs, info.troughTimeStamps, writer);
    writer.EndObject();
}

}  // namespace

void WriteAnalysisDocument(const DdrInfoMap& infos, const std::string& happenTime,
                           rapidjson::StringBuffer& line) {
    Writer writer(line);
    writer.StartObject();
    WriteText("objectId", kObjectId, writer);
    WriteText("eventId", kEventId, writer);
    WriteText("happenTime", happenTime, writer);
    writer.Key("content");
    writer.StartArray();
    for (const std::string& name : ddrNameList) {
        WriteMaster(name, InfoOf(infos, name), writer);
    }
    writer.EndArray();
    writer.EndObject();
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
    for (std::size_t i = 0; i < moments.size(); ++i) {
        table.TimeCell(moments[i]);
        for (const DdrMasterInfo* column : columns) {
            table.Cell(column->values.at(i));
        }
        table.EndLine();
    }
    return table.Text();
}

}  // namespace zarn
