#include <gmock/gmock.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "formats/cpu.h"
#include "foundation/json.h"
#include "tests/support/lines.h"
#include "tests/support/manager_texts.h"
#include "tests/system/support/cpu_raw_text.h"
#include "tests/system/support/sandbox.h"

// The whole CPU line on the machine's own top and ps: collecting and analysing in one run, the
// analysis of the finished tree, the comparison of trees; under the user's locale as well.
namespace zarn::test {
namespace {

using testing::HasSubstr;
using testing::SizeIs;

constexpr std::size_t kSamples = 2;

// A process of a name that no other has, for as long as it lives.
class Probe {
public:
    Probe() : name_("zp" + std::to_string(::getpid())) {
        const std::string path = dir_.Path() + name_;
        std::filesystem::copy_file("/bin/sleep", path);
        std::string program = path;
        std::string duration = "1000";
        char* const arguments[] = {program.data(), duration.data(), nullptr};
        EXPECT_EQ(::posix_spawn(&pid_, path.c_str(), nullptr, nullptr, arguments, environ), 0);
    }
    Probe(const Probe&) = delete;
    Probe& operator=(const Probe&) = delete;
    ~Probe() {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }

    [[nodiscard]] const std::string& Name() const { return name_; }
    [[nodiscard]] std::string Pid() const { return std::to_string(pid_); }

private:
    TempDir dir_;
    std::string name_;
    pid_t pid_ = 0;
};

std::string AnalyzerSection(const std::string& process) {
    return R"({"job": ["global", "core", "process_set"], "peak_trought_threshold": 0.1,
        "process_set": {"probes": [")" +
           process + R"("]}})";
}

std::string CollectionAndAnalysis(const std::string& process, bool threads) {
    ConfigText config;
    config.parallel = R"(["CpuCollector"])";
    config.analyze = R"(["CpuAnalyzer"])";
    return config.Text(
        {{"CpuCollector", R"({"job": ["global", "core", "selected_process"], "interval": 0.5,
             "process": [")" + process +
                              R"("], "count": )" + std::to_string(kSamples) +
                              R"(, "thread_collector": )" + (threads ? "true" : "false") +
                              R"(, "json_output": true})"},
         {"CpuAnalyzer", AnalyzerSection(process)}});
}

std::string History(const std::string& tree, const std::string& process) {
    ConfigText config;
    config.analyze = R"(["CpuAnalyzer"])";
    config.more = R"(, "historyDataPath": ")" + tree + "\"";
    return config.Text({{"CpuAnalyzer", AnalyzerSection(process)}});
}

