#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <map>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

#include "formats/mem.h"
#include "foundation/json.h"
#include "foundation/time.h"
#include "tests/support/lines.h"
#include "tests/support/manager_texts.h"
#include "tests/system/support/board_runner.h"
#include "tests/system/support/program_lock.h"
#include "tests/system/support/programs.h"

// Memory collections on the virtual board, whose programs' memory is known: what the documents say
// must be what the programs have.
namespace zarn::test {
namespace {

using testing::HasSubstr;
using testing::Not;

// The scenarios' plans, in KB, told a second time.
constexpr std::uint64_t kSharedKb = 8192;
constexpr std::uint64_t kBaseKb = 1572864;
constexpr std::uint64_t kOwnKb = 1024;  // what a program has at most besides its plan
const std::map<std::string, std::uint64_t> kPrivateKb = {
    {"camera", 24576}, {"planner", 32768}, {"recorder", 16384}, {"logger", 8192}};
constexpr std::uint64_t kLeakKbPerS = 512;
// What a plan grows in half a second: so late its program, or the board's file, may be where the
// machine has much else to do.
constexpr std::uint64_t kLateKb = kLeakKbPerS / 2;

constexpr const char* kAnalyzer = R"({"job": ["system_mem", "process_mem"],
    "peak_trought_threshold": 0.0001, "system_field": "used", "process_field": "USS",
    "process": ["planner"]})";

// The tables of a log, without the lines that part them.
std::vector<std::vector<std::string>> Tables(const std::string& log) {
    std::vector<std::vector<std::string>> tables(1);
    for (const std::string& line : LinesIn(log)) {
        if (line.rfind("-----", 0) == 0) {
            tables.emplace_back();
        } else {
            tables.back().push_back(line);
        }
    }
    EXPECT_TRUE(tables.back().empty());
    tables.pop_back();
    return tables;
}

// The numbers of the lines of smaps that hold one of the words, added up.
std::uint64_t SumOf(const std::vector<std::string>& smaps, const std::vector<std::string>& words) {
    std::uint64_t sum = 0;
    for (const std::string& line : smaps) {
        if (std::any_of(words.begin(), words.end(), [&line](const std::string& word) {
                return line.find(word) != std::string::npos;
            })) {
            sum += std::stoull(line.substr(line.find(':') + 1));
        }
    }
    return sum;
}

std::uint64_t Moment(const std::string& time) {
    std::uint64_t milliseconds = 0;
    EXPECT_TRUE(TimeStringToTimestamp(time, milliseconds)) << time;
    return milliseconds;
}

std::uint64_t Number(const JsonValue& text) {
    return std::stoull(text.GetString());
}

class MemOnBoard : public testing::Test {
protected:
    void SetUp() override {
        if (ProgramStart().size() > 1 || !std::filesystem::exists(ProgramPath("zarn-board"))) {
            GTEST_SKIP() << "the board needs programs of this machine's processor";
        }
    }

