#include "benchmarks/support/cpu_log_generator.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>

#include "formats/cpu.h"
#include "formats/run_tree.h"
#include "foundation/files.h"
#include "foundation/paths.h"
#include "foundation/time.h"

namespace zarn::bench {
namespace {

constexpr const char* kTopHeading =
    "  PID USER      PR  NI    VIRT    RES    SHR S  %CPU  %MEM     TIME+ COMMAND\n";
constexpr std::size_t kWholeSystem = 1000000;  // stands for "all cores" where a core is asked for
constexpr std::size_t kThreadsShown = 10;

// What a random number is for, so that two uses never share one.
enum class Draw : std::uint64_t { Wave, Process, Core, Memory, Threads };

// splitmix64: a well mixed number for each tuple, without any state.
std::uint64_t Random(std::uint64_t seed, Draw draw, std::uint64_t a, std::uint64_t b = 0) {
    std::uint64_t x = seed * 0x9E3779B97F4A7C15U + static_cast<std::uint64_t>(draw) + 1;
    for (const std::uint64_t part : {a, b}) {
        x += part + 0x9E3779B97F4A7C15U;
        x = (x ^ (x >> 30U)) * 0xBF58476D1CE4E5B9U;
        x = (x ^ (x >> 27U)) * 0x94D049BB133111EBU;
        x ^= x >> 31U;
    }
    return x;
}

[[gnu::format(printf, 1, 2)]] std::string Format(const char* format, ...) {
    std::array<char, 640> buffer{};
    std::va_list values;
    va_start(values, format);
    const int size = std::vsnprintf(buffer.data(), buffer.size(), format, values);
    va_end(values);
    return {buffer.data(), static_cast<std::size_t>(size)};
}

// Permille of load at a sample: a slow wave with a spike now and then.
unsigned LoadAt(const CpuLoad& load, std::size_t sample) {
    const unsigned wave = static_cast<unsigned>(sample % 60);
    const unsigned slow = 200 + 10 * (wave < 30 ? wave : 60 - wave);
    const std::uint64_t draw = Random(load.seed, Draw::Wave, sample);
    const unsigned spike = draw % 23 == 0 ? 350 : 0;
    return std::min(980U, slow + spike + static_cast<unsigned>(draw % 60));
}

// VIRT as top prints it in seven columns: KiB, or GiB with a "g" once they do not suffice.
std::string VirtualSize(std::uint64_t kib) {
    return kib <= 9999999 ? Format("%7llu", static_cast<unsigned long long>(kib))
                          : Format("%6.1fg", static_cast<double>(kib) / 1048576.0);
}

struct Memory {
    std::uint64_t virt = 0;  // KiB
    unsigned res = 0;        // KiB
};

Memory MemoryOf(const CpuLoad& load, std::size_t process) {
    const std::uint64_t draw = Random(load.seed, Draw::Memory, process);
    if (process % 5 == 4) {
        return {};  // a kernel thread
    }
    const std::uint64_t virt = process % 40 == 7 ? 11000000 + draw % 9000000 : 4000 + draw % 900000;
    return {virt, static_cast<unsigned>(1000 + draw % 60000)};
}

double MemoryPercent(const Memory& memory) {
    return static_cast<double>(memory.res) / 246841.0;  // of 24 GiB
}

}  // namespace

CpuLogGenerator::CpuLogGenerator(CpuLoad load) : load_(std::move(load)) {
    for (std::size_t process = 0; process < load_.processes; ++process) {
        threadRows_.push_back(PsThreads(process));
    }
}

std::string CpuLogGenerator::SampleTime(std::size_t sample) const {
    std::uint64_t start = 0;
    std::string text;
    const auto offset =
        static_cast<std::uint64_t>(load_.interval * static_cast<double>(sample) * 1000);
    return TimeStringToTimestamp(load_.startTime, start) && TimestampToString(start + offset, text)
               ? text
               : std::string();
}

std::string CpuLogGenerator::Pid(std::size_t process) const {
    return std::to_string(process == 0 ? 1 : 100 + process * 7);
}

std::string CpuLogGenerator::Command(std::size_t process) const {
    static constexpr std::array<const char*, 5> kNames = {"node_", "camera-srv", "planner.",
                                                          "(fusion)", "kworker/u8:"};
    return kNames[process % kNames.size()] + std::to_string(process / kNames.size());
}

std::vector<CpuLogGenerator::Row> CpuLogGenerator::RowsByUsage(std::size_t sample) const {
    std::vector<Row> rows;
    const unsigned load = LoadAt(load_, sample);
    for (std::size_t process = 0; process < load_.processes; ++process) {
        const std::uint64_t draw = Random(load_.seed, Draw::Process, sample, process);
        const bool busy = process % 9 == 0 || draw % 41 == 0;
        const auto share = static_cast<unsigned>(draw / 64 % 400 + (process < 20 ? 300 : 0));
        rows.push_back({busy ? share * load / 1000 : 0, process});
    }
    std::stable_sort(rows.begin(), rows.end(),
                     [](const Row& a, const Row& b) { return a.tenths > b.tenths; });
    return rows;
}

std::string CpuLogGenerator::TopRow(std::size_t sample, Row row) const {
    const Memory memory = MemoryOf(load_, row.process);
    const auto minutes = static_cast<unsigned>(row.process % 50 + sample / 60);
    return Format("%5s %-8s %3d %3d %s %6u %6u %c %5.1f %5.1f %3u:%02u.%02u %s\n",
                  Pid(row.process).c_str(), row.process % 3 == 0 ? "root" : "app",
                  row.process % 7 == 0 ? 10 : 20, row.process % 7 == 0 ? -10 : 0,
                  VirtualSize(memory.virt).c_str(), memory.res, memory.res / 3,
                  row.tenths > 0 ? 'R' : 'S', row.tenths / 10.0, MemoryPercent(memory), minutes,
                  static_cast<unsigned>(sample % 60), row.tenths % 100,
                  Command(row.process).c_str());
}

std::string CpuLogGenerator::ThreadRow(std::size_t sample, Row row) const {
    const std::string text = TopRow(sample, row);
    return text.substr(0, text.size() - 1) + "-t1\n";
}

std::string CpuLogGenerator::PsRow(Row row) const {
    const Memory memory = MemoryOf(load_, row.process);
    return Format("%-8s %5s %4.1f %4.1f %6llu %5u %3u %s", row.process % 3 == 0 ? "root" : "app",
                  Pid(row.process).c_str(), row.tenths / 10.0, MemoryPercent(memory),
                  static_cast<unsigned long long>(memory.virt), memory.res,
                  static_cast<unsigned>(row.process % load_.cores), Command(row.process).c_str());
}

std::string CpuLogGenerator::PsPass(std::size_t sample) const {
    std::string text;
    for (const Row& row : RowsByUsage(sample)) {
        text += PsRow(row) + "\n";
    }
    return text;
}

std::string CpuLogGenerator::PsThreads(std::size_t process) const {
    const Memory memory = MemoryOf(load_, process);
    const std::size_t threads = 1 + Random(load_.seed, Draw::Threads, process) % 14;
    const std::string pid = Pid(process);
    std::string text;
    for (std::size_t i = 0; i < std::min(threads, kThreadsShown); ++i) {
        text +=
            Format("%-8s %5s %5s %4.1f %4.1f %6llu %5u %3u %s\n", process % 3 == 0 ? "root" : "app",
                   i == 0 ? pid.c_str() : std::to_string(40000 + process * 16 + i).c_str(),
                   pid.c_str(), static_cast<double>(i) / 10.0, MemoryPercent(memory),
                   static_cast<unsigned long long>(memory.virt), memory.res,
                   static_cast<unsigned>((process + i) % load_.cores), Command(process).c_str());
    }
    return text;
}

CpuLogGenerator::CpuTimes CpuLogGenerator::TimesOf(std::size_t sample, std::size_t core) const {
    const std::uint64_t draw = Random(load_.seed, Draw::Core, sample, core);
    const bool asleep = core != kWholeSystem && draw % 19 == 0;
    const unsigned busy = asleep ? 0 : LoadAt(load_, sample) - static_cast<unsigned>(draw % 150);
    const unsigned system = busy / 4;
    const unsigned soft = busy / 50;
    const unsigned hard = busy / 80;
    const unsigned user = busy - system - soft - hard;
    return {user / 10.0, system / 10.0, 0.0,         (1000 - busy) / 10.0,
            0.0,         hard / 10.0,   soft / 10.0, 0.0};
}

std::string CpuLogGenerator::TopTimes(const CpuTimes& t) {
    return Format("%5.1f us,%5.1f sy,%5.1f ni,%5.1f id,%5.1f wa,%5.1f hi,%5.1f si,%5.1f st ", t[0],
                  t[1], t[2], t[3], t[4], t[5], t[6], t[7]);
}

std::string CpuLogGenerator::DocumentTimes(const CpuTimes& t) {
    return Format("%.1f %.1f %.1f %.1f %.1f %.1f %.1f %.1f", t[0], t[1], t[2], t[3], t[4], t[5],
                  t[6], t[7]);
}

std::string CpuLogGenerator::CoreLine(std::size_t sample, std::size_t core) const {
    return Format("Cpu%-3zu:", core) + TopTimes(TimesOf(sample, core));
}

std::string CpuLogGenerator::HeadLines(std::size_t sample, const char* kind) const {
    const std::string time = SampleTime(sample);
    const double load = LoadAt(load_, sample) / 125.0;
    const std::size_t running = 1 + sample % 5;
    return Format("top - %s:%s:%s up 17 min,  1 user,  load average: %.2f, %.2f, %.2f\n",
                  time.substr(8, 2).c_str(), time.substr(10, 2).c_str(), time.substr(12, 2).c_str(),
                  load, load * 0.8, load * 0.5) +
           Format("%s: %3zu total, %3zu running, %3zu sleeping, %3d stopped, %3d zombie\n", kind,
                  load_.processes, running, load_.processes - running, 0, 0);
}

std::string CpuLogGenerator::SummaryLines(std::size_t sample, const char* kind) const {
    const double used = 700 + LoadAt(load_, sample) * 2.5;
    return HeadLines(sample, kind) + "%Cpu(s):" + TopTimes(TimesOf(sample, kWholeSystem)) + "\n" +
           Format("MiB Mem : %8.1f total, %8.1f free, %8.1f used, %8.1f buff/cache     \n", 24105.6,
                  23000.0 - used, used, 520.1) +
           Format("MiB Swap: %8.1f total, %8.1f free, %8.1f used. %8.1f avail Mem \n", 0.0, 0.0,
                  0.0, 23400.0 - used);
}

std::string CpuLogGenerator::TopOutput() const {
    std::string text;
    for (std::size_t sample = 0; sample < load_.samples; ++sample) {
        text += (sample == 0 ? "" : "\n") + SummaryLines(sample, "Tasks") + "\n" + kTopHeading;
        for (const Row& row : RowsByUsage(sample)) {
            text += TopRow(sample, row);
        }
    }
    return text;
}

std::string CpuLogGenerator::ThreadTopOutput() const {
    std::string text;
    for (std::size_t sample = 0; sample < load_.samples; ++sample) {
        text += (sample == 0 ? "" : "\n") + SummaryLines(sample, "Threads") + "\n" + kTopHeading;
        for (const Row& row : RowsByUsage(sample)) {
            text += ThreadRow(sample, row);
        }
    }
    return text;
}

std::string CpuLogGenerator::CoresOutput() const {
    std::string text;
    for (std::size_t sample = 0; sample < load_.samples; ++sample) {
        text += HeadLines(sample, "Tasks");
        for (std::size_t core = 0; core < load_.cores; core += 2) {
            text += "%" + CoreLine(sample, core) + "  ";
            text += core + 1 < load_.cores ? "%" + CoreLine(sample, core + 1) + "\n" : "\n";
        }
        text += "\n\n";  // what the filter makes of the memory line
    }
    return text;
}

std::string CpuLogGenerator::UsageLog() const {
    std::string text;
    for (std::size_t sample = 0; sample < load_.samples; ++sample) {
        text += SampleTime(sample) + "\n" + SummaryLines(sample, "Tasks") + kTopHeading;
        for (const Row& row : RowsByUsage(sample)) {
            text += TopRow(sample, row);
        }
        text += "\n";
    }
    return text;
}

std::string CpuLogGenerator::GlobalLog() const {
    std::string text;
    for (std::size_t sample = 0; sample < load_.samples; ++sample) {
        text += SampleTime(sample) + "\n" + SummaryLines(sample, "Tasks") + "\n";
    }
    return text;
}

std::string CpuLogGenerator::CoresLog() const {
    std::string text;
    for (std::size_t sample = 0; sample < load_.samples; ++sample) {
        text += SampleTime(sample) + "\n" + HeadLines(sample, "Tasks");
        for (std::size_t core = 0; core < load_.cores; ++core) {
            text += CoreLine(sample, core) + (core % 2 == 0 ? "  \n" : "\n");
        }
        text += "\n";
    }
    return text;
}

std::string CpuLogGenerator::SelectedLog(const std::vector<std::string>& commands) const {
    std::string text;
    for (std::size_t sample = 0; sample < load_.samples; ++sample) {
        text += SampleTime(sample) + "\n";
        for (const Row& row : RowsByUsage(sample)) {
            if (std::count(commands.begin(), commands.end(), Command(row.process)) != 0) {
                text += TopRow(sample, row);
            }
        }
        text += "\n";
    }
    return text;
}

std::string CpuLogGenerator::ThreadLog() const {
    std::string text;
    for (std::size_t sample = 0; sample < load_.samples; ++sample) {
        text += SampleTime(sample) + "\n";
        std::vector<Row> rows = RowsByUsage(sample);
        rows.resize(std::min(rows.size(), kThreadsShown));
        for (const Row& row : rows) {
            text += ThreadRow(sample, row);
        }
        text += "\n";
    }
    return text;
}

std::string CpuLogGenerator::ProcessObjects(const std::vector<Row>& rows) const {
    std::string text;
    for (const Row& row : rows) {
        text += text.empty() ? "" : ",";
        text += R"({"procInfo":")" + PsRow(row) + R"(","top10Threads":[)";
        LineCursor threads(threadRows_[row.process]);
        std::string_view thread;
        for (bool first = true; threads.Next(thread); first = false) {
            text.append(first ? R"({"threadInfo":")" : R"(,{"threadInfo":")").append(thread);
            text += R"("})";
        }
        text += "]}";
    }
    return text;
}

