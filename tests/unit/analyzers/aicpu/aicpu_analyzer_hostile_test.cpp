#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>

#include "tests/support/amounts.h"
#include "tests/unit/analyzers/aicpu/aicpu_analyzer_fixture.h"

namespace zarn::test {
namespace {

using testing::HasSubstr;

constexpr const char* kName = "perception";
const std::string kGaveUp = "[AicpuAnalyzer] Failed to analyze aicpu info of perception.\n";

class AicpuAnalyzerHostileTest : public AicpuAnalyzerTest {
protected:
    AicpuAnalyzerHostileTest() {
        Collect({AicpuProcessOf(kName, 1201, 2), AicpuProcessOf("planning", 1204, 2)});
    }

    // Replaces the text of one raw file by what `change` makes of it, and expects these words
    // alone.
    void ExpectBad(const std::string& list, const std::function<void(std::string&)>& change,
                   const std::string& words) {
        const std::string name = "raw_data/aicpu/aicpu_" + list + "_" + kName + "_" + kTime;
        const std::string before = dir.Read(name);
        std::string text = before;
        change(text);
        dir.Write(name, text);
        std::filesystem::remove(dir.Path() + "json/soc_aicpu_ana_1_perception_" + kTime + ".data");
        EXPECT_EQ(Run().err, "[AicpuAnalyzer] Fail to analyze " + words + " content.\n" + kGaveUp);
        EXPECT_TRUE(result);
        EXPECT_EQ(Document(kName), "");
        EXPECT_NE(Document("planning"), "");
        dir.Write(name, before);
    }
};

// Each section is taken away, left without an end, without a pass, and with a last pass that is
// empty.
TEST_F(AicpuAnalyzerHostileTest, ASectionThatIsBadCostsItsProcess) {
    const struct {
        const char* list;
        const char* attribute;
        const char* words;
        bool emptyIsBad;
    } rows[] = {
        {"core", "node_event_resource", "node event resource", true},
        {"core", "proc_list", "proc list", true},
        {"core", "cpu_event_resource", "cpu event resource", false},
        {"event", "node_event_summary", "node event summary", true},
        {"abnormal", "node_sched_proc_abnormal_event", "node_sched_proc_abnormal_event", false},
        {"abnormal", "node_sched_publish_subscribe_abnormal_event",
         "node_sched_publish_subscribe_abnormal_event", false},
        {"abnormal", "node_sched_wakeup_abnormal_event", "node_sched_wakeup_abnormal_event", false},
        {"abnormal", "node_sched_publish_in_kernel_abnormal_event",
         "node_sched_publish_in_kernel_abnormal_event", false},
        {"abnormal", "node_sched_publish_syscall_abnormal_event",
         "node_sched_publish_syscall_abnormal_event", false},
        {"abnormal", "node_sched_wakeup_abnormal_time_in_microsecond",
         "node_sched_wakeup_abnormal_time_in_microsecond", true},
        {"process", "proc_pri", "proc pri", true},
        {"process", "proc_status", "proc status", true},
        {"process", "proc_event_num", "proc event num", true},
        {"process", "proc_group_list", "proc group list", true},
    };
    for (const auto& [list, attribute, words, emptyIsBad] : rows) {
        SCOPED_TRACE(attribute);
        const std::string start = "\n" + std::string(attribute) + " START\n";
        const std::string end = std::string(attribute) + " END\n\n";
        ExpectBad(
            list,
            [&](std::string& text) {
                const std::size_t from = text.find(start);
                text.erase(from, text.find(end) + end.size() - from);
            },
            words);
        ExpectBad(
            list,
            [&](std::string& text) {
                const std::size_t from = text.find(start) + start.size();
                text.erase(from, text.find(end) - from);
            },
            words);
        if (emptyIsBad) {
            ExpectBad(
                list, [&](std::string& text) { text.insert(text.find(end), "\n@zarn-new:\n"); },
                words);
        }
    }
}

TEST_F(AicpuAnalyzerHostileTest, AFileThatEndsWithinASection) {
    ExpectBad(
        "process", [](std::string& text) { text.resize(text.size() - 9); }, "proc group list");
    ExpectBad(
        "event", [](std::string& text) { text.resize(text.size() - 9); }, "node event summary");
    ExpectBad(
        "core", [](std::string& text) { text.clear(); }, "node event resource");
}

TEST_F(AicpuAnalyzerHostileTest, FilesOfBytes) {
    std::string bytes;
    for (int i = 0; i < 100000; ++i) {
        bytes += static_cast<char>(i * 7919 % 256);
    }
    ExpectBad(
        "core", [&](std::string& text) { text = bytes; }, "node event resource");
    ExpectBad(
        "abnormal", [&](std::string& text) { text = bytes; }, "node_sched_proc_abnormal_event");
    // Within a list of events they are lines that are no events.
    const std::string clean = Document(kName);
    const std::string name = "raw_data/aicpu/aicpu_abnormal_" + std::string(kName) + "_" + kTime;
    std::string text = dir.Read(name);
    text.insert(text.find("@zarn-new:\n") + 11, bytes + "\n");
    dir.Write(name, text);
    EXPECT_EQ(Run().err, "");
    EXPECT_THAT(Document(kName), HasSubstr(R"("thread_proc":{"num":2,)"));
}

TEST_F(AicpuAnalyzerHostileTest, LinesOfMegabytes) {
    const std::string line(std::size_t{16} << 20, '7');
    const std::string commas(std::size_t{1} << 20, ',');
    for (const char* list : {"core", "event", "abnormal", "process"}) {
        const std::string name =
            "raw_data/aicpu/aicpu_" + std::string(list) + "_" + kName + "_" + kTime;
        std::string text = dir.Read(name);
        for (std::size_t at = text.rfind(" END\n\n"); at != std::string::npos && at > 0;
             at = text.rfind(" END\n\n", at - 1)) {
            const std::size_t begin = text.rfind('\n', at) + 1;
            text.insert(begin, commas + "\n");
        }
        text.insert(text.rfind('\n', text.rfind(" END\n\n")) + 1, line + "\n");
        dir.Write(name, text);
    }
    EXPECT_EQ(Run().err, "");
    EXPECT_TRUE(result);
    EXPECT_NE(Document(kName), "");
}

TEST_F(AicpuAnalyzerHostileTest, AMillionPasses) {
    constexpr std::size_t kPasses = test::Amount(1000000);
    const std::string pass = "\n@zarn-new:\npublish_event_num 1\nsched_event_num 1\n";
    std::string text = AicpuRawFilesOf(AicpuProcessOf(kName, 1201, 1)).process;
    const std::string start = "\nproc_event_num START\n";
    std::string passes;
    for (std::size_t i = 0; i < kPasses; ++i) {
        passes += pass;
    }
    text.insert(text.find(start) + start.size(), passes);
    SetRaw("process", kName, text);
    EXPECT_EQ(Run("").err, "");
    const std::string document = Document(kName);
    std::size_t values = 0;
    for (std::size_t at = document.find("\"1\","); at != std::string::npos;
         at = document.find("\"1\",", at + 1)) {
        ++values;
    }
    EXPECT_GE(values, 2 * kPasses);
}

TEST_F(AicpuAnalyzerHostileTest, RecordsThatAreNone) {
    const std::string config =
        "[AicpuAnalyzer] Get aicpu set info failed.\n"
        "[AicpuAnalyzer] Failed to parse aicpu analyzer config!\n";
    const std::string text = dir.Read(RecordName());
    dir.Write(RecordName(), text.substr(0, text.size() / 2));
    EXPECT_EQ(Run().err, "[AicpuAnalyzer] Exception occurs while parsing json file.\n" + config);
    dir.Write(RecordName(), "{}\n");
    EXPECT_EQ(Run().err, "[AicpuAnalyzer] Result json format is invalid.\n" + config);
    EXPECT_FALSE(result);
    dir.Write(RecordName(), std::string(std::size_t{1} << 20, '['));
    EXPECT_EQ(Run().err, "[AicpuAnalyzer] Exception occurs while parsing json file.\n" + config);
}

TEST_F(AicpuAnalyzerHostileTest, ADocumentThatCannotBeWrittenIsTold) {
    std::filesystem::create_directories(dir.Path() + "json/soc_aicpu_ana_1_soc_" + kTime + ".data");
    EXPECT_EQ(Run().err,
              "[zarn_utils] Cannot open outfile, check your filePath.\n"
              "[zarn_utils] Cannot open outfile, check your filePath.\n");
    EXPECT_TRUE(result);
    EXPECT_NE(Document(kName), "");
}

}  // namespace
}  // namespace zarn::test
