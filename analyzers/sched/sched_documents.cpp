#include "analyzers/sched/sched_documents.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <optional>
#include <string_view>

#include "foundation/console.h"
#include "foundation/json.h"
#include "foundation/numbers.h"

namespace zarn {
namespace {

constexpr std::array<const char*, kSchedLatencyColumns.size()> kSortedListMembers = {
    "task", "runtime", "switches", "averageDelay", "maximumDelay", "maximumDelayAt"};
constexpr int kDecimals = 6;

std::string WithUnit(std::string_view value, const char* unit) {
    return std::string(value) + unit;
}

// Writes `before`, which is JSON already, and a text to `at`, which moves on. False if something in
// the text must be escaped.
bool PutPlain(std::string_view before, std::string_view text, char*& at) {
    at = std::copy(before.begin(), before.end(), at);
    const bool isPlain = CopyPlainJson(text, at);
    at += text.size();
    return isPlain;
}

// The members of a row at once, since there may be millions of rows. False, and nothing, if
// something in it must be escaped.
bool WritePlainRow(const TimehistRow& row, const std::string& bootTime,
                   rapidjson::StringBuffer& buffer) {
    constexpr std::string_view kTask = R"("task":")";
    constexpr std::string_view kTime = R"(","time":")";
    constexpr std::string_view kCpu = R"( s","cpu":")";
    constexpr std::string_view kWait = R"(","waitTime":")";
    constexpr std::string_view kDelay = R"( ms","schedDelay":")";
    constexpr std::string_view kRun = R"( ms","runTime":")";
    constexpr std::string_view kBoot = R"( ms","systemStartUpTime":")";
    constexpr std::size_t kAround = kTask.size() + kTime.size() + kCpu.size() + kWait.size() +
                                    kDelay.size() + kRun.size() + kBoot.size() + 1;
    const std::size_t size = kAround + row.task.size() + row.time.size() + row.cpu.size() +
                             row.waitTime.size() + row.schedDelay.size() + row.runTime.size() +
                             bootTime.size();
    char* at = buffer.Push(size);
    if (PutPlain(kTask, row.task, at) && PutPlain(kTime, row.time, at) &&
        PutPlain(kCpu, row.cpu, at) && PutPlain(kWait, row.waitTime, at) &&
        PutPlain(kDelay, row.schedDelay, at) && PutPlain(kRun, row.runTime, at) &&
        PutPlain(kBoot, bootTime, at)) {
        *at = '"';
        return true;
    }
    buffer.Pop(size);
    return false;
}

struct Delays {
    double sum = 0.0;
    double max = std::numeric_limits<double>::lowest();
};

// Of the rows' greatest delays. Nothing after its line if there are none, or one is no number.
std::optional<Delays> SumDelays(const std::vector<LatencyCells>& rows) {
    if (rows.empty()) {
        PrintError(
            "[SchedAnalyzer] SchedAnalyzer get tokens AvgDelay and MaxDelay value failed, tokens "
            "length should not be equal to 0.");
        return std::nullopt;
    }
    Delays delays;
    for (const LatencyCells& row : rows) {
        const std::string_view cell = row[kMaxDelayCell];
        const std::optional<double> delay = NumberIn(cell.substr(0, cell.find(' ')));
        if (!delay) {
            PrintError(
                "[SchedAnalyzer] Error occurs when translate string to double for maxDelay: stod");
            return std::nullopt;
        }
        delays.sum += *delay;
        delays.max = std::max(delays.max, *delay);
    }
    return delays;
}

bool WriteTarget(const std::string& target, const std::vector<LatencyCells>& rows,
                 const std::string& bootTime, EventWriter& events) {
    const std::optional<Delays> delays = SumDelays(rows);
    if (!delays) {
        PrintError("[SchedAnalyzer] Failed to get avgDelay and maxDelay value!");
        return PrintFailure("[SchedAnalyzer] Failed to add " + target + " object to content!");
    }
    const double average = delays->sum / static_cast<double>(rows.size());
    events.BeginObject();
    events.Text("target", target);
    events.Text("avgDelay", WithUnit(FloatToString(average, kDecimals), " ms"));
    events.Text("maxDelay", WithUnit(FloatToString(delays->max, kDecimals), " ms"));
    events.Text(kSchedBootMember, bootTime);
    events.Key("sortedList");
    events.BeginArray();
    for (const LatencyCells& row : rows) {
        events.BeginObject();
        for (std::size_t i = 0; i < row.size(); ++i) {
            events.Text(kSortedListMembers[i], row[i]);
        }
        events.EndObject();
    }
    events.EndArray();
    events.EndObject();
    return true;
}

}  // namespace

bool WriteLatencyFindings(const LatencyFindings& findings, const std::string& bootTime,
                          EventWriter& events) {
    if (!WriteTarget("topN_process", findings.top, bootTime, events)) {
        return false;
    }
    const std::size_t count = findings.top.size();
    if (count != findings.threads.size()) {
        return PrintFailure(
            "[SchedAnalyzer] SchedAnalyzer failed to get topNAnalyzerTokens, the size of "
            "topNTokens " +
            std::to_string(count) + " should be equal with the size of topNAnalyzerTokens!");
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (!WriteTarget(findings.top[i][kTaskCell], findings.threads[i], bootTime, events)) {
            return false;
        }
    }
    return true;
}

void WriteTimehistRow(const TimehistRow& row, const std::string& bootTime, EventWriter& events) {
    events.BeginObject();
    if (!WritePlainRow(row, bootTime, events.Buffer())) {
        events.Text("task", row.task);
        events.Text("time", WithUnit(row.time, " s"));
        events.Text("cpu", row.cpu);
        events.Text("waitTime", WithUnit(row.waitTime, " ms"));
        events.Text("schedDelay", WithUnit(row.schedDelay, " ms"));
        events.Text("runTime", WithUnit(row.runTime, " ms"));
        events.Text(kSchedBootMember, bootTime);
    }
    events.EndObject();
}

bool WriteDelayRow(const TimehistRow& row, const std::string& bootTime, EventWriter& events) {
    constexpr double kSecondsPerMillisecond = 0.001;
    const std::optional<double> time = NumberIn(row.time);
    const std::optional<double> wait = NumberIn(row.waitTime);
    if (!time || !wait) {
        return false;
    }
    const std::string delay = WithUnit(row.schedDelay, " ms");
    const double end = *time + *wait * kSecondsPerMillisecond;
    events.BeginObject();
    events.Text("Task", row.task);
    events.Text("runtime", WithUnit(row.runTime, " ms"));
    events.Text("switches", "1");
    events.Text("averageDelay", delay);
    events.Text("maximumDelay", delay);
    events.Text("maximumDelayAt", WithUnit(FloatToString(end, kDecimals), " s"));
    events.Text(kSchedBootMember, bootTime);
    events.EndObject();
    return true;
}

}  // namespace zarn