std::string CpuLogGenerator::Document(std::size_t sample,
                                      const std::vector<std::string>& commands) const {
    std::string text = R"({"eventId":"962201576","happenTime":")" + SampleTime(sample) +
                       R"(","objectId":"soc_gea_cpu_usage_info","content":{)"
                       R"("cpuFields":"user sys nice idle wait irq sirq steal",)"
                       R"("procFields":"USER PID %CPU %MEM VSZ RSS PSR COMMAND",)"
                       R"("threadFields":"USER TID PID %CPU %MEM VSZ RSS PSR COMMAND",)"
                       R"("cpu":[{"cpuId":-1,"cpuInfo":")" +
                       DocumentTimes(TimesOf(sample, kWholeSystem)) + "\"}";
    for (std::size_t core = 0; core < load_.cores; ++core) {
        text += R"(,{"cpuId":)" + std::to_string(core) + R"(,"cpuInfo":")" +
                DocumentTimes(TimesOf(sample, core)) + "\"}";
    }
    std::vector<Row> rows = RowsByUsage(sample);
    std::vector<Row> selected;
    std::copy_if(rows.begin(), rows.end(), std::back_inserter(selected), [&](const Row& row) {
        return std::count(commands.begin(), commands.end(), Command(row.process)) != 0;
    });
    rows.resize(std::min<std::size_t>(rows.size(), 10));
    return text + R"(],"top10Procs":[)" + ProcessObjects(rows) + R"(],"selectedProcs":[)" +
           ProcessObjects(selected) + "]}}\n";
}

std::string CpuLogGenerator::Documents(const std::vector<std::string>& commands) const {
    std::string text;
    for (std::size_t sample = 0; sample < load_.samples; ++sample) {
        text += Document(sample, commands);
    }
    return text;
}

bool CpuLogGenerator::WriteRunTree(const std::string& dataPath,
                                   const std::vector<std::string>& commands) const {
    const auto write = [&](const NumberedFile& file, const std::string& text) {
        return WriteFile(file.Path(dataPath, load_.startTime), text) == FileResult::Ok;
    };
    return CreateDirectory(dataPath + cpu_files::kRawDir) &&
           CreateDirectory(dataPath + run_tree::kJsonDir) &&
           write(cpu_files::kUsageLog, UsageLog()) && write(cpu_files::kGlobalLog, GlobalLog()) &&
           write(cpu_files::kCoresLog, CoresLog()) &&
           write(cpu_files::kSelectedLog, SelectedLog(commands)) &&
           write(cpu_files::kThreadLog, ThreadLog()) &&
           write(cpu_files::kUsageDocuments, Documents(commands));
}

}  // namespace zarn::bench
