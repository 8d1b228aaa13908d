#include <string>
#include <vector>

#include "analyzers/sched/latency_ranking.h"
#include "analyzers/sched/sched_commands.h"
#include "analyzers/sched/sched_documents.h"
#include "foundation/files.h"
#include "foundation/json.h"
#include "fuzz/fuzz_input.h"

namespace zarn::fuzz {
namespace {

constexpr std::uint32_t kTopN = 4;

// A document comes out of whatever rows there are, or none.
void CheckDocument(const LatencyFindings& findings) {
    EventWriter events;
    events.BeginEventList("fuzz", "0", "fuzz");
    if (!WriteLatencyFindings(findings, "0", events)) {
        return;
    }
    events.EndEventList();
    JsonDocument document;
    Require(ParseJson(events.Lines(), document), "JSON comes out");
    Require(document["content"].Size() == findings.top.size() + 1, "an element for each target");
}

void CheckReport(std::string_view text) {
    LineCursor reportLines(text);
    LatencyFindings findings;
    findings.top = ReadTopTasks(LinesOf(reportLines), kTopN);
    Require(findings.top.size() <= kTopN, "no more rows than are wanted");
    LineCursor threadLines(text);
    const std::vector<LatencyCells> threads = ReadTaskThreads(LinesOf(threadLines));
    Require(findings.top.size() <= threads.size(), "without head and end there are no fewer");
    for (const LatencyCells& row : findings.top) {
        Require(row[kTaskCell].rfind(TaskKey(row[kTaskCell]), 0) == 0, "a key begins its task");
        findings.threads.push_back(threads);
    }
    CheckDocument(findings);
}

void CheckThreads(std::string_view text) {
    LineCursor lines(text);
    for (std::string_view line; lines.Next(line);) {
        const LatencyThread thread = ReadLatencyThread(line);
        Require(thread.cell == thread.name || thread.cell == thread.name + ":" + thread.tid,
                "a thread is its name and tid");
    }
}

}  // namespace
}  // namespace zarn::fuzz

// The scheduler's latency report: its rows, their order, and the document of them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = zarn::fuzz::AsText(data, size);
    zarn::fuzz::CheckReport(text);
    zarn::fuzz::CheckThreads(text);
    return 0;
}
