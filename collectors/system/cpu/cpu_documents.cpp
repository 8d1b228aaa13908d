#include "collectors/system/cpu/cpu_documents.h"

#include <algorithm>
#include <cstdint>

#include "foundation/files.h"
#include "foundation/numbers.h"
#include "foundation/text.h"

namespace zarn {
namespace {

constexpr const char* kEventId = "962201576";
constexpr const char* kObjectId = "soc_gea_cpu_usage_info";
constexpr const char* kCpuFields = "user sys nice idle wait irq sirq steal";
constexpr const char* kProcFields = "USER PID %CPU %MEM VSZ RSS PSR COMMAND";
constexpr const char* kThreadFields = "USER TID PID %CPU %MEM VSZ RSS PSR COMMAND";

constexpr std::int64_t kWholeSystem = -1;  // as cpuId
constexpr std::size_t kFirstCpuLine = 3;   // after the time and two head lines of `top`
constexpr std::size_t kCoreNumberAt = 3;   // in "Cpu12"

void AddCpu(std::int64_t cpuId, std::string_view numbers, EventWriter& events) {
    events.BeginObject();
    events.Key("cpuId");
    events.Integer(cpuId);
    events.Text("cpuInfo", ParseCpuNumbers(numbers));
    events.EndObject();
}

// The number in a name such as "Cpu12"; 0 if there is none.
std::int64_t CoreNumber(std::string_view name) {
    name = TrimSpacesView(name);
    const std::string digits(name.substr(std::min(kCoreNumberAt, name.size())));
    std::uint32_t number = 0;
    return IsDigitString(digits) && StringToUint32(digits, number) ? number : 0;
}

// The second piece of a line between colons is where the numbers stand.
bool CutCpuLine(std::string_view line, std::string_view& name, std::string_view& numbers) {
    PieceCursor pieces(line, ':');
    return pieces.Next(name) && pieces.Next(numbers);
}

void AddWholeSystem(std::string_view batch, EventWriter& events) {
    LineCursor lines(batch);
    std::string_view line;
    for (std::size_t i = 0; i <= kFirstCpuLine; ++i) {
        if (!lines.Next(line)) {
            return;
        }
    }
    std::string_view name;
    std::string_view numbers;
    if (CutCpuLine(line, name, numbers)) {
        AddCpu(kWholeSystem, numbers, events);
    }
}

void AddCores(std::string_view batch, EventWriter& events) {
    LineCursor lines(batch);
    std::string_view line;
    std::string_view name;
    std::string_view numbers;
    for (std::size_t i = 0; lines.Next(line); ++i) {
        if (i >= kFirstCpuLine && line.size() > 1 && CutCpuLine(line, name, numbers)) {
            AddCpu(CoreNumber(name), numbers, events);
        }
    }
}

void AddThreads(const CpuThreadRows& threadRowsByPid, std::string_view pid, EventWriter& events) {
    events.Key("top10Threads");
    events.BeginArray();
    const auto rows = threadRowsByPid.find(pid);
    if (rows != threadRowsByPid.end()) {
        for (const std::string& row : rows->second) {
            events.BeginObject();
            events.Text("threadInfo", row);
            events.EndObject();
        }
    }
    events.EndArray();
}

// The rows of sample `sampleIndex`, if there is one.
void AddProcesses(const std::vector<CpuRows>& samples, std::size_t sampleIndex,
                  const CpuThreadRows& threadRowsByPid, EventWriter& events) {
    events.BeginArray();
    if (sampleIndex < samples.size()) {
        for (const std::string& row : samples[sampleIndex]) {
            const std::string_view pid = PidOfPsRow(row);
            if (pid.empty()) {
                continue;
            }
            events.BeginObject();
            events.Text("procInfo", row);
            AddThreads(threadRowsByPid, pid, events);
            events.EndObject();
        }
    }
    events.EndArray();
}

}  // namespace

std::string ParseCpuNumbers(std::string_view text) {
    std::string numbers;
    PieceCursor parts(text, ',');
    for (std::string_view part; parts.Next(part);) {
        PieceCursor tokens(part, ' ');
        std::string_view number;
        std::string_view unit;
        if (tokens.Next(number) && tokens.Next(unit) && IsDecimalString(number)) {
            numbers.append(numbers.empty() ? "" : " ").append(number);
        }
    }
    return numbers;
}

bool BuildCpuJson(const CpuDocumentSources& sources, const CpuSampleTimes& topTimes,
                  std::size_t sampleIndex, EventWriter& events) {
    std::string happenTime;
    if (!topTimes.At(sampleIndex, happenTime)) {
        return false;
    }
    events.BeginEvent(kEventId, happenTime, kObjectId);
    events.BeginObject();
    events.Text("cpuFields", kCpuFields);
    events.Text("procFields", kProcFields);
    events.Text("threadFields", kThreadFields);
    events.Key("cpu");
    events.BeginArray();
    AddWholeSystem(sources.global.Batch(sampleIndex), events);
    AddCores(sources.cores.Batch(sampleIndex), events);
    events.EndArray();
    events.Key("top10Procs");
    AddProcesses(sources.top10, sampleIndex, sources.threadRowsByPid, events);
    events.Key("selectedProcs");
    AddProcesses(sources.selected, sampleIndex, sources.threadRowsByPid, events);
    events.EndObject();
    events.End();
    return true;
}

}  // namespace zarn
