#include "collectors/system/sched/setup_documents.h"

#include <algorithm>
#include <map>

namespace zarn {
namespace {

bool HasSmallerId(const SetupRow& a, const SetupRow& b) {
    return a.id < b.id;
}

void AppendCell(const std::string& text, CsvTable& table) {
    if (text.find_first_of(",\"") == std::string::npos) {
        table.Cell(text);
        return;
    }
    std::string quoted = "\"";
    for (const char byte : text) {
        quoted.append(byte == '"' ? 2 : 1, byte);
    }
    table.Cell(quoted + "\"");
}

}  // namespace

SetupValues::SetupValues(const SetupRows& parsed) : rows_(parsed.rows) {
    std::stable_sort(rows_.begin(), rows_.end(), HasSmallerId);
}

const std::string& SetupValues::Of(const std::string& id) const {
    static const std::string none = kNoSetup;
    const auto found = std::lower_bound(rows_.begin(), rows_.end(), SetupRow{id, ""}, HasSmallerId);
    return found == rows_.end() || found->id != id ? none : found->value;
}

std::string ShortRowWords(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " row has" : " rows have") + " too few fields";
}

std::string SetupKey(const std::string& name, const std::string& id) {
    return name + ":" + id;
}

void AddCores(const std::vector<ThreadSetup>& asked, std::vector<ThreadSetup>& threads) {
    std::map<std::string, std::size_t> places;
    for (std::size_t i = 0; i < threads.size(); ++i) {
        places.emplace(threads[i].id, i);
    }
    for (const ThreadSetup& thread : asked) {
        const auto place = places.find(thread.id);
        if (place == places.end()) {
            threads.push_back(thread);
        } else {
            threads[place->second].cores = thread.cores;
        }
    }
}

void WriteProcessSetup(const std::string& key, const char* member, const std::string& value,
                       EventWriter& events) {
    events.BeginObject();
    events.Key(key);
    events.BeginObject();
    events.Text(member, value);
    events.EndObject();
    events.EndObject();
}

void WriteThreadSetups(const std::string& key, const std::vector<ThreadSetup>& threads,
                       ThreadMembers members, EventWriter& events) {
    events.BeginObject();
    events.Key(key);
    events.BeginArray();
    for (const ThreadSetup& thread : threads) {
        events.BeginObject();
        events.Text("threadName", thread.name);
        events.Text("spid", thread.id);
        if (members.priority) {
            events.Text("priority", thread.priority);
            events.Text("schedPolicy", thread.policy);
        }
        if (members.cores) {
            events.Text("coreList", thread.cores);
        }
        events.EndObject();
    }
    events.EndArray();
    events.EndObject();
}

void AppendSetupHead(CsvTable& table) {
    for (const char* column :
         {"ProcessName:PID", "ThreadName:SPID", "Priority", "SchedPolicy", "CoreList"}) {
        table.Cell(column);
    }
    table.EndLine();
}

void AppendSetupRow(const std::string& key, const ThreadSetup& thread, CsvTable& table) {
    AppendCell(key, table);
    AppendCell(SetupKey(thread.name, thread.id), table);
    AppendCell(thread.priority, table);
    AppendCell(thread.policy, table);
    AppendCell(thread.cores, table);
    table.EndLine();
}

}  // namespace zarn
