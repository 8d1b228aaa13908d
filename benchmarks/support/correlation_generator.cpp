#include "benchmarks/support/correlation_generator.h"

#include <array>
#include <cstdio>
#include <filesystem>

#include "formats/ai_core.h"
#include "formats/cpu.h"
#include "formats/ddr.h"
#include "formats/sched.h"
#include "formats/sched_analysis.h"
#include "foundation/files.h"
#include "foundation/time.h"

namespace zarn::bench {
namespace {

// Of whole seconds and milliseconds behind kBoot.
std::string StampAt(std::uint64_t milliseconds) {
    std::uint64_t start = 0;
    std::string stamp;
    (void)TimeStringToTimestamp(CorrelationGenerator::kTime, start);
    (void)TimestampToString(start + milliseconds, stamp);
    return stamp;
}

// Of milliseconds behind kBoot.
std::string SecondsAt(std::uint64_t microseconds) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%llu.%06llu",
                  static_cast<unsigned long long>(microseconds / 1000000),
                  static_cast<unsigned long long>(microseconds % 1000000));
    return text.data();
}

bool Write(const std::string& path, const std::string& text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    return WriteFile(path, text) == FileResult::Ok;
}

// What an earlier tree left in the same place goes.
bool Remove(const std::string& path) {
    std::error_code error;
    std::filesystem::remove(path, error);
    return !error;
}

std::string HistoryPath(const std::string& dataPath, const CorrelationGenerator::History& history) {
    return dataPath + sched_files::kRawDir +
           sched_files::TimehistName(history.target, 1, CorrelationGenerator::kTime);
}

std::string AnalysisPath(const std::string& dataPath, const std::string& job,
                         const CorrelationGenerator::History& history) {
    return dataPath + run_tree::kJsonDir +
           sched_files::AnalysisName({job, history.analysis, CorrelationGenerator::kTime},
                                     sched_files::kTimehistAnalysis);
}

std::string PeakRow(const std::string& seconds) {
    return R"({"time":")" + seconds + R"( s","systemStartUpTime":")" + CorrelationGenerator::kBoot +
           "\"}";
}

std::string Sample(const std::string& stamp, const std::string& cells) {
    return R"({"happenTime":")" + stamp + R"(","content":[{"aicore":")" + cells + "\"}]}\n";
}

std::string SamplePath(const std::string& dataPath, std::size_t number) {
    return ai_core_files::kUsageDocuments.Path(dataPath, StampAt(number));
}

constexpr const char* kHistoryHead = "   time    cpu  task name\n   [tid/pid]\n------ ------\n";

}  // namespace

std::vector<CorrelationGenerator::History> CorrelationGenerator::HistoriesOf(
    const std::string& job) {
    if (job == "core") {
        return {{sched_files::CoreTarget(2), "core2", "sched_core2"},
                {sched_files::CoreTarget(10), "core10", "sched_core10"}};
    }
    if (job == "process") {
        return {{sched_files::ProcessTarget("a_b", 9), "process_a_b_9", "sched_process_a_b_9"},
                {sched_files::ProcessTarget("c", 10), "process_c_10", "sched_process_c_10"}};
    }
    return {{sched_files::GlobalTarget(), "global", "sched_global"}};
}

bool CorrelationGenerator::WriteSmall(const std::string& dataPath, const std::string& job) {
    return WriteSmallTables(dataPath) && WriteSmallSamples(dataPath) &&
           WriteSmallHistories(dataPath, job);
}

// One of few, so that those of different sources meet.
std::string CorrelationGenerator::Stamp() {
    std::string stamp = StampAt(generator_.Below(5) * 500 + generator_.Below(2));
    if (generator_.Chance(5)) {
        stamp.resize(generator_.Below(20), '0');
    }
    return stamp;
}

std::string CorrelationGenerator::Seconds() {
    return SecondsAt(generator_.Below(6) * 500000 + generator_.Below(2));
}

std::string CorrelationGenerator::SmallTable(std::vector<std::string> heads) {
    const std::string end = generator_.Chance(20) ? "\r\n" : "\n";
    std::string text = "happen_time,";
    for (const std::string& head : heads) {
        text += head + ",";
    }
    const std::string head = text + end;
    text = head;
    for (std::uint64_t rows = generator_.Below(8); rows > 0; --rows) {
        if (generator_.Chance(5)) {
            text += head;
        }
        std::string row = (generator_.Chance(95) ? "'" : "") + Stamp() + ",";
        for (std::size_t cell = 0; cell < heads.size(); ++cell) {
            row += std::to_string(generator_.Below(100)) + ",";
        }
        row.resize(generator_.Chance(5) ? generator_.Below(row.size()) : row.size());
        text += row + (generator_.Chance(5) ? "7,8,9" : "") + end;
    }
    if (generator_.Chance(10)) {
        text.resize(generator_.Below(text.size() + 1));
    }
    return text;
}

