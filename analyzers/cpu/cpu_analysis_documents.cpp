#include "analyzers/cpu/cpu_analysis_documents.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace zarn {
namespace {

constexpr const char* kEventId = "222210010";
constexpr const char* kGlobalObject = "soc_cpu_ana_global";
constexpr const char* kCoreObject = "soc_cpu_ana_core";
constexpr const char* kFields = "us, sy, id, hi, si, st";
constexpr std::size_t kTopProcesses = 10;

// All up to the members of the content, which is an object.
void BeginDocument(const char* objectId, const std::string& happenTime, EventWriter& events) {
    events.BeginEvent(kEventId, happenTime, objectId);
    events.BeginObject();
}

void EndDocument(EventWriter& events) {
    events.EndObject();
    events.End();
}

void AddHead(const CpuHeadMeans& head, EventWriter& events) {
    events.Fixed("task", head.tasks);
    events.Key("loadAverage");
    events.BeginArray();
    for (const auto& [name, mean] : head.loads) {
        // A document has no word for infinity.
        events.Number(std::isfinite(mean) ? mean : std::numeric_limits<double>::max());
    }
    events.EndArray();
}

template <typename Statistics>
void AddUsage(const Statistics& statistics, EventWriter& events) {
    events.Fixed("meanUsage", statistics.mean);
    events.Fixed("maxUsage", statistics.maximum);
    events.Fixed("minUsage", statistics.minimum);
}

void AddExtremes(std::string_view name, const std::vector<CpuExtreme>& extremes,
                 EventWriter& events) {
    events.Key(name);
    events.BeginArray();
    for (const CpuExtreme& extreme : extremes) {
        events.BeginObject();
        events.Fixed("cpuValue", extreme.value);
        events.Text("timeStamp", extreme.timeStamp);
        events.EndObject();
    }
    events.EndArray();
}

void AddPeaks(const CpuStatistics& statistics, EventWriter& events) {
    AddExtremes("peak", statistics.peaks, events);
    AddExtremes("trought", statistics.troughs, events);
}

void AddFields(const std::array<CpuStatistics, kCpuFieldCount>& fields, EventWriter& events) {
    for (std::size_t field = 0; field < kCpuFieldCount; ++field) {
        events.Key(kCpuFieldNames[field]);
        events.BeginObject();
        AddUsage(fields[field], events);
        AddPeaks(fields[field], events);
        events.EndObject();
    }
}

void AddProcess(const CpuProcessStatistics& process, EventWriter& events) {
    events.BeginObject();
    events.Text("procPID", process.pid);
    events.Text("procCommand", process.command);
    AddUsage(process, events);
    events.EndObject();
}

void AddSet(const CpuSetFindings& found, EventWriter& events) {
    events.Key(found.name);
    events.BeginObject();
    events.Key("procInfo");
    events.BeginArray();
    for (const CpuProcessStatistics& process : found.processes) {
        AddProcess(process, events);
    }
    events.EndArray();
    AddUsage(found.statistics, events);
    events.Fixed("usagePercent", found.usagePercent);
    AddPeaks(found.statistics, events);
    events.EndObject();
}

}  // namespace

void WriteGlobalDocument(const CpuGlobalFindings& findings, const std::string& happenTime,
                         EventWriter& events) {
    BeginDocument(kGlobalObject, happenTime, events);
    AddHead(findings.head, events);
    events.Text("fields", kFields);
    AddFields(findings.fields, events);
    EndDocument(events);
}

void WriteTop10Document(const std::vector<CpuProcessStatistics>& ranked,
                        const std::string& happenTime, EventWriter& events) {
    BeginDocument(kGlobalObject, happenTime, events);
    events.Key("top10ProcInfo");
    events.BeginObject();
    for (std::size_t i = 0; i < std::min(ranked.size(), kTopProcesses); ++i) {
        events.Key("Top_" + std::to_string(i + 1));
        AddProcess(ranked[i], events);
    }
    events.EndObject();
    EndDocument(events);
}

void WriteTotalDocument(const CpuGlobalFindings& findings, const std::string& happenTime,
                        EventWriter& events) {
    BeginDocument(kGlobalObject, happenTime, events);
    events.Key("cpuTotalInfo");
    events.BeginObject();
    AddHead(findings.head, events);
    AddUsage(findings.total, events);
    AddPeaks(findings.total, events);
    events.EndObject();
    EndDocument(events);
}

void WriteProcessSetDocument(const std::vector<CpuSetFindings>& findings,
                             const std::string& happenTime, EventWriter& events) {
    BeginDocument(kGlobalObject, happenTime, events);
    events.Key("procSetInfo");
    events.BeginObject();
    for (const CpuSetFindings& found : findings) {
        AddSet(found, events);
    }
    events.EndObject();
    EndDocument(events);
}

void WriteCoresDocument(const CpuCoresFindings& findings, const std::string& happenTime,
                        EventWriter& events) {
    BeginDocument(kCoreObject, happenTime, events);
    AddHead(findings.head, events);
    events.Text("fields", kFields);
    events.Key("coresUsageSorted");
    events.BeginArray();
    for (const auto& [core, usage] : findings.usageSorted) {
        events.BeginObject();
        events.Text("coreID", core);
        events.Fixed("meanUsage", usage);
        events.EndObject();
    }
    events.EndArray();
    events.Key("cpuUsage");
    events.BeginArray();
    for (const CpuCoreFindings& core : findings.cores) {
        events.BeginObject();
        events.Text("coreID", core.name);
        AddFields(core.fields, events);
        events.EndObject();
    }
    events.EndArray();
    EndDocument(events);
}

}  // namespace zarn
