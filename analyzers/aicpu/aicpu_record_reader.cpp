#include "analyzers/aicpu/aicpu_record_reader.h"

#include <algorithm>
#include <utility>

#include "foundation/json.h"
#include "kit/section.h"

namespace zarn {
namespace {

bool ReadProcess(const JsonValue& object, AicpuProcess& process) {
    if (!object.IsObject() || !AllHaveType(object, {{"valid", JsonType::Bool},
                                                    {"name", JsonType::String},
                                                    {"pid", JsonType::Unsigned},
                                                    {"bind_cpu_id", JsonType::Unsigned},
                                                    {"group_id", JsonType::Unsigned},
                                                    {"collect_time", JsonType::Array}})) {
        return false;
    }
    process.valid = object["valid"].GetBool();
    process.name = TextOf(object["name"]);
    process.pid = object["pid"].GetUint();
    process.core = object["bind_cpu_id"].GetUint();
    process.groupId = object["group_id"].GetUint();
    for (const JsonValue& time : object["collect_time"].GetArray()) {
        if (!time.IsString()) {
            return false;
        }
        process.collectTimes.push_back(TextOf(time));
    }
    return true;
}

bool ReadContent(const JsonValue& content, AicpuRecord& record) {
    if (!AllHaveType(content, {{"deMin", JsonType::Integer},
                               {"deMax", JsonType::Integer},
                               {"core", JsonType::Bool},
                               {"event", JsonType::Bool},
                               {"abnormal", JsonType::Bool},
                               {"interval", JsonType::Unsigned},
                               {"count", JsonType::Unsigned},
                               {"process_info", JsonType::Array}})) {
        return false;
    }
    record.deMin = content["deMin"].GetInt();
    record.deMax = content["deMax"].GetInt();
    record.jobs = {content["core"].GetBool(), content["event"].GetBool(),
                   content["abnormal"].GetBool()};
    record.interval = content["interval"].GetUint();
    record.count = content["count"].GetUint();
    const auto& processes = content["process_info"].GetArray();
    return std::all_of(processes.begin(), processes.end(), [&record](const JsonValue& object) {
        return ReadProcess(object, record.processes.emplace_back());
    });
}

}  // namespace

RecordResult ReadAicpuRecord(std::string_view text, AicpuRecord& record) {
    JsonDocument document;
    if (!ParseJson(text, document)) {
        return RecordResult::NoJson;
    }
    AicpuRecord read;
    if (!document.IsObject() ||
        FirstMissingKey(document, {"eventId", "objectId", "content"}).has_value() ||
        !document["content"].IsObject() || !ReadContent(document["content"], read)) {
        return RecordResult::BadFormat;
    }
    record = std::move(read);
    return RecordResult::Ok;
}

}  // namespace zarn