std::string CorrelationGenerator::PeakList() {
    std::string list;
    for (std::uint64_t peaks = generator_.Below(4); peaks > 0; --peaks) {
        list += (list.empty() ? "" : ",") +
                (R"({"cpuValue":"1","timeStamp":")" + StampAt(generator_.Below(2500))) + "\"}";
    }
    return "[" + list + "]";
}

bool CorrelationGenerator::WriteSmallTables(const std::string& dataPath) {
    bool good = true;
    const auto write = [&](const NumberedFile& kind, const std::string& text) {
        const std::string path = kind.Path(dataPath, kTime);
        good = (generator_.Chance(15) ? Remove(path) : Write(path, text)) && good;
    };
    write(ddr_files::kAnalysisTable, SmallTable({"total", "cpu"}));
    write(ddr_files::kAnalysis,
          R"({"content":[{"mpam_name":"cpu","peak":[]},{"mpam_name":"total","peak":)" + PeakList() +
              "}]}\nanother line");
    write(cpu_files::kLoadingTable, SmallTable({"total", "Cpu0", "Cpu1"}));
    write(cpu_files::kGlobalAnalysis, R"({"content":{"id":{"peak":)" + PeakList() + "}}}\n");
    write(cpu_files::kCoreAnalysis, R"({"content":{"cpuUsage":[{"coreID":"Cpu0","id":{"peak":)" +
                                        PeakList() + R"(}},{"coreID":"Cpu1","id":{"peak":)" +
                                        PeakList() + "}}]}}\n");
    return good;
}

bool CorrelationGenerator::WriteSmallSamples(const std::string& dataPath) {
    constexpr std::uint64_t kMostSamples = 4;
    bool good = true;
    const std::uint64_t samples = generator_.Below(kMostSamples + 1);
    for (std::uint64_t sample = samples; sample < kMostSamples; ++sample) {
        good = Remove(SamplePath(dataPath, sample)) && good;
    }
    for (std::uint64_t sample = 0; sample < samples; ++sample) {
        std::string cells =
            generator_.Chance(10) ? "nan" : std::to_string(generator_.Below(3)) + ".500000";
        for (std::uint64_t cores = generator_.Below(4); cores > 0; --cores) {
            cells += " " + std::to_string(generator_.Below(100)) + ".000000";
        }
        good = Write(SamplePath(dataPath, sample), Sample(Stamp(), cells + " ")) && good;
    }
    return good;
}

std::string CorrelationGenerator::SmallHistory() {
    const std::array<const char*, 5> tasks = {"<idle>", "a[1]", "b c[2/3]", "d,e[4]", "torn"};
    const std::string end = generator_.Chance(20) ? "\r\n" : "\n";
    std::string text = kHistoryHead;
    for (std::uint64_t rows = generator_.Below(12); rows > 0; --rows) {
        std::string row = "  " + Seconds() + " [000" + std::to_string(generator_.Below(4)) + "]  " +
                          tasks[generator_.Below(tasks.size())] + "  0.100  0.200  " +
                          std::to_string(generator_.Below(9)) + ".000 " +
                          (generator_.Chance(10) ? "main <- start" : "");
        row.resize(generator_.Chance(5) ? generator_.Below(row.size()) : row.size());
        text += row + end;
    }
    if (generator_.Chance(10)) {
        text.resize(generator_.Below(text.size() + 1));
    }
    return text;
}

bool CorrelationGenerator::WriteSmallHistories(const std::string& dataPath,
                                               const std::string& job) {
    bool good = true;
    for (const History& history : HistoriesOf(job)) {
        std::string rows = PeakRow(Seconds());
        for (std::uint64_t more = generator_.Below(3); more > 0; --more) {
            rows += "," + PeakRow(Seconds());
        }
        const auto write = [&](const std::string& path, const std::string& text) {
            good = (generator_.Chance(10) ? Remove(path) : Write(path, text)) && good;
        };
        write(HistoryPath(dataPath, history), SmallHistory());
        write(AnalysisPath(dataPath, job, history), R"({"content":[)" + rows + "]}\n");
    }
    return good;
}

