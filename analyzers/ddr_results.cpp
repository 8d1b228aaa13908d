#include "analyzers/ddr_results.h"

#include <vector>

#include "foundation/zarn_utils.h"

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

JsonValue Text(const std::string& text, JsonAllocator& allocator) {
    return JsonValue(text, allocator);
}

// The array of a master's peaks or troughs.
JsonValue Extremes(const std::vector<double>& values, const std::vector<std::string>& moments,
                   JsonAllocator& allocator) {
    JsonValue array(rapidjson::kArrayType);
    for (std::size_t i = 0; i < values.size(); ++i) {
        JsonValue extreme(rapidjson::kObjectType);
        extreme.AddMember("Value", Text(std::to_string(values[i]), allocator), allocator);
        extreme.AddMember("timeStamp", Text(moments[i], allocator), allocator);
        array.PushBack(extreme, allocator);
    }
    return array;
}

JsonValue MasterContent(const std::string& name, const DdrMasterInfo& info,
                        JsonAllocator& allocator) {
    JsonValue master(rapidjson::kObjectType);
    master.AddMember("mpam_name", Text(name, allocator), allocator);
    master.AddMember("meanBw", Text(std::to_string(info.meanBw), allocator), allocator);
    master.AddMember("maxBw", Text(std::to_string(info.maxBw), allocator), allocator);
    master.AddMember("minBw", Text(std::to_string(info.minBw), allocator), allocator);
    master.AddMember("over", Text(std::to_string(info.over), allocator), allocator);
    JsonValue intervals(rapidjson::kArrayType);
    for (const std::int32_t interval : info.peakIntervals) {
        intervals.PushBack(interval, allocator);
    }
    master.AddMember("peak_interval", intervals, allocator);
    master.AddMember("peak", Extremes(info.peaks, info.peakTimeStamps, allocator), allocator);
    master.AddMember("trough", Extremes(info.troughs, info.troughTimeStamps, allocator), allocator);
    return master;
}

}  // namespace

void MakeAnalysisDocument(const DdrInfoMap& infos, const std::string& happenTime,
                          JsonDocument& document) {
    document.SetObject();
    JsonAllocator& allocator = document.GetAllocator();
    AddJsonString("objectId", kObjectId, document);
    AddJsonString("eventId", kEventId, document);
    AddJsonString("happenTime", happenTime, document);
    JsonValue content(rapidjson::kArrayType);
    for (const std::string& name : ddrNameList) {
        content.PushBack(MasterContent(name, InfoOf(infos, name), allocator), allocator);
    }
    document.AddMember("content", content, allocator);
}

std::string AnalysisTable(const DdrInfoMap& infos) {
    std::vector<const DdrMasterInfo*> columns;
    std::string table = "happen_time,";
    for (const std::string& name : ddrNameList) {
        table.append(name).push_back(',');
        columns.push_back(&InfoOf(infos, name));
    }
    table.push_back('\n');
    const std::vector<std::string>& moments = InfoOf(infos, "total").timeStamps;
    table.reserve(table.size() + moments.size() * (columns.size() + 2) * kCellSize);
    for (std::size_t i = 0; i < moments.size(); ++i) {
        table.append("'").append(moments[i]).push_back(',');
        for (const DdrMasterInfo* column : columns) {
            AppendNumber(table, column->values.at(i));
            table.push_back(',');
        }
        table.push_back('\n');
    }
    return table;
}

}  // namespace zarn