std::string Comparison(const std::string& versions, const std::string& process) {
    ConfigText config;
    config.compare = R"(["CpuComparator"])";
    config.versionMap = "{" + versions + "}";
    return config.Text({{"CpuComparator", R"({"job": ["global", "selected_process"],
        "process": [")" + process + "\"]}"}});
}

std::string DefaultText(double value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

// A statistics block says what the values say.
void ExpectStatistics(const JsonValue& block, const std::vector<double>& values) {
    ASSERT_FALSE(values.empty());
    EXPECT_EQ(block["meanUsage"].GetString(), std::to_string(Mean(values)));
    EXPECT_EQ(block["maxUsage"].GetString(),
              std::to_string(*std::max_element(values.begin(), values.end())));
    EXPECT_EQ(block["minUsage"].GetString(),
              std::to_string(*std::min_element(values.begin(), values.end())));
}

class CpuLineTest : public testing::Test {
protected:
    [[nodiscard]] std::vector<RawCpuSample> Raw(const NumberedFile& kind) const {
        return CutRawLog(tree_.Read(kind));
    }
    [[nodiscard]] std::vector<JsonDocument> Json(const NumberedFile& kind) const {
        return DocumentsIn(tree_.Read(kind));
    }

    void ExpectDocumentsOfTheRawText(unsigned threadRows) const;
    void ExpectGlobalAnalysisOfTheRawText() const;
    void ExpectCoreAnalysisOfTheRawText() const;
    void ExpectSetAnalysisOfTheRawText() const;
    void ExpectTable(const std::string& table) const;

    // Collects, analyses and holds every number against the raw text.
    void CollectAndCheck(bool threads) {
        const RunResult run = sandbox_.Run(CollectionAndAnalysis(probe_.Name(), threads));
        EXPECT_TRUE(run.Succeeded());
        EXPECT_THAT(run.out, HasSubstr("[CpuAnalyzer] CpuAnalyzer Finished!\n"));
        EXPECT_THAT(run.err, Not(HasSubstr("[Cpu"))) << run.err;
        tree_ = sandbox_.Tree();
        treeInside_ = sandbox_.RunDirInside();
        ExpectDocumentsOfTheRawText(threads ? 1 : 0);
        ExpectGlobalAnalysisOfTheRawText();
        ExpectCoreAnalysisOfTheRawText();
        ExpectSetAnalysisOfTheRawText();
    }

    Probe probe_;
    Sandbox sandbox_;
    RunTree tree_;            // of the collection
    std::string treeInside_;  // as the program calls it
};

void CpuLineTest::ExpectDocumentsOfTheRawText(unsigned threadRows) const {
    const auto usage = Raw(cpu_files::kUsageLog);
    const auto global = Raw(cpu_files::kGlobalLog);
    const auto cores = Raw(cpu_files::kCoresLog);
    const auto documents = Json(cpu_files::kUsageDocuments);
    ASSERT_THAT(usage, SizeIs(kSamples));
    ASSERT_THAT(global, SizeIs(kSamples));
    ASSERT_THAT(cores, SizeIs(kSamples));
    ASSERT_THAT(documents, SizeIs(kSamples));
    for (std::size_t i = 0; i < kSamples; ++i) {
        EXPECT_EQ(documents[i]["happenTime"].GetString(), usage[i].time);
        const JsonValue& cpu = documents[i]["content"]["cpu"];
        ASSERT_GE(cpu.Size(), 2U);
        for (const auto& entry : cpu.GetArray()) {
            const int id = entry["cpuId"].GetInt();
            const RawCpuSample& sample = id < 0 ? global[i] : cores[i];
            const std::string head = id < 0 ? "%Cpu\\(s\\)" : "Cpu" + std::to_string(id);
            std::istringstream numbers(entry["cpuInfo"].GetString());
            for (const char* field : {"us", "sy", "ni", "id", "wa", "hi", "si", "st"}) {
                double number = -1;
                numbers >> number;
                EXPECT_EQ(NumbersBefore({sample}, head, field), std::vector<double>{number});
            }
        }
        const JsonValue& selected = documents[i]["content"]["selectedProcs"];
        ASSERT_EQ(selected.Size(), 1U);
        EXPECT_THAT(selected[0]["procInfo"].GetString(),
                    testing::AllOf(HasSubstr(" " + probe_.Pid() + " "),
                                   testing::EndsWith(" " + probe_.Name())));
        EXPECT_EQ(selected[0]["top10Threads"].Size(), threadRows);
    }
}

void CpuLineTest::ExpectGlobalAnalysisOfTheRawText() const {
    const auto usage = Raw(cpu_files::kUsageLog);
    const auto documents = Json(cpu_files::kGlobalAnalysis);
    ASSERT_THAT(documents, SizeIs(3));
    const JsonValue& content = documents[0]["content"];
    for (const char* field : {"us", "sy", "id", "hi", "si"}) {
        ExpectStatistics(content[field], NumbersBefore(usage, "%Cpu\\(s\\)", field));
    }
    EXPECT_EQ(content["task"].GetString(),
              std::to_string(Mean(NumbersBefore(usage, "Tasks", "total"))));
    EXPECT_DOUBLE_EQ(content["loadAverage"][0].GetDouble(), Mean(LoadAverages(usage, 2)));
    EXPECT_DOUBLE_EQ(content["loadAverage"][1].GetDouble(), Mean(LoadAverages(usage, 0)));
    EXPECT_DOUBLE_EQ(content["loadAverage"][2].GetDouble(), Mean(LoadAverages(usage, 1)));
    const auto allProcesses = Json(cpu_files::kAllProcesses);
    ASSERT_THAT(allProcesses, SizeIs(kSamples));
    for (const JsonDocument& document : allProcesses) {
        EXPECT_GE(document["content"]["allProcsInfo"].Size(), 2U);
    }
}

void CpuLineTest::ExpectCoreAnalysisOfTheRawText() const {
    const auto cores = Raw(cpu_files::kCoresLog);
    const auto documents = Json(cpu_files::kCoreAnalysis);
    ASSERT_THAT(documents, SizeIs(1));
    const JsonValue& usage = documents[0]["content"]["cpuUsage"];
    EXPECT_EQ(usage.Size(), static_cast<unsigned>(::sysconf(_SC_NPROCESSORS_ONLN)));
    for (const auto& core : usage.GetArray()) {
        for (const char* field : {"us", "sy", "id", "hi", "si"}) {
            ExpectStatistics(core[field], NumbersBefore(cores, core["coreID"].GetString(), field));
        }
    }
    for (const auto& core : documents[0]["content"]["coresUsageSorted"].GetArray()) {
        const auto idle = NumbersBefore(cores, core["coreID"].GetString(), "id");
        EXPECT_EQ(core["meanUsage"].GetString(), std::to_string(100 - Mean(idle)));
    }
}

void CpuLineTest::ExpectSetAnalysisOfTheRawText() const {
    const auto documents = Json(cpu_files::kSelectedAnalysis);
    ASSERT_THAT(documents, SizeIs(1));
    const JsonValue& set = documents[0]["content"]["procSetInfo"]["probes"];
    const auto usage = Numbers(RowTokens(Raw(cpu_files::kUsageLog), probe_.Name(), 8));
    ASSERT_THAT(usage, SizeIs(kSamples));
    ExpectStatistics(set, usage);
    ASSERT_EQ(set["procInfo"].Size(), 1U);
    EXPECT_EQ(set["procInfo"][0]["procPID"].GetString(), probe_.Pid());
    EXPECT_EQ(set["procInfo"][0]["procCommand"].GetString(), probe_.Name());
}

// The table of two versions that are both the tree of the raw text.
void CpuLineTest::ExpectTable(const std::string& table) const {
    const auto global = Raw(cpu_files::kGlobalLog);
    const auto usage = Raw(cpu_files::kUsageLog);
    std::map<std::string, std::vector<double>> figures;
    for (const char* kind : {"total", "running", "sleeping", "stopped", "zombie"}) {
        figures[std::string("tasks_") + kind] = NumbersBefore(global, "Tasks", kind);
    }
    for (const char* kind : {"us", "sy", "ni", "id", "wa", "hi", "si", "st"}) {
        figures[std::string("cpu_") + kind] = NumbersBefore(global, "%Cpu\\(s\\)", kind);
    }
    for (const char* kind : {"total", "free", "used", "buff"}) {
        figures[std::string("mem_") + kind] =
            NumbersBefore(global, "[KMG]iB Mem", kind == std::string("buff") ? "buff/cache" : kind);
    }
    for (const char* kind : {"total", "free", "used", "avail"}) {
        figures[std::string("swap_") + kind] = NumbersBefore(global, "[KMG]iB Swap", kind);
    }
    figures["load_avg_1_min"] = LoadAverages(global, 0);
    figures["load_avg_5_min"] = LoadAverages(global, 1);
    figures["load_avg_15_min"] = LoadAverages(global, 2);
    const std::vector<std::pair<const char*, std::size_t>> tokens{
        {"_virt", 4}, {"_res", 5}, {"_shr", 6}, {"_cpu", 8}, {"_mem", 9}};
    for (const auto& [suffix, index] : tokens) {
        figures[probe_.Name() + suffix] = Numbers(RowTokens(usage, probe_.Name(), index));
    }
    EXPECT_THAT(table, testing::StartsWith("version,again,first,\n"));
    for (const auto& [name, values] : figures) {
        const std::vector<std::pair<const char*, double>> reduced{
            {"_max", *std::max_element(values.begin(), values.end())},
            {"_min", *std::min_element(values.begin(), values.end())},
            {"_avg", Mean(values)}};
        for (const auto& [suffix, value] : reduced) {
            std::string row = "\n" + name + suffix + ",";
            row.append(DefaultText(value)).append(",").append(DefaultText(value)).append(",\n");
            EXPECT_THAT(table, HasSubstr(row));
        }
    }
    EXPECT_THAT(table, HasSubstr("\n" + probe_.Name() + "_time_max,"));
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'),
              static_cast<std::ptrdiff_t>(1 + 3 * (figures.size() + 1)));
}

TEST_F(CpuLineTest, NumbersAreThoseOfTheMachinesOwnTools) {
    CollectAndCheck(true);
    const NumberedFile analyses[] = {cpu_files::kGlobalAnalysis, cpu_files::kAllProcesses,
                                     cpu_files::kCoreAnalysis, cpu_files::kSelectedAnalysis};
    std::vector<std::string> first;
    for (const NumberedFile& kind : analyses) {
        first.push_back(tree_.Read(kind));
    }
    const RunResult history = sandbox_.Run(History(treeInside_, probe_.Name()));
    EXPECT_THAT(history.out, HasSubstr("[CpuAnalyzer] CpuAnalyzer Finished!\n"));
    for (std::size_t i = 0; i < first.size(); ++i) {
        EXPECT_EQ(tree_.Read(analyses[i]), first[i] + first[i]);
    }
    const RunResult comparison = sandbox_.Run(Comparison(
        R"("first": ")" + treeInside_ + R"(", "again": ")" + treeInside_ + "\"", probe_.Name()));
    EXPECT_TRUE(comparison.Succeeded());
    EXPECT_THAT(comparison.err, Not(HasSubstr("[CpuComparator]")));
    ExpectTable(sandbox_.Read("csv/cpu/cpu_comparator_result.csv"));
}

