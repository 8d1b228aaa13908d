#include "collectors/device/aicpu/aicpu_document.h"

#include <utility>

namespace zarn {
namespace {

JsonValue MakeProcess(const AicpuProcess& process, JsonAllocator& allocator) {
    JsonValue times(rapidjson::kArrayType);
    for (const std::string& time : process.collectTimes) {
        times.PushBack(JsonValue(time, allocator), allocator);
    }
    JsonValue object(rapidjson::kObjectType);
    object.AddMember("valid", process.valid, allocator);
    object.AddMember("name", JsonValue(process.name, allocator), allocator);
    object.AddMember("pid", process.pid, allocator);
    object.AddMember("bind_cpu_id", process.core, allocator);
    object.AddMember("group_id", process.groupId, allocator);
    object.AddMember("collect_time", times, allocator);
    return object;
}

JsonValue MakeContent(const AicpuRecord& record, JsonAllocator& allocator) {
    JsonValue processes(rapidjson::kArrayType);
    for (const AicpuProcess& process : record.processes) {
        processes.PushBack(MakeProcess(process, allocator), allocator);
    }
    JsonValue content(rapidjson::kObjectType);
    content.AddMember("soc_id", 0, allocator);
    content.AddMember("deMin", record.deMin, allocator);
    content.AddMember("deMax", record.deMax, allocator);
    const std::int64_t cores = std::int64_t{record.deMax} - record.deMin + 1;
    content.AddMember("aicpu_num", cores, allocator);
    content.AddMember("core", record.jobs.core, allocator);
    content.AddMember("event", record.jobs.event, allocator);
    content.AddMember("abnormal", record.jobs.abnormal, allocator);
    content.AddMember("interval", record.interval, allocator);
    content.AddMember("count", record.count, allocator);
    content.AddMember("process_info", processes, allocator);
    return content;
}

}  // namespace

JsonDocument MakeAicpuRecordDocument(const AicpuRecord& record, const std::string& time) {
    JsonDocument document(rapidjson::kObjectType);
    JsonAllocator& allocator = document.GetAllocator();
    document.AddMember("eventId", JsonValue(kAicpuRecordEvent, allocator), allocator);
    document.AddMember("happenTime", JsonValue(time, allocator), allocator);
    document.AddMember("objectId", "soc_aicpu_info", allocator);
    document.AddMember("content", MakeContent(record, allocator), allocator);
    return document;
}

}  // namespace zarn
