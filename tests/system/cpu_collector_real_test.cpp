#include <gmock/gmock.h>

#include <filesystem>
#include <sstream>

#include "formats/cpu.h"
#include "foundation/json.h"
#include "foundation/numbers.h"
#include "foundation/text.h"
#include "tests/support/lines.h"
#include "tests/system/support/examples.h"
#include "tests/system/support/sandbox.h"

// CPU collections with the machine's own top and ps: what the files say must agree with one
// another.
namespace zarn::test {
namespace {

using Batch = std::vector<std::string>;

// The samples of a raw log, each with its time line first.
std::vector<Batch> Batches(const std::string& log) {
    std::vector<Batch> batches(1);
    std::istringstream stream(log);
    for (std::string line; std::getline(stream, line);) {
        if (line.empty()) {
            batches.emplace_back();
        } else {
            batches.back().push_back(line);
        }
    }
    EXPECT_TRUE(batches.back().empty()) << "the log does not end in an empty line";
    batches.pop_back();
    return batches;
}

// "1.5 us, 2.0 sy,100.0 id" as a reader of top would note it: every number in front of a unit.
std::string NumbersOf(const std::string& topLine) {
    std::istringstream stream(ReplaceAll(topLine.substr(topLine.find(':') + 1), ",", " "));
    std::string numbers;
    double number = 0;
    std::string unit;
    while (stream >> number >> unit) {
        numbers += (numbers.empty() ? "" : " ") + FloatToString(number, 1);
    }
    return numbers;
}

std::string String(const JsonValue& value) {
    return {value.GetString(), value.GetStringLength()};
}

class CpuCollectorRealTest : public testing::Test {
protected:
    void SetUp() override {
        if (sandbox_.RunCommand({"/bin/sh", "-c", "top -b -n 1 >/dev/null && ps -e >/dev/null"})
                .waitStatus != 0) {
            GTEST_SKIP() << "no top or no ps on this machine";
        }
    }

    // Runs the configuration that docs/ offers to a reader, or the same without threads.
    void Collect(bool threads) {
        std::string config = ExampleText("cpu_collect.json");
        if (!threads) {
            config =
                ReplaceAll(config, R"("thread_collector": true)", R"("thread_collector": false)");
        }
        run_ = sandbox_.Run(config);
        ASSERT_TRUE(run_.Succeeded()) << run_.err;
        documents_ = DocumentsIn(sandbox_.Tree().Read(cpu_files::kUsageDocuments));
    }

    [[nodiscard]] std::vector<Batch> Log(const NumberedFile& kind) const {
        return Batches(sandbox_.Tree().Read(kind));
    }

    // Compares each document's load figures and time with the raw logs.
    void ExpectDocumentsAgreeWithLogs() const {
        const std::vector<Batch> global = Log(cpu_files::kGlobalLog);
        const std::vector<Batch> cores = Log(cpu_files::kCoresLog);
        ASSERT_EQ(global.size(), documents_.size());
        ASSERT_EQ(cores.size(), documents_.size());
        for (std::size_t i = 0; i < documents_.size(); ++i) {
            const auto cpu = documents_[i]["content"]["cpu"].GetArray();
            ASSERT_EQ(cpu.Size(), cores[i].size() - 2);
            EXPECT_EQ(String(documents_[i]["happenTime"]), global[i][0]);
            EXPECT_EQ(cpu[0]["cpuId"].GetInt(), -1);
            EXPECT_EQ(String(cpu[0]["cpuInfo"]), NumbersOf(global[i][3]));
            for (std::size_t core = 0; core + 3 < cores[i].size(); ++core) {
                const auto& entry = cpu[static_cast<rapidjson::SizeType>(core + 1)];
                const std::string& line = cores[i][core + 3];
                EXPECT_EQ(line.rfind("Cpu" + std::to_string(entry["cpuId"].GetInt()), 0), 0U)
                    << line;
                EXPECT_EQ(String(entry["cpuInfo"]), NumbersOf(line));
            }
        }
    }

    void ExpectLogsAreTakenFromTheUsageLog() const {
        const std::vector<Batch> usage = Log(cpu_files::kUsageLog);
        const std::vector<Batch> global = Log(cpu_files::kGlobalLog);
        const std::vector<Batch> selected = Log(cpu_files::kSelectedLog);
        ASSERT_EQ(usage.size(), global.size());
        ASSERT_EQ(usage.size(), selected.size());
        for (std::size_t i = 0; i < usage.size(); ++i) {
            EXPECT_EQ(global[i].size(), 6U);
            EXPECT_TRUE(std::equal(global[i].begin(), global[i].end(), usage[i].begin()));
            EXPECT_GE(selected[i].size(), 2U);  // the collection's own top at least
            for (const std::string& line : selected[i]) {
                EXPECT_THAT(usage[i], testing::Contains(line));
            }
        }
        for (const Batch& batch : Log(cpu_files::kThreadLog)) {
            EXPECT_GE(batch.size(), 2U);
            EXPECT_LE(batch.size(), 11U);
        }
    }

    void ExpectProcessesHaveTheirThreads() const {
        for (const JsonDocument& document : documents_) {
            const auto top10 = document["content"]["top10Procs"].GetArray();
            EXPECT_LE(top10.Size(), 10U);
            EXPECT_GE(top10.Size(), 1U);
            std::size_t threads = 0;
            for (const auto& process : top10) {
                threads += process["top10Threads"].Size();
                EXPECT_LE(process["top10Threads"].Size(), 10U);
            }
            EXPECT_GE(threads, 1U);
        }
    }

    Sandbox sandbox_;
    RunResult run_;
    std::vector<JsonDocument> documents_;
};

TEST_F(CpuCollectorRealTest, TheFilesOfARunAgreeWithOneAnother) {
    Collect(true);
    ASSERT_EQ(documents_.size(), 3U);
    ExpectDocumentsAgreeWithLogs();
    ExpectLogsAreTakenFromTheUsageLog();
    ExpectProcessesHaveTheirThreads();
}

// Numbers carry a point although the caller's locale has a comma.
TEST_F(CpuCollectorRealTest, TheCallersLocaleDoesNotCount) {
    const TempDir locales;
    const std::string locale = locales.Path() + "de_DE.UTF-8";
    if (sandbox_.RunCommand({"localedef", "-i", "de_DE", "-f", "UTF-8", locale}).waitStatus != 0) {
        GTEST_SKIP() << "localedef cannot make de_DE.UTF-8 here";
    }
    sandbox_.SetEnvironment("LOCPATH", locales.Path());
    sandbox_.SetEnvironment("LC_ALL", "de_DE.UTF-8");
    ASSERT_EQ(sandbox_.RunCommand({"/usr/bin/printf", "%.1f", "1,5"}).out, "1,5");
    Collect(false);
    ASSERT_EQ(documents_.size(), 3U);
    ExpectDocumentsAgreeWithLogs();
    for (const Batch& batch : Log(cpu_files::kGlobalLog)) {
        EXPECT_THAT(batch[3], testing::ContainsRegex(R"([0-9]\.[0-9] id)"));
    }
}

}  // namespace
}  // namespace zarn::test