// A locale of a decimal comma, made where only this test finds it.
class GermanLocale {
public:
    explicit GermanLocale(Sandbox& sandbox) {
        const RunResult made = sandbox.RunCommand(
            {"localedef", "-i", "de_DE", "-f", "UTF-8", dir_.Path() + "de_DE.UTF-8"});
        made_ = made.Succeeded();
        sandbox.SetEnvironment("LOCPATH", dir_.Path());
        sandbox.SetEnvironment("LC_ALL", "de_DE.UTF-8");
    }

    [[nodiscard]] bool IsMade() const { return made_; }
    static constexpr const char* kNeedsLocales = "making a locale needs the package locales";

private:
    TempDir dir_;
    bool made_ = false;
};

TEST_F(CpuLineTest, TheUsersLocaleChangesNoNumber) {
    const GermanLocale locale(sandbox_);
    if (!locale.IsMade()) {
        GTEST_SKIP() << GermanLocale::kNeedsLocales;
    }
    const std::string plain = sandbox_.RunCommand({"top", "-b", "-n", "1"}).out;
    ASSERT_THAT(plain, testing::ContainsRegex("[0-9],[0-9] id,")) << "not the locale";
    CollectAndCheck(false);
    const RunResult comparison = sandbox_.Run(Comparison(
        R"("first": ")" + treeInside_ + R"(", "again": ")" + treeInside_ + "\"", probe_.Name()));
    EXPECT_TRUE(comparison.Succeeded());
    ExpectTable(sandbox_.Read("csv/cpu/cpu_comparator_result.csv"));
}

