#include "collectors/system/cpu/cpu_documents.h"

#include <algorithm>
#include <cstdint>

#include "foundation/files.h"
#include "foundation/json.h"
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

JsonValue Reference(std::string_view text) {
    return text.empty() ? JsonValue("", 0)
                        : JsonValue(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

JsonValue MakeCpuEntry(std::int64_t cpuId, std::string_view numbers, JsonAllocator& allocator) {
    JsonValue entry(rapidjson::kObjectType);
    entry.AddMember("cpuId", cpuId, allocator);
    entry.AddMember("cpuInfo", JsonValue(ParseCpuNumbers(numbers), allocator), allocator);
    return entry;
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

void AddWholeSystem(std::string_view batch, JsonValue& cpu, JsonAllocator& allocator) {
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
        cpu.PushBack(MakeCpuEntry(kWholeSystem, numbers, allocator), allocator);
    }
}

void AddCores(std::string_view batch, JsonValue& cpu, JsonAllocator& allocator) {
    LineCursor lines(batch);
    std::string_view line;
    std::string_view name;
    std::string_view numbers;
    for (std::size_t i = 0; lines.Next(line); ++i) {
        if (i >= kFirstCpuLine && line.size() > 1 && CutCpuLine(line, name, numbers)) {
            cpu.PushBack(MakeCpuEntry(CoreNumber(name), numbers, allocator), allocator);
        }
    }
}

JsonValue BuildCpuArray(const CpuDocumentSources& sources, std::size_t sampleIndex,
                        JsonAllocator& allocator) {
    JsonValue cpu(rapidjson::kArrayType);
    AddWholeSystem(sources.global.Batch(sampleIndex), cpu, allocator);
    AddCores(sources.cores.Batch(sampleIndex), cpu, allocator);
    return cpu;
}

JsonValue BuildThreadArray(const CpuThreadRows& threadRowsByPid, std::string_view pid,
                           JsonAllocator& allocator) {
    JsonValue threads(rapidjson::kArrayType);
    const auto rows = threadRowsByPid.find(pid);
    if (rows == threadRowsByPid.end()) {
        return threads;
    }
    for (const std::string& row : rows->second) {
        JsonValue thread(rapidjson::kObjectType);
        thread.AddMember("threadInfo", Reference(row), allocator);
        threads.PushBack(thread, allocator);
    }
    return threads;
}

JsonValue BuildProcessArray(const std::vector<CpuRows>& samples, std::size_t sampleIndex,
                            const CpuThreadRows& threadRowsByPid, JsonAllocator& allocator) {
    JsonValue processes(rapidjson::kArrayType);
    if (sampleIndex >= samples.size()) {
        return processes;
    }
    for (const std::string& row : samples[sampleIndex]) {
        const std::string_view pid = PidOfPsRow(row);
        if (pid.empty()) {
            continue;
        }
        JsonValue process(rapidjson::kObjectType);
        process.AddMember("procInfo", Reference(row), allocator);
        process.AddMember("top10Threads", BuildThreadArray(threadRowsByPid, pid, allocator),
                          allocator);
        processes.PushBack(process, allocator);
    }
    return processes;
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

JsonDocument BuildCpuJson(const CpuDocumentSources& sources, const CpuSampleTimes& topTimes,
                          std::size_t sampleIndex) {
    JsonDocument document;
    std::string happenTime;
    if (!topTimes.At(sampleIndex, happenTime)) {
        return document;
    }
    document.SetObject();
    JsonAllocator& allocator = document.GetAllocator();
    JsonValue content(rapidjson::kObjectType);
    content.AddMember("cpuFields", Reference(kCpuFields), allocator);
    content.AddMember("procFields", Reference(kProcFields), allocator);
    content.AddMember("threadFields", Reference(kThreadFields), allocator);
    content.AddMember("cpu", BuildCpuArray(sources, sampleIndex, allocator), allocator);
    content.AddMember(
        "top10Procs",
        BuildProcessArray(sources.top10, sampleIndex, sources.threadRowsByPid, allocator),
        allocator);
    content.AddMember(
        "selectedProcs",
        BuildProcessArray(sources.selected, sampleIndex, sources.threadRowsByPid, allocator),
        allocator);
    document.AddMember("eventId", Reference(kEventId), allocator);
    document.AddMember("happenTime", JsonValue(happenTime, allocator), allocator);
    document.AddMember("objectId", Reference(kObjectId), allocator);
    document.AddMember("content", content, allocator);
    return document;
}

}  // namespace zarn
