#include "tests/unit/analyzers/aicpu/aicpu_analyzer_fixture.h"

#include <filesystem>
#include <map>

#include "collectors/device/aicpu/aicpu_document.h"
#include "kit/event_writer.h"

namespace zarn::test {

namespace fs = std::filesystem;

AicpuAnalyzerTest::AicpuAnalyzerTest() {
    for (const char* folder : {"json", "env_info", "raw_data/aicpu"}) {
        fs::create_directories(dir.Path() + folder);
    }
}

void AicpuAnalyzerTest::Collect(const std::vector<AicpuProcess>& processes) {
    SaveJsonToFile(dir.Path() + RecordName(),
                   MakeAicpuRecordDocument(AicpuRecordOf(processes), kTime));
    std::map<std::string, AicpuRawFiles> files;
    for (const AicpuProcess& process : processes) {
        const AicpuRawFiles more = AicpuRawFilesOf(process);
        AicpuRawFiles& all = files[process.name];
        all.core += more.core;
        all.event += more.event;
        all.abnormal += more.abnormal;
        all.process += more.process;
    }
    for (const auto& [name, text] : files) {
        SetRaw("core", name, text.core);
        SetRaw("event", name, text.event);
        SetRaw("abnormal", name, text.abnormal);
        SetRaw("process", name, text.process);
    }
}

void AicpuAnalyzerTest::SetRaw(const std::string& list, const std::string& process,
                               const std::string& text) const {
    dir.Write("raw_data/aicpu/aicpu_" + list + "_" + process + "_" + kTime, text);
}

void AicpuAnalyzerTest::RemoveRaw(const std::string& list, const std::string& process) const {
    fs::remove(dir.Path() + "raw_data/aicpu/aicpu_" + list + "_" + process + "_" + kTime);
}

Captured AicpuAnalyzerTest::Run(const std::string& jobs) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(R"({"AicpuAnalyzer":{"aicpu_job":[)" + jobs + "]}}", config));
    AicpuAnalyzer analyzer(AicpuAnalyzer::kName);
    return Capture([&] { result = analyzer.Start(config, dir.Path(), &stopFlag); });
}

std::string AicpuAnalyzerTest::Document(const std::string& process) const {
    const std::string path = dir.Path() + "json/soc_aicpu_ana_1_" + process + "_" + kTime + ".data";
    return fs::exists(path) ? ReadText(path) : std::string();
}

}  // namespace zarn::test
