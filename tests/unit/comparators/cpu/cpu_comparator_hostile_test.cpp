#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <thread>

#include "tests/support/amounts.h"
#include "tests/support/ordinary_rights.h"
#include "tests/unit/comparators/cpu/comparison_fixture.h"

namespace zarn {
namespace {

using test::Captured;
using test::GlobalSample;
using test::kStopLine;
using test::UsageRow;
using test::UsageSample;

constexpr const char* kBothJobs = R"({"job": ["global", "selected_process"], "process": ["app"]})";
constexpr std::size_t kHugeLine = test::Amount(16U << 20U);

class HostileComparison : public test::ComparisonFixture {
protected:
    // Compares one version with these two logs.
    Captured CompareLogs(std::string_view global, std::string_view usage) {
        AddLog("v1", "cpu_global_1_1.log", global);
        AddLog("v1", "soc_gea_cpu_usage_info_1_1.log", usage);
        return Compare(kBothJobs);
    }
};

// One hostile pair of logs with the lines it gives and a cell of each kind.
struct HostileLogs {
    const char* what;
    std::string global;
    std::string usage;
    std::string words;  // on the error stream
    const char* tasks;  // maximum of tasks_total and of app_cpu
    const char* cpu;
};

std::string Torn(const std::string& sample, const char* last) {
    return sample.substr(0, sample.find(last) + std::string_view(last).size());
}

std::string Failed(const std::string& line) {
    return "[CpuComparator] Failed to ParseCommonInfo " + line + "\n";
}

std::string Unknown(const std::string& kind) {
    return "[CpuComparator] Incorrect CpuField " + kind +
           "\n[CpuComparator] Invalid CpuFieldType.\n";
}

std::string WithCarriageReturns(const std::string& text) {
    std::string result;
    for (const char c : text) {
        result += c == '\n' ? std::string("\r\n") : std::string(1, c);
    }
    return result;
}

std::vector<HostileLogs> HostileCases() {
    const std::string noNumber = "[Utils] Invalid argument\n";
    const std::string good = GlobalSample(5);
    const std::string row = UsageSample(UsageRow("app", 10));
    std::string unknownKind = good;
    unknownKind.replace(unknownKind.find("sleeping"), 8, "d-sleep ");
    return {
        {"zero bytes", "", "", "", "N/A,", "N/A,"},
        {"blank lines", "\n\n\n", "\n \n\n", "", "N/A,", "N/A,"},
        {"no final newline", good.substr(0, good.size() - 2), row.substr(0, row.size() - 2), "",
         "5,", "10,"},
        {"carriage returns", WithCarriageReturns(good + good), WithCarriageReturns(row + row), "",
         "5,", "10,"},
        {"time lines only", "20260102104244123\n\n20260102104245123\n\n", "20260102104244123\n\n",
         Failed("20260102104244123") + Failed("20260102104245123"), "N/A,", "N/A,"},
        {"torn in a line", good + Torn(GlobalSample(9), "1 runn"), row + "7 root 20 0 100 5",
         Unknown("runn") + Failed("Tasks:  9 total,   1 runn") +
             Failed("Tasks:  9 total,   1 runn"),
         "5,", "10,"},
        {"torn behind a line", Torn(GlobalSample(9), "0 zombie"), row,
         Failed("Tasks:  9 total,   1 running,  68 sleeping,   0 stopped,   0 zombie"), "9,",
         "10,"},
        {"an unknown kind spoils its line only", unknownKind, row,
         Unknown("d-sleep") +
             Failed("Tasks:  5 total,   1 running,  68 d-sleep ,   0 stopped,   0 zombie"),
         "N/A,", "10,"},
        {"no numbers", "t\ntop: x\nTasks: x total\n%Cpu: x us\nMem: x total\nSwap: x total\n",
         "7 root 20 0 x x x S x x x:x app\n",
         noNumber + Failed("top: x") + noNumber + Failed("Tasks: x total") + noNumber +
             Failed("%Cpu: x us") + noNumber + Failed("Mem: x total") + noNumber +
             Failed("Swap: x total") + noNumber + noNumber + noNumber + noNumber + noNumber +
             noNumber + "[CpuComparator] Failed to parse cpu app minute value.\n",
         "N/A,", "N/A,"},
        {"bad times", good,
         UsageSample("7 root 20 0 1 1 1 S 3.0 1 77 app\n") +
             UsageSample("7 root 20 0 1 1 1 S 4.0 1 0:x app\n"),
         "[CpuComparator] Failed to parse cpu app time\n" + noNumber +
             "[CpuComparator] Failed to parse cpu app second value.\n",
         "5,", "4,"},
        {"more lines than a summary has", good.substr(0, good.size() - 1) + "and\nmore\n", row, "",
         "5,", "10,"},
    };
}

TEST_F(HostileComparison, GoesOnByItsLines) {
    for (const HostileLogs& logs : HostileCases()) {
        const Captured printed = CompareLogs(logs.global, logs.usage);
        EXPECT_TRUE(passed_) << logs.what;
        EXPECT_EQ(printed.out, "") << logs.what;
        EXPECT_EQ(printed.err, logs.words) << logs.what;
        EXPECT_EQ(Row("tasks_total_max"), logs.tasks) << logs.what;
        EXPECT_EQ(Row("app_cpu_max"), logs.cpu) << logs.what;
    }
}

TEST_F(HostileComparison, LinesOf16MegabytesAreReadAndQuotedInPart) {
    const std::string huge(kHugeLine, 'x');
    const std::string global = "t\n" + huge + "\nTasks: 1 " + huge + "\n%Cpu: " + huge +
                               "\nMem: 1 total," + huge + "\n" + huge + "\n\n" + GlobalSample(5);
    const std::string usage = UsageSample(huge + " app\n" + huge + "\n") +
                              UsageSample("7 root 20 0 100 50 25 S 8 1.5 0:02.50 " + huge + " app");
    const Captured printed = CompareLogs(global, usage);
    EXPECT_TRUE(passed_);
    EXPECT_EQ(Row("tasks_total_max"), "5,");
    EXPECT_EQ(Row("app_cpu_max"), "8,");
    EXPECT_EQ(printed.err,
              "[Utils] Invalid argument\n" + Failed(std::string(511, 'x')) +
                  Unknown(std::string(511, 'x')) + Failed("Tasks: 1 " + std::string(502, 'x')) +
                  Failed("%Cpu: " + std::string(505, 'x')) +
                  Failed("Mem: 1 total," + std::string(498, 'x')) + Failed(std::string(511, 'x')));
}

TEST_F(HostileComparison, LinesOfManyPiecesAreLinear) {
    std::string pieces;
    while (pieces.size() < kHugeLine) {
        pieces += "1 total,";
    }
    const std::string usage = std::string(kHugeLine, ' ') + std::string(kHugeLine, ':') + " app\n";
    const Captured printed =
        CompareLogs("t\ntop:1,1,1\nTasks: " + pieces + "\n" + std::string(kHugeLine, ':') + "\n" +
                        std::string(kHugeLine, ',') + "\n" + std::string(kHugeLine, ' ') + ".\n",
                    usage);
    EXPECT_TRUE(passed_);
    EXPECT_EQ(printed.out, "");
    EXPECT_EQ(Row("tasks_total_avg"), "1,");
    EXPECT_EQ(Row("app_cpu_max"), "N/A,");
}

TEST_F(HostileComparison, BinaryLogsAreReadToTheirEnd) {
    std::string bytes(1 << 16, '\0');
    std::uint32_t state = 1;
    for (char& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24U);
    }
    (void)CompareLogs(bytes + "\n\n" + GlobalSample(5),
                      bytes + "\n\n" + UsageSample(UsageRow("app", 10)));
    EXPECT_TRUE(passed_);
    EXPECT_EQ(Row("tasks_total_max"), "5,");
    EXPECT_EQ(Row("app_cpu_max"), "10,");
}

class UnreadableLog : public HostileComparison {
protected:
    // Compares a version of which `name` may not be read.
    Captured CompareUnreadable(const std::string& name) {
        AddLog("v1", "cpu_global_1_1.log", GlobalSample(5));
        AddLog("v1", name, "");
        path_ = trees_.Path() + "v1/raw_data/cpu/" + name;
        EXPECT_EQ(::chmod(path_.c_str(), 0), 0);
        const test::OrdinaryRights rights;
        return Compare(kBothJobs);
    }

