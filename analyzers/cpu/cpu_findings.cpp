#include "analyzers/cpu/cpu_findings.h"

#include <algorithm>
#include <numeric>

#include "foundation/statistics.h"

namespace zarn {
namespace {

std::vector<CpuExtreme> ExtremesAt(const std::set<std::size_t>& indexes, const CpuSeries& series,
                                   const std::vector<std::string_view>& timeStamps) {
    std::vector<CpuExtreme> extremes;
    for (const std::size_t index : indexes) {
        const std::size_t sample = series.samples[index];
        extremes.push_back({series.values[index],
                            sample < timeStamps.size() ? timeStamps[sample] : std::string_view()});
    }
    return extremes;
}

CpuHeadMeans MeansOf(const CpuLogHead& head) {
    CpuHeadMeans means;
    GetAverage(head.tasks, means.tasks);
    for (const auto& [name, values] : head.loads) {
        GetAverage(values, means.loads[name]);
    }
    return means;
}

std::array<CpuStatistics, kCpuFieldCount> SummarizeFields(
    const CpuFieldSeries& series, const std::vector<std::string_view>& timeStamps,
    const CpuAnalyzerSettings& settings) {
    std::array<CpuStatistics, kCpuFieldCount> fields;
    for (std::size_t field = 0; field < kCpuFieldCount; ++field) {
        fields[field] = Summarize(series[field], timeStamps, settings);
    }
    return fields;
}

// The sums of the rows whose command is in the set, of the samples that have such a row.
CpuSeries SetTotals(const CpuUsageLog& log, const std::vector<bool>& isMember) {
    CpuSeries totals;
    for (std::size_t sample = 0; sample < log.sampleProcs.Count(); ++sample) {
        double total = 0.0;
        bool hit = false;
        for (const CpuProcessRow& row : log.sampleProcs.At(sample)) {
            if (isMember[row.command]) {
                total += row.usage;
                hit = true;
            }
        }
        if (hit) {
            totals.values.push_back(total);
            totals.samples.push_back(sample);
        }
    }
    return totals;
}

}  // namespace

CpuStatistics Summarize(const CpuSeries& series, const std::vector<std::string_view>& timeStamps,
                        const CpuAnalyzerSettings& settings) {
    CpuStatistics result;
    GetMaxMinAverage(series.values, result.maximum, result.minimum, result.mean);
    std::set<std::size_t> peaks;
    FindPeaks(series.values, result.mean, peaks, settings.peakRatio);
    result.peaks = ExtremesAt(peaks, series, timeStamps);
    std::set<std::size_t> troughs;
    FindTroughs(series.values, result.mean, troughs, settings.troughRatio);
    result.troughs = ExtremesAt(troughs, series, timeStamps);
    return result;
}

std::vector<CpuProcessStatistics> RankProcesses(const CpuUsageLog& log) {
    std::vector<std::pair<std::string, double>> keys;
    std::vector<CpuProcessStatistics> statistics;
    for (const CpuProcess& process : log.processes) {
        CpuProcessStatistics entry{process.pid, process.command,
                                   0.0,         0.0,
                                   0.0,         static_cast<std::uint32_t>(statistics.size())};
        GetMaxMinAverage(process.values, entry.maximum, entry.minimum, entry.mean);
        keys.emplace_back(process.pid, entry.mean);
        statistics.push_back(entry);
    }
    std::sort(statistics.begin(), statistics.end(), [&keys](const auto& a, const auto& b) {
        return CompareByValueDescending(keys[a.process], keys[b.process]);
    });
    return statistics;
}

CpuGlobalFindings FindGlobal(const CpuUsageLog& log, const CpuAnalyzerSettings& settings) {
    CpuGlobalFindings findings;
    findings.head = MeansOf(log.head);
    findings.fields = SummarizeFields(log.summary, log.head.timeStamps, settings);
    CpuSeries totals{log.sampleTotals, std::vector<std::size_t>(log.sampleTotals.size())};
    std::iota(totals.samples.begin(), totals.samples.end(), std::size_t{0});
    findings.total = Summarize(totals, log.head.timeStamps, settings);
    return findings;
}

std::vector<CpuSetFindings> FindProcessSets(const CpuUsageLog& log,
                                            const std::vector<CpuProcessStatistics>& ranked,
                                            const CpuAnalyzerSettings& settings) {
    std::vector<CpuSetFindings> findings;
    for (const CpuProcessSet& set : settings.processSets) {
        const auto isIn = [&set](std::string_view command) {
            return set.commands.count(std::string(command)) != 0;
        };
        std::vector<bool> isMember(log.commands.size());
        std::transform(log.commands.begin(), log.commands.end(), isMember.begin(), isIn);
        CpuSetFindings found;
        found.name = set.name;
        found.totals = SetTotals(log, isMember);
        found.statistics = Summarize(found.totals, log.head.timeStamps, settings);
        found.usagePercent = found.statistics.mean / static_cast<double>(settings.processors);
        std::copy_if(ranked.begin(), ranked.end(), std::back_inserter(found.processes),
                     [&isIn](const auto& process) { return isIn(process.command); });
        findings.push_back(std::move(found));
    }
    return findings;
}

CpuCoresFindings FindCores(const CpuCoresLog& log, const CpuAnalyzerSettings& settings) {
    CpuCoresFindings findings;
    findings.head = MeansOf(log.head);
    for (const CpuCore& core : log.cores) {
        findings.cores.push_back(
            {core.name, SummarizeFields(core.fields, log.head.timeStamps, settings)});
        findings.usageSorted.emplace_back(core.name,
                                          100.0 - findings.cores.back().fields[kCpuIdle].mean);
    }
    std::sort(findings.usageSorted.begin(), findings.usageSorted.end(), CompareByValueDescending);
    return findings;
}

}  // namespace zarn
