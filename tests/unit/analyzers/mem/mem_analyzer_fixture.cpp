#include "tests/unit/analyzers/mem/mem_analyzer_fixture.h"

#include "tests/support/section_config.h"

namespace zarn::test {

MemAnalyzerTest::MemAnalyzerTest() {
    tree.Write(kSystemName, MemSystemLine("20230101120000001", {{"used", "500"}}));
    tree.Write(kProcessName, MemProcessLine("20230101120000002", {{"7", "app", {{"PSS", "40K"}}}}));
}

std::string MemAnalyzerTest::Section(const std::string& jobs, const std::string& threshold,
                                     const std::string& names) {
    return R"({"job":[)" + jobs + R"(],"peak_trought_threshold":)" + threshold +
           R"(,"system_field":"used","process_field":"PSS","process":[)" + names + "]}";
}

Captured MemAnalyzerTest::Run(const std::string& jobs, const std::string& threshold,
                              const std::string& names) {
    return RunSection(Section(jobs, threshold, names));
}

Captured MemAnalyzerTest::RunSection(const std::string& section) {
    return Capture([&] { Start(section); });
}

void MemAnalyzerTest::RunUncaptured() {
    Start(Section(R"("system_mem","process_mem")", "0.1", ""));
}

void MemAnalyzerTest::Start(const std::string& section) {
    const JsonDocument config = ParsedConfigOf("MemAnalyzer", section);
    MemAnalyzer analyzer(MemAnalyzer::kName);
    result = analyzer.Start(config, tree.Path(), &stopFlag);
}

}  // namespace zarn::test
