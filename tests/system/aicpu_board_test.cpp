#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "foundation/json.h"
#include "tests/support/lines.h"
#include "tests/system/support/examples.h"
#include "tests/system/support/on_board.h"
#include "tests/system/support/program_lock.h"

// The AICPU line on the virtual board, whose event scheduler is known: what the documents say must
// be what its model knows.
namespace zarn::test {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char* kSelection = R"sh(
cd /sys/devices/virtual/event_sched/event_sched/node; cat node_id pid cpuid_in_node proc_gid
)sh";

// Events over the thresholds, by list, then by "pid:thread".
using LateEvents = std::map<std::string, std::map<std::string, int>>;

// What the model knew at each moment that it was asked for.
std::vector<LateEvents> ReadTruth(const std::string& text) {
    std::vector<LateEvents> moments;
    for (const std::string& line : LinesIn(text)) {
        std::istringstream fields(line);
        std::string list;
        std::string threshold;
        std::string pid;
        std::string thread;
        int events = 0;
        if (line.rfind("time: ", 0) == 0) {
            moments.emplace_back();
        } else if (std::getline(fields, list, ',') && std::getline(fields, threshold, ',') &&
                   std::getline(fields, pid, ',') && std::getline(fields, thread, ',') &&
                   fields >> events) {
            if (list.find("_proc") != std::string::npos) {
                moments.back()[list].emplace(pid + ":" + thread, events);
            }
        }
    }
    return moments;
}

class AicpuOnBoard : public Board {
protected:
    void SetUp() override {
        Board::SetUp();
        if (!IsSkipped()) {
            lock_.emplace();
        }
    }

    // Runs the example's configuration, changed, on a board that is kept, then a script there.
    Result RunExample(const std::string& from, const std::string& to, const std::string& script) {
        std::string config = ExampleText("aicpu_collect_analyze.json");
        config.replace(config.find(from), from.size(), to);
        directory_.Write("usr/config.json", config);
        return OnBoard(script, "--scenario device_trouble --board kept --opt-usr usr");
    }

    // The text of the one file of the run whose name begins so.
    [[nodiscard]] std::string FileOfRun(const std::string& folder, const std::string& head) const {
        const std::string runs = "usr/mnt/zarn/";
        const std::string run = runs + directory_.OnlyFile(runs, "zarn_data_") + "/" + folder + "/";
        return directory_.Read(run + directory_.OnlyFile(run, head));
    }
    [[nodiscard]] JsonDocument DocumentOfRun(const std::string& head) const {
        JsonDocument document;
        EXPECT_TRUE(ParseJson(FileOfRun("json", head), document));
        return document;
    }

    // What the model knew at each millisecond of six seconds from the last run on that the last
    // pass saw, for the lists of late events are copied behind the trace.
    [[nodiscard]] std::vector<LateEvents> TruthBehindTheLastTrace() {
        std::string trace = FileOfRun("raw_data/aicpu", "aicpu_event_perception_");
        trace.resize(trace.find("\nevent_trace END\n"));
        const std::string run = trace.substr(trace.rfind('\n') + 1);
        const long first = std::stol(run.substr(run.find(',') + 1)) / 1000;
        EXPECT_EQ(Shell("$SERVER events kept/state $(seq " + std::to_string(first) + " " +
                        std::to_string(first + 5999) + ") > truth")
                      .text,
                  "");
        std::vector<LateEvents> moments = ReadTruth(directory_.Read("truth"));
        EXPECT_EQ(moments.size(), 6000U);
        return moments;
    }

    std::optional<ProgramLock> lock_;
};

INSTANTIATE_TEST_SUITE_P(Ways, AicpuOnBoard, testing::Values("namespace", "proot"), WayName);

