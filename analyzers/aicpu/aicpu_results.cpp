#include "analyzers/aicpu/aicpu_results.h"

namespace zarn {
namespace {

void BeginDocument(const std::string& time, EventWriter& events) {
    events.BeginEvent(kAicpuAnalysisEvent, time, "soc_aicpu_ana");
    events.BeginObject();
}

void EndDocument(EventWriter& events) {
    events.EndObject();
    events.End();
}

// A member that is an array, an element of which `write` writes of each of `rows`.
template <typename Rows, typename Write>
void WriteArray(std::string_view name, const Rows& rows, EventWriter& events, Write write) {
    events.Key(name);
    events.BeginArray();
    for (const auto& row : rows) {
        write(row);
    }
    events.EndArray();
}

void WriteSeries(std::string_view name, const ValueSeries& series, EventWriter& events) {
    events.Key(name);
    events.BeginArray();
    series.ForEach([&events](std::string_view value) { events.Text(value); });
    events.EndArray();
}

void WriteCore(const CoreFindings& core, EventWriter& events) {
    WriteArray("proc_list", core.processes, events, [&events](const ProcListRow& row) {
        events.BeginObject();
        events.Text("pid", row.pid);
        events.Text("name", row.name);
        events.Text("publish_events", row.published);
        events.Text("sched_events", row.scheduled);
        events.EndObject();
    });
    WriteArray("soc_aicpu", core.cores, events, [&events](const CorePool& row) {
        events.BeginObject();
        events.Text("cpu", std::to_string(row.core));
        events.Text("resource_total", row.pool.total);
        events.Text("cur_use", row.pool.inUse);
        events.Text("max_use", row.pool.greatestUse);
        events.Text("fail_appli", row.pool.failures);
        events.EndObject();
    });
}

void WriteEvents(const EventFindings& event, EventWriter& events) {
    WriteArray("soc_event_info", event.events, events, [&events](const EventRow& row) {
        events.BeginObject();
        events.Text("event_id", row.id);
        events.Text("publish_events", row.published);
        events.Text("sched_events", row.scheduled);
        events.EndObject();
    });
}

void WriteRanking(const AbnormalList& list, const AbnormalFindings& found, EventWriter& events) {
    WriteArray("topN_abnormal_" + std::string(list.name), found.ranked, events,
               [&events](const ThreadCount& thread) {
                   events.BeginObject();
                   events.Text("pid:thread_name", thread.first);
                   events.Key("times");
                   events.Integer(static_cast<std::int64_t>(thread.second));
                   events.EndObject();
               });
}

void WriteOwnEvents(const AbnormalList& list, const AbnormalFindings& found, EventWriter& events) {
    events.Key(list.name);
    events.BeginObject();
    events.Key("num");
    events.Integer(static_cast<std::int64_t>(found.ownStarts.size()));
    WriteArray("start_time", found.ownStarts, events,
               [&events](std::uint64_t start) { events.Text(std::to_string(start)); });
    events.EndObject();
}

}  // namespace

void WriteSocDocument(const AicpuFindings& findings, const AicpuProcess& process,
                      const std::string& time, EventWriter& events) {
    BeginDocument(time, events);
    WriteArray("collect_time", process.collectTimes, events,
               [&events](const std::string& moment) { events.Text(moment); });
    if (findings.core) {
        events.Text("soc_resource_total", findings.core->pool.total);
        events.Text("soc_cur_use", findings.core->pool.inUse);
        events.Text("soc_max_use", findings.core->pool.greatestUse);
        events.Text("soc_fail_appli", findings.core->pool.failures);
    }
    for (std::size_t i = 0; findings.event && i < findings.event->series.size(); ++i) {
        WriteSeries(EventSummaryReader::kSeriesNames[i], findings.event->series[i], events);
    }
    if (findings.core) {
        WriteCore(*findings.core, events);
    }
    if (findings.event) {
        WriteEvents(*findings.event, events);
    }
    for (std::size_t i = 0; findings.abnormal && i < kAbnormalLists.size(); ++i) {
        if (kAbnormalLists[i].ofComplex) {
            WriteRanking(kAbnormalLists[i], (*findings.abnormal)[i], events);
        }
    }
    EndDocument(events);
}

void WriteProcessDocument(const AicpuFindings& findings, const std::string& time,
                          EventWriter& events) {
    if (!findings.process) {
        return;
    }
    const ProcessFindings& process = *findings.process;
    const auto writeValues = [&events](const NamedValues& values) {
        for (const auto& [name, value] : values) {
            events.Text(name, value);
        }
    };
    BeginDocument(time, events);
    writeValues(process.values);
    WriteSeries("publish_events", process.published, events);
    WriteSeries("sched_events", process.scheduled, events);
    WriteArray("thread_group", process.groups, events, [&](const NamedValues& group) {
        events.BeginObject();
        writeValues(group);
        events.EndObject();
    });
    if (findings.abnormal) {
        events.Key("soc_proc_info");
        events.BeginObject();
        for (std::size_t i = 0; i < kAbnormalLists.size(); ++i) {
            WriteOwnEvents(kAbnormalLists[i], (*findings.abnormal)[i], events);
        }
        events.EndObject();
        for (std::size_t i = 0; i < kAbnormalLists.size(); ++i) {
            events.Text(std::string(kAbnormalLists[i].name) + "_threshold",
                        (*findings.abnormal)[i].threshold);
        }
    }
    EndDocument(events);
}

}  // namespace zarn
