#include "tests/unit/analyzers/correlation/correlation_analyzer_fixture.h"

#include <cstdio>

#include "formats/ai_core.h"
#include "formats/cpu.h"
#include "formats/ddr.h"
#include "formats/sched.h"
#include "formats/sched_analysis.h"
#include "foundation/text.h"
#include "tests/support/section_config.h"

namespace zarn::test {
namespace {

std::string Peaks(const std::vector<std::string>& stamps) {
    std::string list;
    for (const std::string& stamp : stamps) {
        list += (list.empty() ? "" : ",");
        list += R"({"Value":"90.000000","timeStamp":")" + stamp + "\"}";
    }
    return "[" + list + "]";
}

}  // namespace

int MovingRunner::Run(const std::string& command) {
    commands.push_back(command);
    std::vector<std::string> words;
    SplitString(command, " ", words);
    const bool fails = allFail || failing == static_cast<int>(commands.size()) - 1;
    if (fails || words.size() != 3 || words[0] != "mv") {
        return 256;
    }
    // Some file systems write to the disk what is moved onto another file.
    (void)std::remove(words[2].c_str());
    return std::rename(words[1].c_str(), words[2].c_str());
}

bool MovingRunner::Capture(const std::string& /*command*/, std::string& /*output*/) {
    return false;
}

CorrelationTest::CorrelationTest() {
    host.otherRunner = &runner;
}

std::string CorrelationTest::Section(const std::string& sched, const std::string& interval) {
    return R"({"peak_interval_us":)" + interval + R"(,"sched":")" + sched + "\"}";
}

Captured CorrelationTest::Run(const std::string& sched, const std::string& interval) {
    return RunSection(Section(sched, interval));
}

Captured CorrelationTest::RunSection(const std::string& section) {
    return Capture([&] { RunUncaptured(section); });
}

void CorrelationTest::RunUncaptured(const std::string& section) {
    const JsonDocument config = ParsedConfigOf("CorrelationAnalyzer", section);
    host.ticks = 0;  // each run names its table alike
    CorrelationAnalyzer analyzer(CorrelationAnalyzer::kName, host.Get());
    result = analyzer.Start(config, tree.Path(), &stopFlag);
}

std::string CorrelationTest::NoTable(const std::string& source) const {
    const std::string folder = tree.PathOf("raw_data/" + source + "/");
    return "Can not open " + folder + "\n[CorrelationAnalyzer] " + source +
           " raw data not exist in dir:" + folder + "\n[CorrelationAnalyzer] Failed to get " +
           source + " raw data, skip " + source + ".\n";
}

std::string CorrelationTest::NoHistory() const {
    return NoTable("sched");
}

std::string CorrelationTest::CannotSave(const std::string& source) {
    return "[CorrelationAnalyzer] Failed to open file for writting " + source + " data!\n";
}

void CorrelationTest::WriteDdr(const std::string& table, const std::string& document) const {
    tree.Write(RunTree::NameOf(ddr_files::kAnalysisTable, kTime), table);
    tree.Write(RunTree::NameOf(ddr_files::kAnalysis, kTime), document);
}

void CorrelationTest::WriteCpu(const std::string& table, const std::string& global,
                               const std::string& core) const {
    tree.Write(RunTree::NameOf(cpu_files::kLoadingTable, kTime), table);
    tree.Write(RunTree::NameOf(cpu_files::kGlobalAnalysis, kTime), global);
    tree.Write(RunTree::NameOf(cpu_files::kCoreAnalysis, kTime), core);
}

void CorrelationTest::WriteSample(const std::string& time, const std::string& document) const {
    tree.Write(RunTree::NameOf(ai_core_files::kUsageDocuments, time), document);
}

void CorrelationTest::WriteGlobalHistory(const std::string& rows,
                                         const std::string& document) const {
    WriteHistory(sched_files::GlobalTarget(), rows);
    WriteAnalysis("global", "global", document);
}

void CorrelationTest::WriteHistory(const std::string& target, const std::string& rows) const {
    tree.Write(sched_files::kRawDir + sched_files::TimehistName(target, 1, kTime),
               "  time  cpu  task name\n  [tid/pid]\n------ ------\n" + rows);
}

void CorrelationTest::WriteAnalysis(const std::string& job, const std::string& label,
                                    const std::string& document) const {
    tree.Write(run_tree::kJsonDir +
                   sched_files::AnalysisName({job, label, kTime}, sched_files::kTimehistAnalysis),
               document);
}

std::string DdrDocument(const std::vector<std::string>& peaks) {
    return R"({"objectId":"soc_ddr_ana","content":[{"mpam_name":"total","meanBw":"1.000000",)"
           R"("peak":)" +
           Peaks(peaks) + R"(},{"mpam_name":"cpu","peak":[]}]})" + "\n";
}

std::string CpuGlobalDocument(const std::vector<std::string>& peaks) {
    return R"({"objectId":"soc_cpu_ana_global","content":{"task":"1.0","id":{"peak":)" +
           Peaks(peaks) + "}}}\n";
}

std::string CpuCoreDocument(const std::vector<std::vector<std::string>>& peaks) {
    std::string cores;
    for (std::size_t core = 0; core < peaks.size(); ++core) {
        cores += (core == 0 ? "" : ",");
        cores += R"({"coreID":"Cpu)" + std::to_string(core) + R"(","id":{"peak":)" +
                 Peaks(peaks[core]) + "}}";
    }
    return R"({"objectId":"soc_cpu_ana_core","content":{"cpuUsage":[)" + cores + "]}}\n";
}

std::string SampleDocument(const std::string& time, const std::string& aicore) {
    return R"({"eventId":"222210200","happenTime":")" + time +
           R"(","objectId":"soc_ai_usage_info","content":[{"aicore":")" + aicore + "\"}]}\n";
}

std::string SchedDocument(const std::vector<std::string>& seconds) {
    std::string rows;
    for (const std::string& second : seconds) {
        rows += (rows.empty() ? "" : ",");
        rows +=
            R"({"task":"a[1]","time":")" + second + R"( s","systemStartUpTime":"20230101120000"})";
    }
    return R"({"objectId":"soc_sched_global_timehist_ana","content":[)" + rows + "]}\n";
}

std::string HistoryRow(const std::string& seconds, const std::string& task) {
    return "   " + seconds + " [0002]  " + task + "   0.100   0.200   0.300 \n";
}

std::string Lines(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

}  // namespace zarn::test