TEST_P(AicpuOnBoard, TheExampleFindsWhatTheModelKnows) {
    const Result result =
        RunExample(R"("count": 5)", R"("count": 3)",
                   "zarn /opt/usr/config.json > out 2> err\n" + std::string(kSelection));
    EXPECT_EQ(result, (Result{"0\n0\n0\n0\n", 0}));
    EXPECT_THAT(directory_.Read("err"), Not(HasSubstr("[Aicpu")));
    EXPECT_THAT(directory_.Read("err"), Not(HasSubstr("cat:")));
    const std::vector<LateEvents> truth = TruthBehindTheLastTrace();
    const auto isKnown = [&truth](const auto& isMeant) {
        return std::any_of(truth.begin(), truth.end(), isMeant);
    };

    const JsonDocument soc = DocumentOfRun("soc_aicpu_ana_1_soc_");
    for (const char* list : {"thread_proc", "subs_proc", "wakeup_proc"}) {
        std::map<std::string, int> ranked;
        const JsonValue& rows = soc["content"][("topN_abnormal_" + std::string(list)).c_str()];
        for (const JsonValue& row : rows.GetArray()) {
            ranked[row["pid:thread_name"].GetString()] = row["times"].GetInt();
        }
        EXPECT_TRUE(isKnown([&](const LateEvents& late) {
            const auto found = late.find(list);
            return found == late.end() ? ranked.empty() : found->second == ranked;
        })) << list;
    }
    // The scenario's slow thread.
    const JsonValue& slowest = soc["content"]["topN_abnormal_thread_proc"][0];
    EXPECT_THAT(slowest["pid:thread_name"].GetString(), HasSubstr(":planner_0"));

    const JsonDocument record = DocumentOfRun("soc_aicpu_info_1_");
    const std::string pid =
        std::to_string(record["content"]["process_info"][0]["pid"].GetUint()) + ":";
    const JsonDocument process = DocumentOfRun("soc_aicpu_ana_1_perception_");
    for (const auto& list : process["content"]["soc_proc_info"].GetObject()) {
        const int events = list.value["num"].GetInt();
        EXPECT_EQ(static_cast<int>(list.value["start_time"].Size()), events);
        EXPECT_TRUE(isKnown([&](const LateEvents& late) {
            int own = 0;
            const auto found = late.find(list.name.GetString());
            for (const auto& [thread, times] :
                 found == late.end() ? std::map<std::string, int>{} : found->second) {
                own += thread.rfind(pid, 0) == 0 ? times : 0;
            }
            return own == events;
        })) << list.name.GetString();
    }
    ExpectTidy();
}

// In each reading all that was published has run or waits.
TEST_P(AicpuOnBoard, EachReadingAddsUp) {
    EXPECT_EQ(
        RunExample(R"("count": 5)", R"("count": 3)", "zarn /opt/usr/config.json > out 2> err\n")
            .status,
        0);
    long published = 0;
    long waiting = 0;
    int passes = 0;
    for (const std::string& line :
         LinesIn(FileOfRun("raw_data/aicpu", "aicpu_event_perception_"))) {
        const auto value = [&line] { return std::stol(line.substr(line.find(' '))); };
        if (line.rfind("publish_event_num ", 0) == 0) {
            published = value();
        } else if (line.rfind("sched_event_num ", 0) == 0) {
            waiting = published - value();
        } else if (line.rfind("wait_event_num ", 0) == 0) {
            EXPECT_EQ(waiting, value());
            ++passes;
        }
    }
    EXPECT_EQ(passes, 3);
    const JsonDocument soc = DocumentOfRun("soc_aicpu_ana_1_soc_");
    EXPECT_EQ(soc["content"]["soc_publish_events"].Size(), 3U);
    EXPECT_EQ(soc["content"]["soc_publish_events"][2].GetString(), std::to_string(published));
    EXPECT_EQ(soc["content"]["soc_aicpu"].Size(), 3U);
}

// It comes when the first pass is over, to the program alone.
TEST_P(AicpuOnBoard, AnInterruptClearsTheSelectionAndKeepsThePasses) {
    const Result result = RunExample(R"("interval": 1)", R"("interval": 60)",
                                     R"sh(zarn /opt/usr/config.json > out 2> err & zarn=$!
until grep -q '^gid,tid' /opt/usr/mnt/zarn/*/raw_data/aicpu/aicpu_proc_group_thread_* 2> /dev/null ||
    ! kill -0 $zarn 2> /dev/null; do :; done
kill -INT $zarn; wait $zarn
)sh" + std::string(kSelection));
    EXPECT_EQ(result, (Result{"0\n0\n0\n0\n", 0}));
    EXPECT_THAT(directory_.Read("err"), Not(HasSubstr("[Aicpu")));
    const JsonDocument record = DocumentOfRun("soc_aicpu_info_1_");
    EXPECT_EQ(record["content"]["process_info"][0]["collect_time"].Size(), 1U);
    EXPECT_THAT(FileOfRun("raw_data/aicpu", "aicpu_process_perception_"),
                HasSubstr("\nproc_pri END\n"));
}

}  // namespace
}  // namespace zarn::test
