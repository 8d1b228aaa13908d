#include "collectors/system/cpu_documents.h"

#include <algorithm>
#include <cstdint>

#include "foundation/zarn_utils.h"

namespace zarn {
namespace {

constexpr const char* kEventId = "962201576";
constexpr const char* kObjectId = "soc_gea_cpu_usage_info";
constexpr const char* kCpuFields = "user sys nice idle wait irq sirq steal";
constexpr const char* kProcFields = "USER PID %CPU %MEM VSZ RSS PSR COMMAND";
constexpr const char* kThreadFields = "USER TID PID %CPU %MEM VSZ RSS PSR COMMAND";

constexpr std::int64_t kWholeSystem = -1;  // as cpuId
constexpr std::size_t kFirstCpuLine = 2;   // after the two head lines of `top`
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

void AddWholeSystem(const CpuLines& lines, JsonValue& cpu, JsonAllocator& allocator) {
    CpuLines pieces;
    if (lines.size() > kFirstCpuLine) {
        SplitViews(lines[kFirstCpuLine], ":", pieces);
    }
    if (pieces.size() > 1) {
        cpu.PushBack(MakeCpuEntry(kWholeSystem, pieces[1], allocator), allocator);
    }
}

void AddCores(const CpuLines& lines, JsonValue& cpu, JsonAllocator& allocator) {
    CpuLines pieces;
    for (std::size_t i = kFirstCpuLine; i < lines.size(); ++i) {
        pieces.clear();
        SplitViews(lines[i], ":", pieces);
        if (lines[i].size() > 1 && pieces.size() > 1) {
            cpu.PushBack(MakeCpuEntry(CoreNumber(pieces[0]), pieces[1], allocator), allocator);
        }
    }
}

JsonValue BuildCpuArray(const CpuSampleLists& lists, std::size_t sampleIndex,
                        JsonAllocator& allocator) {
    JsonValue cpu(rapidjson::kArrayType);
    if (sampleIndex < lists.global.size()) {
        AddWholeSystem(lists.global[sampleIndex].lines, cpu, allocator);
    }
    if (sampleIndex < lists.cores.size()) {
        AddCores(lists.cores[sampleIndex].lines, cpu, allocator);
    }
    return cpu;
}

JsonValue BuildThreadArray(const CpuThreadInfo& threadInfoByPid, std::string_view pid,
                           JsonAllocator& allocator) {
    JsonValue threads(rapidjson::kArrayType);
    const auto info = threadInfoByPid.find(pid);
    if (info == threadInfoByPid.end()) {
        return threads;
    }
    threads.Reserve(static_cast<rapidjson::SizeType>(info->second.size()), allocator);
    for (const std::string_view row : info->second) {
        JsonValue thread(rapidjson::kObjectType);
        thread.AddMember("threadInfo", Reference(row), allocator);
        threads.PushBack(thread, allocator);
    }
    return threads;
}

JsonValue BuildProcessArray(const std::vector<CpuLines>& samples, std::size_t sampleIndex,
                            const CpuThreadInfo& threadInfoByPid, JsonAllocator& allocator) {
    JsonValue processes(rapidjson::kArrayType);
    if (sampleIndex >= samples.size()) {
        return processes;
    }
    for (const std::string_view row : samples[sampleIndex]) {
        const std::string_view pid = PidOfPsRow(row);
        if (pid.empty()) {
            continue;
        }
        JsonValue process(rapidjson::kObjectType);
        process.AddMember("procInfo", Reference(row), allocator);
        process.AddMember("top10Threads", BuildThreadArray(threadInfoByPid, pid, allocator),
                          allocator);
        processes.PushBack(process, allocator);
    }
    return processes;
}

}  // namespace

std::string ParseCpuNumbers(std::string_view text) {
    std::vector<std::string_view> parts;
    std::vector<std::string_view> tokens;
    SplitViews(text, ",", parts);
    std::string numbers;
    for (const std::string_view part : parts) {
        tokens.clear();
        SplitViews(part, " ", tokens);
        if (tokens.size() > 1 && IsDecimalString(tokens[0])) {
            numbers.append(numbers.empty() ? "" : " ").append(tokens[0]);
        }
    }
    return numbers;
}

JsonDocument BuildCpuJson(const CpuSampleLists& lists, const CpuSampleTimes& topTimes,
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
    content.AddMember("cpu", BuildCpuArray(lists, sampleIndex, allocator), allocator);
    content.AddMember("top10Procs",
                      BuildProcessArray(lists.top10, sampleIndex, lists.threadInfoByPid, allocator),
                      allocator);
    content.AddMember(
        "selectedProcs",
        BuildProcessArray(lists.selectedPs, sampleIndex, lists.threadInfoByPid, allocator),
        allocator);
    document.AddMember("eventId", Reference(kEventId), allocator);
    document.AddMember("happenTime", JsonValue(happenTime, allocator), allocator);
    document.AddMember("objectId", Reference(kObjectId), allocator);
    document.AddMember("content", content, allocator);
    return document;
}

}  // namespace zarn