    std::string path_;
};

TEST_F(UnreadableLog, OfTheSystemFailsTheReading) {
    const Captured printed = CompareUnreadable("cpu_global_1_1.log");
    EXPECT_FALSE(passed_);
    EXPECT_EQ(printed.out, "");
    EXPECT_EQ(printed.err, "[CpuComparator] Failed to open " + path_ +
                               "\n[CpuComparator] Failed to read cpu info!\n"
                               "[CpuComparator] Failed to process cpu comparator!\n");
    EXPECT_FALSE(run_.Has("csv/cpu/cpu_comparator_result.csv"));
}

TEST_F(UnreadableLog, OfTheProcessesHasALineMore) {
    const Captured printed = CompareUnreadable("soc_gea_cpu_usage_info_1_1.log");
    EXPECT_FALSE(passed_);
    EXPECT_EQ(printed.err, "[CpuComparator] Failed to open " + path_ +
                               "\n[CpuComparator] Failed to read log file.\n"
                               "[CpuComparator] Failed to read cpu info!\n"
                               "[CpuComparator] Failed to process cpu comparator!\n");
}

// Standard output as a pipe of one page, for as long as it lives: a writer of two long lines waits
// until the first is taken.
class NarrowOutput {
public:
    NarrowOutput() {
        EXPECT_EQ(::pipe2(ends_.data(), O_CLOEXEC), 0);
        EXPECT_EQ(::fcntl(ends_[1], F_SETPIPE_SZ, kPage), kPage);
        saved_ = ::dup(STDOUT_FILENO);
        (void)::dup2(ends_[1], STDOUT_FILENO);
        ::close(ends_[1]);
    }
    NarrowOutput(const NarrowOutput&) = delete;
    NarrowOutput& operator=(const NarrowOutput&) = delete;
    ~NarrowOutput() {
        Restore();
        ::close(ends_[0]);
    }

