#include "tests/unit/analyzers/sched/sched_analyzer_fixture.h"

#include "foundation/text.h"

namespace zarn::test {

int SchedShell::Run(const std::string& command) {
    before(command);
    commands.push_back(command);
    std::string real = command;
    const auto replace = [&real](const std::string& tool, const std::string& rest,
                                 const std::string& suffix) {
        const std::string start = "perf sched " + tool + " -i ";
        if (real.rfind(start, 0) == 0) {
            real = ReplaceAll(real, start, "cat ");
            real = ReplaceAll(real, ".perf" + rest, suffix);
        }
    };
    replace("latency", " --pids", ".pids");
    replace("script", "", ".script");
    return SystemCommandRunner().Run(real);
}

bool SchedShell::Capture(const std::string& command, std::string& output) {
    if (command.rfind("pidof ", 0) == 0) {
        output += pids;
    } else if (command.rfind("date ", 0) == 0) {
        output += boot;
    } else {
        output += "4\n";
    }
    return true;
}

SchedAnalyzerTest::SchedAnalyzerTest() {
    host.otherRunner = &shell;
}

std::string SchedAnalyzerTest::ConfigFor(const std::string& jobs,
                                         const std::string& threshold) const {
    return R"({"SchedCollector":{"job":["global","core","process"],"sched":{"is_call_record":false,)"
           R"("duration":1,"topN":)" +
           topN +
           R"(,"sorted":"max","coreID":[3],"process":["planner"]}},"SchedAnalyzer":{"job":[)" +
           jobs + R"(],"runTimeThreshold":)" + threshold + "}}";
}

Captured SchedAnalyzerTest::Run(const std::string& jobs, const std::string& threshold) {
    return RunConfig(ConfigFor(jobs, threshold));
}

Captured SchedAnalyzerTest::RunConfig(const std::string& config) {
    JsonDocument document;
    EXPECT_TRUE(ParseJson(config, document));
    SchedAnalyzer analyzer(SchedAnalyzer::kName, host.Get());
    return Capture([&] { result = analyzer.Start(document, tree.Path(), &stopFlag); });
}

void SchedAnalyzerTest::WriteRaw(const std::string& target, const Raw& raw) const {
    const std::string record = sched_files::kRawDir + sched_files::RecordName(target, 1, kStamp);
    const std::string stem = record.substr(0, record.rfind('.'));
    tree.Write(record, "");
    const auto write = [this](const std::string& name, const std::string& text) {
        if (!text.empty()) {
            tree.Write(name, text);
        }
    };
    write(sched_files::kRawDir + sched_files::LatencyName(target, "max", 1, kStamp), raw.latency);
    write(sched_files::kRawDir + sched_files::TimehistName(target, 1, kStamp), raw.timehist);
    write(stem + ".pids", raw.pids);
    write(stem + ".script", raw.script);
}

std::string SchedAnalyzerTest::RawPath(const std::string& name) const {
    return tree.PathOf(sched_files::kRawDir + name);
}

std::string SchedAnalyzerTest::AnalysisPath(const std::string& name) const {
    return tree.PathOf(sched_files::kAnalysisRawDir + name);
}

std::string LatencyLine(const std::string& task, const std::string& delay, const std::string& at) {
    return "  " + task + " |  1.000 ms |  2 | avg:   0.100 ms | max:   " + delay +
           " ms | max start: " + at + " s | max end: 99.0 s\n";
}

std::string LatencyReport(const std::string& rows) {
    return "\n ------------------\n  Task | Runtime ms\n ------------------\n" + rows +
           " ------------------\n  TOTAL: |  9.0 ms |  9 |\n";
}

std::string Timehist(const std::string& rows) {
    return "  time  cpu  task name\n  [tid/pid]\n------ ------\n" + rows;
}

}  // namespace zarn::test