    // Collects three samples of the system and of all programs of the scenario.
    void Collect(const std::string& scenario) {
        ConfigText config;
        config.serial = R"(["MemCollector"])";
        config.analyze = R"(["MemAnalyzer"])";
        const std::string text = config.Text({{"MemAnalyzer", kAnalyzer}, {"MemCollector", R"({
            "job": ["system_mem", "process_mem"], "count": 3, "interval": 1,
            "process": ["camera", "planner", "recorder", "logger"]})"}});
        BoardRun run;
        run.options = "--scenario " + scenario;
        run.before = "date +%Y%m%d%H%M%S%3N >begun; trap 'date +%Y%m%d%H%M%S%3N >ended' EXIT";
        std::string launched;
        ASSERT_TRUE(GetCurrentTimeString(launched));
        launched_ = Moment(launched);
        ASSERT_EQ(board_.Run(text, run), 0);
        begun_ = Moment(LinesIn(board_.Files().Read("begun")).front());
        ended_ = Moment(LinesIn(board_.Files().Read("ended")).front());
        EXPECT_THAT(board_.Err(), Not(HasSubstr("[MemCollector]")));
        tree_ = board_.Tree();
    }

    // Sets the run beside itself; the rows of a table by their names.
    std::map<std::string, std::string> Compare(const std::string& table) {
        ConfigText config;
        config.compare = R"(["MemComparator"])";
        config.versionMap =
            R"({"v": "/opt/)" + tree_.Path().substr(board_.Files().Path().size()) + "\"}";
        EXPECT_EQ(
            board_.Run(config.Text({{"MemComparator", R"({"job": ["system_mem", "process_mem"],
                             "process": ["planner"]})"}})),
            0);
        std::map<std::string, std::string> rows;
        for (const std::string& line :
             LinesIn(board_.Tree().Read(std::string(mem_files::kCsvFolder) + "/" + table))) {
            rows[line.substr(0, line.find(','))] = line;
        }
        return rows;
    }

    [[nodiscard]] std::vector<JsonDocument> Documents(const NumberedFile& kind) const {
        return DocumentsIn(tree_.Read(kind));
    }

    // When a document's sample was taken on the board, at the earliest and at the latest, ms: the
    // board began between the launcher's start and the command's, the sample ended before the next
    // document's began.
    struct Span {
        std::uint64_t least = 0;
        std::uint64_t most = 0;
    };
    [[nodiscard]] Span SpanOf(const std::vector<JsonDocument>& documents, std::size_t i) const {
        const std::uint64_t end =
            i + 1 < documents.size() ? Moment(documents[i + 1]["happenTime"].GetString()) : ended_;
        return {Moment(documents[i]["happenTime"].GetString()) - begun_, end - launched_};
    }

    ProgramLock lock_;
    BoardRunner board_;
    RunTree tree_;
    std::uint64_t launched_ = 0;
    std::uint64_t begun_ = 0;
    std::uint64_t ended_ = 0;
};

// Their plans do not move in the time of the test.
TEST_F(MemOnBoard, RowsOfSteadyProgramsAreTheSumsOfTheirMappings) {
    Collect("memory_steady");
    const auto documents = Documents(mem_files::kProcessSamples);
    ASSERT_EQ(documents.size(), 3U);
    for (std::size_t i = 0; i < documents.size(); ++i) {
        const JsonValue& rows = documents[i]["content"][0]["process"];
        ASSERT_EQ(rows.Size(), 4U);
        for (const JsonValue& row : rows.GetArray()) {
            const std::string name = row["COMMAND"].GetString();
            const auto smaps =
                Tables(tree_.Read(tree_.OnlyFile(
                           mem_files::kRawFolder,
                           std::string("soc_gea_process_smaps_") + row["PID"].GetString() + "_1_")))
                    .at(i);
            EXPECT_EQ(Number(row["RSS"]), SumOf(smaps, {"Rss"})) << name;
            EXPECT_EQ(Number(row["PSS"]), SumOf(smaps, {"Pss"})) << name;
            EXPECT_EQ(Number(row["USS"]), SumOf(smaps, {"Private_Clean", "Private_Dirty"})) << name;
            EXPECT_EQ(Number(row["HugePages"]), SumOf(smaps, {"AnonHugePages"})) << name;
            EXPECT_GE(Number(row["USS"]), kPrivateKb.at(name));
            EXPECT_LE(Number(row["USS"]), kPrivateKb.at(name) + kOwnKb);
            const std::uint64_t shared = name == "logger" ? 0 : kSharedKb;
            EXPECT_GE(Number(row["RSS"]), kPrivateKb.at(name) + shared);
            EXPECT_LE(Number(row["RSS"]), kPrivateKb.at(name) + shared + kOwnKb);
        }
    }
}

TEST_F(MemOnBoard, ALeakingProgramLiesOnItsPlan) {
    Collect("memory_leak");
    const auto documents = Documents(mem_files::kProcessSamples);
    ASSERT_EQ(documents.size(), 3U);
    for (std::size_t i = 0; i < documents.size(); ++i) {
        const Span span = SpanOf(documents, i);
        const std::uint64_t least = kPrivateKb.at("planner") + kLeakKbPerS * span.least / 1000;
        const std::uint64_t most =
            kPrivateKb.at("planner") + kLeakKbPerS * span.most / 1000 + kOwnKb;
        for (const JsonValue& row : documents[i]["content"][0]["process"].GetArray()) {
            if (std::string(row["COMMAND"].GetString()) != "planner") {
                continue;
            }
            EXPECT_GE(Number(row["USS"]) + kLateKb, least);
            EXPECT_LE(Number(row["USS"]), most);
            EXPECT_GE(Number(row["RSS"]) + kLateKb, least + kSharedKb);
            EXPECT_LE(Number(row["RSS"]), most + kSharedKb);
            EXPECT_EQ(Number(row["Threads"]), 8U);
            // An eighth of the private memory, as at the start.
            EXPECT_GE(Number(row["SP_ALLOC"]) + 64, least / 8);
            EXPECT_LE(Number(row["SP_ALLOC"]), most / 8);
        }
    }
}

TEST_F(MemOnBoard, WhatIsInUseIsTheBaseAndAllPlans) {
    Collect("memory_leak");
    const auto documents = Documents(mem_files::kSystemSamples);
    ASSERT_EQ(documents.size(), 3U);
    for (std::size_t i = 0; i < documents.size(); ++i) {
        const JsonValue& info = documents[i]["content"][0]["memInfo"];
        const Span span = SpanOf(documents, i);
        std::uint64_t least = kBaseKb + kSharedKb;
        for (const auto& [name, kb] : kPrivateKb) {
            least += kb;
        }
        const std::uint64_t most = least + kLeakKbPerS * span.most / 1000;
        least += kLeakKbPerS * span.least / 1000;
        EXPECT_GE(Number(info["used"]) + kLateKb, least);
        EXPECT_LE(Number(info["used"]), most);
        EXPECT_EQ(Number(info["total"]), 8388608U);
        EXPECT_EQ(Number(info["slabInfo"]), 131072U);
        EXPECT_EQ(Number(info["kermod"]), 65536U);
        EXPECT_EQ(Number(info["pagetable"]), 24576U);
        EXPECT_EQ(Number(info["kernelStack"]), 8192U);
        EXPECT_EQ(Number(info["cache"]), 1048576U);
    }
}

// What the analysis and the comparison say of these values, told by other code.
void ExpectExtremes(const std::vector<std::uint64_t>& values, const JsonValue& analysis,
                    const std::string& row) {
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    const double mean =
        static_cast<double>(std::accumulate(values.begin(), values.end(), std::uint64_t{0})) /
        static_cast<double>(values.size());
    EXPECT_EQ(Number(analysis["minMemValue"]), *least);
    EXPECT_EQ(Number(analysis["maxMemValue"]), *most);
    EXPECT_NEAR(std::stod(analysis["meanMemValue"].GetString()), mean, 1.0);
    std::istringstream cells(row);
    std::string cell;
    std::vector<double> numbers;
    (void)std::getline(cells, cell, ',');
    while (std::getline(cells, cell, ',')) {
        numbers.push_back(std::stod(cell));
    }
    ASSERT_EQ(numbers.size(), 3U) << row;
    EXPECT_EQ(numbers[0], static_cast<double>(*least));
    EXPECT_NEAR(numbers[1], mean, 1e-5);
    EXPECT_EQ(numbers[2], static_cast<double>(*most));
}

TEST_F(MemOnBoard, AnalysisAndComparisonGiveTheExtremesOfTheDocuments) {
    Collect("memory_leak");
    std::vector<std::uint64_t> used;
    for (const JsonDocument& document : Documents(mem_files::kSystemSamples)) {
        used.push_back(Number(document["content"][0]["memInfo"]["used"]));
    }
    std::vector<std::uint64_t> uss;
    for (const JsonDocument& document : Documents(mem_files::kProcessSamples)) {
        for (const JsonValue& row : document["content"][0]["process"].GetArray()) {
            if (std::string(row["COMMAND"].GetString()) == "planner") {
                uss.push_back(Number(row["USS"]));
            }
        }
    }
    ASSERT_EQ(used.size() + uss.size(), 6U);
    const auto system = Documents(mem_files::kSystemAnalysis);
    const auto processes = Documents(mem_files::kProcessAnalysis);
    ASSERT_EQ(system.size() + processes.size(), 2U);
    ASSERT_EQ(processes[0]["content"].Size(), 1U);
    ExpectExtremes(used, system[0]["content"][0], Compare("mem_system_info.csv")["used"]);
    ExpectExtremes(uss, processes[0]["content"][0], Compare("mem_process_info.csv")["USS"]);
}

TEST_F(MemOnBoard, TheSharePoolsSumIsThatOfItsRows) {
    Collect("memory_leak");
    const auto tables = Tables(tree_.Read(mem_files::kSharePoolLog));
    ASSERT_EQ(tables.size(), 3U);
    for (const auto& table : tables) {
        ASSERT_EQ(table.size(), 6U);  // total, head, server, two programs, guard
        std::uint64_t sum = 0;
        for (std::size_t row = 2; row < 5; ++row) {
            std::istringstream cells(table[row]);
            std::uint64_t pid = 0;
            std::uint64_t group = 0;
            std::uint64_t kb = 0;
            cells >> pid >> group >> kb;
            sum += kb;
        }
        // The two were read one after the other, and the board may have written between them.
        const std::size_t at = table[0].find("Total size: ");
        ASSERT_NE(at, std::string::npos);
        const std::uint64_t total = std::stoull(table[0].substr(at + 12));
        EXPECT_LE(total, sum);
        EXPECT_LE(sum - total, 64U);
        EXPECT_THAT(table[3], HasSubstr("camera"));
        EXPECT_THAT(table[4], HasSubstr("planner"));
        EXPECT_EQ(table[5].rfind("guard ", 0), 0U);
    }
}

}  // namespace
}  // namespace zarn::test