// The text with a comma in every number, as tools print it under the locale.
std::string WithCommas(std::string text) {
    std::replace(text.begin(), text.end(), '.', ',');
    return text;
}

// Installs a tool that prints `text`, with commas unless it runs under LC_ALL=C.
void LocalisedTool(Sandbox& sandbox, const std::string& name, const std::string& text) {
    sandbox.Tool(name, "if [ \"$LC_ALL\" = C ]; then\ncat <<'END'\n" + text +
                           "END\nelse\ncat <<'END'\n" + WithCommas(text) + "END\nfi\n");
}

// Every file of a tree but the environment's, times left out.
std::map<std::string, std::string> Contents(const RunTree& tree) {
    std::map<std::string, std::string> contents;
    for (const auto& [name, text] : tree.Texts()) {
        if (name.rfind("env_info/", 0) != 0) {
            contents[WithoutTimes(name)] = WithoutTimes(text);
        }
    }
    return contents;
}

std::string FakeSample(const std::string& us) {
    return "top - 20:20:06 up 4 min,  0 user,  load average: 0.69, 0.22, 0.07\n"
           "Tasks:  69 total,   1 running,  68 sleeping,   0 stopped,   0 zombie\n"
           "%Cpu(s): " +
           us +
           " us,  2.0 sy,  0.0 ni, 80.0 id,  0.0 wa,  0.5 hi,  0.0 si,  0.0 st\n"
           "MiB Mem :  24105.6 total,  23266.1 free,    567.1 used,    520.4 buff/cache\n"
           "MiB Swap:      0.0 total,      0.0 free,      0.0 used.  23538.5 avail Mem\n"
           "\n"
           "  PID USER      PR  NI    VIRT    RES    SHR S  %CPU  %MEM     TIME+ COMMAND\n"
           "    7 root      20   0  148124 120420  19348 R  " +
           us + "   0.5   1:00.50 app\n";
}

// What the whole line makes of tools that print by their locale.
std::map<std::string, std::string> LineOfFakeTools(Sandbox& sandbox) {
    LocalisedTool(sandbox, "top", FakeSample("12.5") + FakeSample("50.0"));
    LocalisedTool(sandbox, "ps", "root 7 12.5 0.5 148124 120420 1 app\n");
    EXPECT_THAT(sandbox.Run(CollectionAndAnalysis("app", true)).out,
                HasSubstr("[CpuAnalyzer] CpuAnalyzer Finished!\n"));
    const std::string tree = sandbox.RunDirInside();
    std::map<std::string, std::string> contents = Contents(sandbox.Tree());
    EXPECT_TRUE(sandbox.Run(Comparison(R"("v1": ")" + tree + "\"", "app")).Succeeded());
    contents.merge(Contents(sandbox.Tree()));
    return contents;
}

TEST(CpuLineOfFakeTools, IsTheSameUnderEveryLocale) {
    Sandbox plain;
    Sandbox german;
    const GermanLocale locale(german);
    if (!locale.IsMade()) {
        GTEST_SKIP() << GermanLocale::kNeedsLocales;
    }
    const auto expected = LineOfFakeTools(plain);
    const auto found = LineOfFakeTools(german);
    EXPECT_EQ(found, expected);
    EXPECT_THAT(expected.at("csv/cpu/cpu_comparator_result.csv"),
                HasSubstr("\ncpu_us_max,50,\ncpu_us_min,12.5,\n"));
    EXPECT_THAT(german.RunCommand({"top"}).out, HasSubstr("%Cpu(s): 12,5 us"));
}

}  // namespace
}  // namespace zarn::test
