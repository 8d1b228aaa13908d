#include <algorithm>
#include <string>
#include <vector>

#include "analyzers/mem/mem_extremes.h"
#include "analyzers/mem/mem_results.h"
#include "analyzers/mem/mem_sample_reader.h"
#include "comparators/mem/mem_version_reader.h"
#include "formats/mem.h"
#include "foundation/files.h"
#include "fuzz/fuzz_input.h"
#include "kit/internal/event_line.h"

namespace zarn::fuzz {
namespace {

constexpr EventNest kNests[] = {{kMemSystemMember, false}, {kMemProcessMember, true}};

// All that is to be had from a line, and whether all of it is text: what is none may end the
// process, as documented.
struct Whole {
    std::string text;
    bool allTexts = true;

    void Add(const EventObject& object, bool mayHaveContent) {
        for (const EventMember& member : object) {
            text.append("\n").append(member.name).append(member.isText ? "=" : "-");
            text.append(member.text);
            allTexts = allTexts && (member.isText || (mayHaveContent && member.name == "content"));
        }
        text += "\n\n";
    }
};

Whole ReadWhole(std::string_view line, const EventNest& nest) {
    Whole whole;
    EventLine reader(nest);
    if (!reader.Read(line)) {
        return whole;
    }
    whole.text = reader.HasNest() ? "nest" : "none";
    whole.Add(reader.Document(), true);
    if (reader.HasNest()) {
        (void)reader.TellElements([&whole](const EventObject&, const EventObject& element) {
            whole.Add(element, false);
            return true;
        });
    }
    return whole;
}

// The library gets a line that begins with a blank. True if all members are texts.
bool CheckLines(std::string_view text) {
    bool allTexts = true;
    LineCursor cursor(text);
    for (std::string_view line; cursor.Next(line);) {
        for (const EventNest& nest : kNests) {
            const Whole plain = ReadWhole(line, nest);
            Require(plain.text == ReadWhole(" " + std::string(line), nest).text,
                    "the library reads a plain line alike");
            allTexts = allTexts && plain.allTexts;
        }
    }
    return allTexts;
}

// What the analyzer makes of frames: a document, from findings that fit the frames.
void Analyze(const MemProcess* process, const MemFrames& frames,
             const std::vector<std::string>& moments) {
    MemFindings findings;
    if (!LocalMaxFrames(frames, 0.1F, findings.peaks) ||
        !LocalMinFrames(frames, 0.1F, findings.troughs) ||
        !SummarizeMemFrames(frames, findings.summary)) {
        return;
    }
    for (const std::size_t index : findings.peaks) {
        Require(index < frames.Size() && frames.Moment(index) < moments.size(),
                "a peak is a frame");
        Require(frames.Size() == 1 ||
                    !std::binary_search(findings.troughs.begin(), findings.troughs.end(), index),
                "a peak is no trough");
    }
    const auto mean = static_cast<double>(findings.summary.mean);
    Require(findings.summary.min <= findings.summary.max, "the least is not above the greatest");
    // A float rounds by up to 2^-24 of itself.
    Require(mean >= findings.summary.min - 256.0 && mean <= findings.summary.max + 256.0,
            "the mean lies between");
    EventWriter events;
    BeginMemDocument("fuzz", "0", events);
    WriteMemFindings(process, frames, moments, findings, events);
    EndMemDocument(events);
    JsonDocument document;
    Require(ParseJson(events.Lines(), document), "JSON comes out");
}

void AnalyzeAll(std::string_view text) {
    LineCursor systemLines(text);
    MemSystemSamples system;
    (void)ReadMemSystemSamples(LinesOf(systemLines), "fuzz", "used", system);
    Analyze(nullptr, system.frames, system.moments);
    LineCursor processLines(text);
    MemProcessSamples samples;
    (void)ReadMemProcessSamples(LinesOf(processLines), "fuzz", {"PSS", {}}, samples);
    for (const auto& [process, frames] : samples.processes) {
        Analyze(&process, frames, samples.moments);
    }
}

void CompareAll(std::string_view text) {
    LineCursor systemLines(text);
    MemSystemValues system;
    (void)ReadVersionSystem(LinesOf(systemLines), system);
    for (const auto& list : system) {
        Require(list.size() <= system.front().size(), "no field has more than the first");
    }
    LineCursor processLines(text);
    std::map<std::string, MemProcessValues, std::less<>> processes;
    processes["app"];
    (void)ReadVersionProcesses(LinesOf(processLines), processes);
    Require(processes.size() == 1, "no process is added");
}

}  // namespace
}  // namespace zarn::fuzz

// The readers of the memory analyzer's and comparator's documents, and what they make of them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = zarn::fuzz::AsText(data, size);
    if (zarn::fuzz::CheckLines(text)) {
        zarn::fuzz::AnalyzeAll(text);
        zarn::fuzz::CompareAll(text);
    }
    return 0;
}
