#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "analyzers/correlation/correlation_analyzer.h"
#include "formats/ai_core.h"
#include "formats/correlation.h"
#include "formats/cpu.h"
#include "formats/ddr.h"
#include "formats/sched.h"
#include "formats/sched_analysis.h"
#include "foundation/files.h"
#include "foundation/text.h"
#include "fuzz/fuzz_input.h"

namespace zarn::fuzz {
namespace {

namespace fs = std::filesystem;

constexpr const char* kTime = "20230101120000000";

// Does what "mv" does.
class Mover final : public CommandRunner {
public:
    int Run(const std::string& command) override {
        std::vector<std::string> words;
        SplitString(command, " ", words);
        return words.size() == 3 ? std::rename(words[1].c_str(), words[2].c_str()) : 1;
    }
    [[nodiscard]] bool Capture(const std::string& /*command*/, std::string& /*output*/) override {
        return false;
    }
};

// A run tree whose tables and history stay, and whose documents are all the fuzzer's.
class Tree {
public:
    Tree() {
        std::string path = (fs::temp_directory_path() / "zarn-fuzz-XXXXXX").string();
        Require(::mkdtemp(path.data()) != nullptr, "there is a scratch folder");
        path_ = path + "/";
        Write(ddr_files::kAnalysisTable.Path(path_, kTime),
              "happen_time,total,\n'20230101120001000,5,\n");
        Write(cpu_files::kLoadingTable.Path(path_, kTime),
              "happen_time,total,Cpu0,\n'20230101120001000,5,6,\n");
        Write(path_ + sched_files::kRawDir +
                  sched_files::TimehistName(sched_files::GlobalTarget(), 1, kTime),
              "a\nb\nc\n1.000000 [0001] a[1] 0.1 0.2 0.3\n");
    }
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;
    ~Tree() { fs::remove_all(path_); }

    // Correlates with this text as each document; the table that comes out.
    [[nodiscard]] std::string Correlate(std::string_view document) const {
        for (const std::string& path :
             {ddr_files::kAnalysis.Path(path_, kTime),
              cpu_files::kGlobalAnalysis.Path(path_, kTime),
              cpu_files::kCoreAnalysis.Path(path_, kTime),
              ai_core_files::kUsageDocuments.Path(path_, kTime),
              path_ + run_tree::kJsonDir +
                  sched_files::AnalysisName({"global", "global", kTime},
                                            sched_files::kTimehistAnalysis)}) {
            Write(path, document);
        }
        JsonDocument config;
        Require(ParseJson(R"({"CorrelationAnalyzer":{"peak_interval_us":1000,"sched":"global"}})",
                          config),
                "the configuration is JSON");
        Mover mover;
        Host host = {mover};
        host.clock.currentTime = [](std::string& time) {
            time = kTime;
            return true;
        };
        CorrelationAnalyzer analyzer(CorrelationAnalyzer::kName, host);
        const StopFlag stopFlag{0};
        Require(analyzer.Start(config, path_, &stopFlag), "no document is a failure");
        std::string table;
        Require(ReadFile(correlation_files::kTable.Path(path_, kTime), table) == FileResult::Ok,
                "there is a table");
        return table;
    }

private:
    static void Write(const std::string& path, std::string_view text) {
        fs::create_directories(fs::path(path).parent_path());
        Require(WriteFile(path, text) == FileResult::Ok, "a file can be written");
    }

    std::string path_;
};

void CheckTable(std::string_view table) {
    LineCursor lines(table);
    std::string_view head;
    Require(lines.Next(head), "a table has a head");
    const auto columns = std::count(head.begin(), head.end(), ',');
    for (std::string_view line; lines.Next(line);) {
        Require(std::count(line.begin(), line.end(), ',') == columns,
                "a row has a cell for each column");
    }
}

}  // namespace
}  // namespace zarn::fuzz

// A document in the place of each of the sources'.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const zarn::fuzz::Tree tree;
    zarn::fuzz::CheckTable(tree.Correlate(zarn::fuzz::AsText(data, size)));
    return 0;
}