    void Restore() {
        if (saved_ >= 0) {
            (void)::dup2(saved_, STDOUT_FILENO);
            ::close(saved_);
            saved_ = -1;
        }
    }
    void AwaitOutput() const {
        pollfd reading{ends_[0], POLLIN, 0};
        EXPECT_EQ(::poll(&reading, 1, -1), 1);
    }
    // Everything that is written until the output is restored.
    [[nodiscard]] std::string TakeAll() const {
        std::string text;
        std::array<char, kPage> page{};
        for (ssize_t got = 1; got > 0; text.append(page.data(), static_cast<std::size_t>(got))) {
            got = std::max<ssize_t>(::read(ends_[0], page.data(), page.size()), 0);
        }
        return text;
    }

private:
    static constexpr int kPage = 4096;
    std::array<int, 2> ends_{};
    int saved_ = -1;
};

TEST_F(HostileComparison, StopDuringReadingKeepsWhatWasGathered) {
    const std::string longName = "b" + std::string(3900, 'b');
    for (const char* version : {"a", "c"}) {
        AddLog(version, "cpu_global_1_1.log", GlobalSample(5));
        AddLog(version, "soc_gea_cpu_usage_info_1_1.log", UsageSample(UsageRow("app", 10)));
    }
    trees_.MakeFolder("b/raw_data/cpu");
    versions_[longName] = trees_.Path() + "b/";
    // The lines that pass over "b" do not fit into the output together, so the stop, which comes
    // between them, falls into the reading of "b".
    std::string printed;
    {
        NarrowOutput output;
        std::thread reader([&] {
            output.AwaitOutput();
            stopFlag_ = 1;
            printed = output.TakeAll();
        });
        const JsonDocument config = test::ParsedConfigOf("CpuComparator", kBothJobs);
        CpuComparator comparator(CpuComparator::kName, versions_);
        passed_ = comparator.CheckOptions(config, "comparator") &&
                  comparator.Start(config, run_.Path(), &stopFlag_);
        output.Restore();
        reader.join();
    }
    EXPECT_TRUE(passed_);
    EXPECT_EQ(printed, "[CpuComparator] Missing valid cpu_global_1_xxx files in " + longName +
                           ", will skip it.\n"
                           "[CpuComparator] Missing valid soc_gea_cpu_usage_info_1_xxx files in " +
                           longName + ", will skip it.\n" + kStopLine);
    EXPECT_EQ(Row("tasks_total_max"), "5,N/A,N/A,");
    EXPECT_EQ(Row("app_cpu_max"), "10,N/A,N/A,");
    EXPECT_TRUE(HasCostLine());
}

}  // namespace
}  // namespace zarn
