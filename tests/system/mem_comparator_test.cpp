#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "benchmarks/support/mem_generator.h"
#include "formats/mem.h"
#include "foundation/json.h"
#include "tests/support/manager_texts.h"
#include "tests/support/mem_lines.h"
#include "tests/support/run_tree.h"
#include "tests/system/support/examples.h"
#include "tests/system/support/sandbox.h"

// The comparison of collected trees by the built program.
namespace zarn::test {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::string Comparison(const std::string& versions, const std::string& processes) {
    ConfigText config;
    config.compare = R"(["MemComparator"])";
    config.versionMap = "{" + versions + "}";
    return config.Text({{"MemComparator", R"({"job": ["system_mem", "process_mem"],
        "process": [)" + processes + "]}"}});
}

class MemComparatorSystemTest : public testing::Test {
protected:
    // A tree below /opt/usr/mnt/zarn/, as a collector leaves it.
    void WriteTree(const std::string& name, const std::string& system,
                   const std::string& processes) {
        const RunTree tree(sandbox_.UsrDir() + "mnt/zarn/" + name + "/");
        tree.Write(RunTree::NameOf(mem_files::kSystemSamples), system);
        tree.Write(RunTree::NameOf(mem_files::kProcessSamples), processes);
        tree.MakeFolder(mem_files::kRawFolder);
    }

    // The rows of the last run's table that begin with `label`, without it.
    [[nodiscard]] std::vector<std::string> Rows(const std::string& table,
                                                const std::string& label) const {
        std::vector<std::string> rows;
        std::istringstream lines(sandbox_.Read("csv/mem/" + table));
        for (std::string line; std::getline(lines, line);) {
            if (line.rfind(label + ",", 0) == 0) {
                rows.push_back(line.substr(label.size() + 1));
            }
        }
        return rows;
    }

    Sandbox sandbox_;
};

// Least, average and greatest value of a column, by the JSON library alone.
std::string Figures(const std::string& text, const std::string& command, const char* column) {
    double least = 1e300;
    double greatest = -1e300;
    double sum = 0.0;
    double count = 0.0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        JsonDocument document;
        EXPECT_TRUE(ParseJson(line, document));
        for (const JsonValue& row : document["content"][0]["process"].GetArray()) {
            if (command == row["COMMAND"].GetString()) {
                const double value = std::stod(row[column].GetString());
                least = std::min(least, value);
                greatest = std::max(greatest, value);
                sum += value;
                count += 1.0;
            }
        }
    }
    return std::to_string(least) + "," + std::to_string(sum / count) + "," +
           std::to_string(greatest) + ",";
}

TEST_F(MemComparatorSystemTest, ShowsWhatTheDocumentsHold) {
    std::vector<std::string> texts;
    for (const std::uint64_t seed : {1U, 2U}) {
        const bench::MemGenerator generator(seed);
        texts.push_back(generator.ProcessDocuments(100, 20));
        WriteTree("v" + std::to_string(seed), generator.SystemDocuments(100), texts.back());
    }
    const RunResult run =
        sandbox_.Run(Comparison(R"("b": "/opt/usr/mnt/zarn/v2/", "a": "/opt/usr/mnt/zarn/v1/")",
                                R"("service_10", "service_3")"));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_EQ(run.LastLine(), "[Main] Collection jobs finished.");
    EXPECT_THAT(run.err, Not(HasSubstr("MemComparator")));
    EXPECT_THAT(sandbox_.Read("csv/mem/mem_process_info.csv"),
                StartsWith("process,a(service_10),,,b(service_10),,,\n"));
    for (const char* field : {"VSS", "RSS", "PSS", "USS", "SP_ALLOC"}) {
        const std::vector<std::string> rows = Rows("mem_process_info.csv", field);
        ASSERT_EQ(rows.size(), 2U);
        EXPECT_EQ(rows[0],
                  Figures(texts[0], "service_10", field) + Figures(texts[1], "service_10", field));
        EXPECT_EQ(rows[1],
                  Figures(texts[0], "service_3", field) + Figures(texts[1], "service_3", field));
    }
    EXPECT_EQ(Rows("mem_system_info.csv", "project"), std::vector<std::string>{"a,,,b,,,"});
    EXPECT_THAT(sandbox_.Read("env_info/time_cost.log"), StartsWith("[MemComparator] cost time: "));
}

TEST_F(MemComparatorSystemTest, RunsTheExample) {
    for (const char* version : {"baseline", "candidate"}) {
        WriteTree(version, MemSystemLine("20240101120000000"),
                  MemProcessLine("20240101120000000", {{"9", "planner_node", {}}}));
    }
    const RunResult run = sandbox_.Run(ExampleText("mem_compare.json"));
    EXPECT_THAT(run.err, Not(HasSubstr("MemComparator")));
    EXPECT_EQ(Rows("mem_process_info.csv", "USS"),
              std::vector<std::string>{"8.000000,8.000000,8.000000,8.000000,8.000000,8.000000,"});
}

TEST_F(MemComparatorSystemTest, AVersionWithoutAFileShowsNoValues) {
    WriteTree("good", MemSystemLine("1"), MemProcessLine("1", {{"9", "app", {}}}));
    std::filesystem::create_directories(sandbox_.UsrDir() + "mnt/zarn/bare/json");
    const RunResult run = sandbox_.Run(Comparison(
        R"("v1": "/opt/usr/mnt/zarn/bare/", "v2": "/opt/usr/mnt/zarn/good")", R"("app")"));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_THAT(run.err,
                HasSubstr("[MemComparator] Only one system mem data file should be used!\n"
                          "[MemComparator] Failed to compare [v1] system mem data!\n"
                          "Can not open /opt/usr/mnt/zarn/bare//raw_data/mem/\n"
                          "[MemComparator] Only one process mem data file should be used!\n"
                          "[MemComparator] Failed to compare [v1] process mem data!\n"));
    EXPECT_EQ(Rows("mem_system_info.csv", "sum"),
              std::vector<std::string>{"N/A,N/A,N/A,1.000000,1.000000,1.000000,"});
    EXPECT_EQ(Rows("mem_process_info.csv", "RSS"),
              std::vector<std::string>{"N/A,N/A,N/A,8.000000,8.000000,8.000000,"});
}

TEST_F(MemComparatorSystemTest, AFullDiskIsTold) {
    if (!sandbox_.LimitSpace(std::size_t{1} << 20U)) {
        GTEST_SKIP() << Sandbox::kNeedsRoot;
    }
    WriteTree("good", MemSystemLine("1"), MemProcessLine("1", {{"9", "app", {}}}));
    std::string names;
    for (int i = 0; i < 8000; ++i) {
        names.append(names.empty() ? "\"" : ",\"").append(std::to_string(i) + "\"");
    }
    const RunResult run = sandbox_.Run(Comparison(R"("v": "/opt/usr/mnt/zarn/good/")", names));
    EXPECT_TRUE(run.Succeeded());
    EXPECT_THAT(run.err, HasSubstr("[MemComparator] Failed to save process comparison data.\n"
                                   "[ZarnManager] comparators mode MemComparator failed!\n"));
    EXPECT_EQ(sandbox_.Read("csv/mem/mem_process_info.csv"), "");
    EXPECT_EQ(Rows("mem_system_info.csv", "sum").size(), 1U);
}

}  // namespace
}  // namespace zarn::test
