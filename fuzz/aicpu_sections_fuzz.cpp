#include <deque>
#include <numeric>
#include <string>

#include "analyzers/aicpu/abnormal_events.h"
#include "analyzers/aicpu/core_sections.h"
#include "analyzers/aicpu/event_summary.h"
#include "analyzers/aicpu/process_sections.h"
#include "analyzers/aicpu/raw_sections.h"
#include "foundation/files.h"
#include "fuzz/fuzz_input.h"

namespace {

using zarn::fuzz::Require;

void Read(std::string_view text, const zarn::AicpuList& list, zarn::WantedSections& wanted) {
    zarn::LineCursor lines(text);
    zarn::ReadSections(zarn::LinesOf(lines), list, 0, wanted);
    for (const zarn::WantedSection& section : wanted) {
        Require(!section.IsGood() || section.passes > 0, "a good section has passes");
    }
}

void ReadCore(std::string_view text) {
    zarn::NodePoolReader pool;
    zarn::ProcListReader processes;
    zarn::CorePoolsReader cores(1, 3);
    zarn::WantedSections wanted = {
        {"node_event_resource", &pool}, {"proc_list", &processes}, {"cpu_event_resource", &cores}};
    Read(text, zarn::aicpuCoreList, wanted);
    for (const zarn::CorePool& row : cores.Rows()) {
        Require(row.core >= 1 && row.core <= 3, "a core is one of the complex");
    }
}

void ReadEvents(std::string_view text) {
    zarn::EventSummaryReader summary;
    zarn::WantedSections wanted = {{"node_event_summary", &summary}};
    Read(text, zarn::aicpuEventList, wanted);
    if (wanted[0].IsGood()) {
        for (const zarn::ValueSeries& series : summary.TakeSeries()) {
            Require(series.Size() == wanted[0].passes, "a series has a value of each pass");
        }
    }
}

void ReadAbnormal(std::string_view text) {
    std::deque<zarn::AbnormalEventReader> lists;
    std::deque<zarn::ThresholdReader> thresholds;
    zarn::WantedSections wanted;
    for (const zarn::AbnormalList& list : zarn::kAbnormalLists) {
        wanted.push_back({list.events, &lists.emplace_back(list.pidField, 12)});
        wanted.push_back({list.threshold, &thresholds.emplace_back()});
    }
    Read(text, zarn::aicpuAbnormalList, wanted);
    for (const zarn::AbnormalEventReader& list : lists) {
        std::uint64_t last = ~std::uint64_t{0};
        std::uint64_t events = 0;
        for (const auto& [thread, times] : list.Ranked()) {
            Require(times <= last && times > 0, "the most frequent comes first");
            last = times;
            events += times;
        }
        Require(list.OwnStarts().size() <= events, "own events are some of all");
    }
}

void ReadProcess(std::string_view text) {
    zarn::PriorityReader priority(12);
    zarn::StatusReader status;
    zarn::EventNumReader eventNum;
    zarn::GroupListReader groups;
    zarn::WantedSections wanted = {{"proc_pri", &priority},
                                   {"proc_status", &status},
                                   {"proc_event_num", &eventNum},
                                   {"proc_group_list", &groups}};
    Read(text, zarn::aicpuProcessList, wanted);
    if (wanted[2].IsGood()) {
        Require(eventNum.Published().Size() == wanted[2].passes &&
                    eventNum.Scheduled().Size() == wanted[2].passes,
                "a series has a value of each pass");
    }
    for (const zarn::NamedValues& group : groups.Groups()) {
        Require(group.size() == groups.Groups().front().size(), "rows have the head's columns");
    }
}

}  // namespace

// A merged file of each kind, and the text of an attribute in one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = zarn::fuzz::AsText(data, size);
    ReadCore(text);
    ReadEvents(text);
    ReadAbnormal(text);
    ReadProcess(text);

    // Whatever a text holds, with an own end at most within a line, its section is whole.
    if (text.find("proc_pri END") == std::string_view::npos) {
        zarn::PriorityReader priority(12);
        zarn::WantedSections wanted = {{"proc_pri", &priority}};
        Read("\nproc_pri START\n\n@zarn-new:\n" + std::string(text) + "proc_pri END\n\n",
             zarn::aicpuProcessList, wanted);
        Require(wanted[0].isWhole && wanted[0].passes > 0, "the section is whole");
    }
    return 0;
}
