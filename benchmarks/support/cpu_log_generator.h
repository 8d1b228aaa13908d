#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zarn::bench {

// How big and which one: the same values give the same bytes on every machine and in every time
// zone without clock changes on the generated day.
struct CpuLoad {
    std::size_t samples = 600;
    std::size_t processes = 400;
    std::size_t cores = 8;
    double interval = 1.0;   // seconds
    std::uint64_t seed = 1;  // another seed, another run of the same board
    std::string startTime = "20240101120000000";
};

// The texts of one run of a loaded board: what `top` and `ps` would print, in the layout of procps
// 4, and the files that a collection with all jobs, threads and documents makes of it. All agree
// with one another: a value is a function of the seed, the sample and the process, so the texts may
// be asked for in any order. Loads drift and spike, so that there are peaks and troughs; a few
// processes have more than 10 GiB of memory ("g") and cores reach three digits of idle time.
class CpuLogGenerator {
public:
    explicit CpuLogGenerator(CpuLoad load);

    // What the tools print, all samples in one text.
    [[nodiscard]] std::string TopOutput() const;        // top -b
    [[nodiscard]] std::string CoresOutput() const;      // top -1 -b, behind the filter: two a line
    [[nodiscard]] std::string ThreadTopOutput() const;  // top -b -H
    // One pass of ps over all processes, and that of the threads of one of them, at most ten rows.
    [[nodiscard]] std::string PsPass(std::size_t sample) const;
    [[nodiscard]] std::string PsThreads(std::size_t process) const;

    // The raw logs.
    [[nodiscard]] std::string UsageLog() const;
    [[nodiscard]] std::string GlobalLog() const;
    [[nodiscard]] std::string CoresLog() const;
    [[nodiscard]] std::string SelectedLog(const std::vector<std::string>& commands) const;
    [[nodiscard]] std::string ThreadLog() const;

    // The documents of json/, one a line; the rows of `commands` are the selected processes.
    [[nodiscard]] std::string Documents(const std::vector<std::string>& commands) const;

    // 17 digits of a sample's time, and the names in the order of the processes.
    [[nodiscard]] std::string SampleTime(std::size_t sample) const;
    [[nodiscard]] std::string Command(std::size_t process) const;
    [[nodiscard]] std::string Pid(std::size_t process) const;

    // Writes the five logs and the documents, named after the start time, into the run tree at
    // `dataPath` (with its final slash), making the folders. False if one cannot be written.
    [[nodiscard]] bool WriteRunTree(const std::string& dataPath,
                                    const std::vector<std::string>& commands) const;

private:
    struct Row {
        unsigned tenths = 0;  // of a percent of one processor
        std::size_t process = 0;
    };
    using CpuTimes = std::array<double, 8>;  // percent, in the order top prints them

    [[nodiscard]] std::vector<Row> RowsByUsage(std::size_t sample) const;
    [[nodiscard]] std::string TopRow(std::size_t sample, Row row) const;
    [[nodiscard]] std::string ThreadRow(std::size_t sample, Row row) const;
    [[nodiscard]] std::string PsRow(Row row) const;
    [[nodiscard]] std::string HeadLines(std::size_t sample, const char* kind) const;
    [[nodiscard]] CpuTimes TimesOf(std::size_t sample, std::size_t core) const;
    [[nodiscard]] static std::string TopTimes(const CpuTimes& t);
    [[nodiscard]] static std::string DocumentTimes(const CpuTimes& t);
    [[nodiscard]] std::string CoreLine(std::size_t sample, std::size_t core) const;
    [[nodiscard]] std::string SummaryLines(std::size_t sample, const char* kind) const;
    [[nodiscard]] std::string ProcessObjects(const std::vector<Row>& rows) const;
    [[nodiscard]] std::string Document(std::size_t sample,
                                       const std::vector<std::string>& commands) const;

    CpuLoad load_;
    std::vector<std::string> threadRows_;  // of PsThreads, by process
};

}  // namespace zarn::bench