std::string CorrelationGenerator::BigTable(std::size_t columns, const Size& size,
                                           const char* head) {
    std::string text = head;
    text += "\n";
    for (std::size_t row = 0; row < size.tableRows; ++row) {
        text += "'" + StampAt(row * 10) + ",";
        for (std::size_t column = 0; column < columns; ++column) {
            text += generator_.Percentage() + ",";
        }
        text += "\n";
    }
    return text;
}

// One row in five is idle, and there are 10 us from one to the next.
std::string CorrelationGenerator::BigHistory(std::size_t rows) {
    std::string text = kHistoryHead;
    text.reserve(rows * 90);
    std::array<char, 128> line{};
    for (std::size_t row = 0; row < rows; ++row) {
        const auto tid = static_cast<unsigned>(generator_.Below(500));
        const std::string task = generator_.Chance(20) ? "<idle>"
                                                       : "worker_" + std::to_string(tid) + "[" +
                                                             std::to_string(1000 + tid) + "]";
        const int length = std::snprintf(
            line.data(), line.size(), "%15.6f [%04u]  %-30s  %9.3f  %9.3f  %9.3f \n",
            1.0 + static_cast<double>(row) * 0.00001, static_cast<unsigned>(generator_.Below(8)),
            task.c_str(), static_cast<double>(generator_.Below(100000)) / 1000.0,
            static_cast<double>(generator_.Below(5000)) / 1000.0,
            static_cast<double>(generator_.Below(1000000)) / 1000.0);
        text.append(line.data(), static_cast<std::size_t>(length));
    }
    return text;
}

std::string CorrelationGenerator::BigPeaks(std::size_t peaks, const Size& size) {
    std::string list;
    for (std::size_t peak = 0; peak < peaks; ++peak) {
        list += (list.empty() ? "" : ",") +
                (R"({"timeStamp":")" + StampAt(generator_.Below(size.tableRows) * 10)) + "\"}";
    }
    return "[" + list + "]";
}

bool CorrelationGenerator::WriteBig(const std::string& dataPath, const Size& size) {
    constexpr std::size_t kPeaks = 100;  // of a series: one in six samples
    constexpr int kCores = 4;
    bool good = Write(ddr_files::kAnalysisTable.Path(dataPath, kTime),
                      BigTable(11, size,
                               "happen_time,total,cpu,imgp_venc,imgp_vdec,imgp_vpc,aic_dat,aic_ins,"
                               "sdma,isp_vicap,isp_viproc,isp_vipe,"));
    good =
        Write(ddr_files::kAnalysis.Path(dataPath, kTime),
              R"({"content":[{"mpam_name":"total","peak":)" + BigPeaks(kPeaks, size) + "}]}\n") &&
        good;
    good = Write(cpu_files::kLoadingTable.Path(dataPath, kTime),
                 BigTable(5, size, "happen_time,total,Cpu0,Cpu1,Cpu2,Cpu3,")) &&
           good;
    good = Write(cpu_files::kGlobalAnalysis.Path(dataPath, kTime),
                 R"({"content":{"id":{"peak":)" + BigPeaks(kPeaks, size) + "}}}\n") &&
           good;
    std::string cores;
    for (int core = 0; core < kCores; ++core) {
        cores += (core == 0 ? "" : ",") + (R"({"coreID":"Cpu)" + std::to_string(core)) +
                 R"(","id":{"peak":)" + BigPeaks(kPeaks, size) + "}}";
    }
    good = Write(cpu_files::kCoreAnalysis.Path(dataPath, kTime),
                 R"({"content":{"cpuUsage":[)" + cores + "]}}\n") &&
           good;
    for (std::size_t sample = 0; sample < size.samples; ++sample) {
        good = Write(SamplePath(dataPath, sample),
                     Sample(StampAt(sample * 5), "1.500000 2.000000 1.000000 ")) &&
               good;
    }
    const History history = HistoriesOf("global").front();
    std::string rows;
    for (std::size_t span = 0; span < size.spans; ++span) {
        rows += (rows.empty() ? "" : ",") +
                PeakRow(SecondsAt(1000000 + generator_.Below(size.historyRows * 10)));
    }
    good =
        Write(AnalysisPath(dataPath, "global", history), R"({"content":[)" + rows + "]}\n") && good;
    return Write(HistoryPath(dataPath, history), BigHistory(size.historyRows)) && good;
}

}  // namespace zarn::bench
