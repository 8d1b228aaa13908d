#include "tests/unit/collectors/profiling/topdown/topdown_collector_fixture.h"

#include "tests/support/section_config.h"

namespace zarn::test {

void TopdownCollectorTest::PerfLeaves(const std::string& text, const std::string& commandHolds) {
    runner.Before(commandHolds, [this, text](const std::string& command) {
        const std::size_t begin = command.find(" -o ") + 4;
        const std::string path = command.substr(begin, command.find(' ', begin) - begin);
        tree.Write(path.substr(tree.Path().size()), text);
    });
}

Captured TopdownCollectorTest::Run(const std::string& jobs, const std::string& cores,
                                   const std::string& processes, const std::string& duration) {
    const JsonDocument config = ParsedConfigOf(
        "TopdownCollector",
        SectionText(
            {{"job", jobs}, {"core", cores}, {"process", processes}, {"duration", duration}}));
    TopdownCollector collector(TopdownCollector::kName, host.Get());
    return Capture([&] {
        checked = collector.CheckOptions(config, "collector");
        result = collector.Start(config, tree.Path(), &stopFlag);
    });
}

std::string TopdownCollectorTest::PerfCommand(const std::string& target, const std::string& file,
                                              const std::string& duration) const {
    return "perf stat " + target + "-x\\; -o " + tree.Path() + "raw_data/topdown/" + file +
           " -I 2000 -e "
           "'{r2014},{r11},{r1b},{r8},{r201d},{r10},{r2013},{r7000},{r7001},{r7004},{r7005},{r30},"
           "{r2e},{r27},{r28},{r1001},{r1010},{r1014},{r1018},{r100c},{r2012},{r2010},{r2004},"
           "{r2006},{r2007},{r2008},{r201e},{r2005},{r7002},{r7003},{r7006},{r7007},{r200b},"
           "{r200c},{r200d}' -a sleep " +
           duration;
}

std::string TopdownCollectorTest::Document(const std::string& name) const {
    const std::string path = "json/" + name;
    return tree.Has(path) ? tree.Read(path) : std::string();
}

std::string TopdownCollectorTest::OutputFor(const std::vector<std::string>& rawFiles) const {
    std::string out =
        "[TopdownCollector] Collecting TopdownCollector raw data!\n"
        "[TopdownCollector] Creating TopdownCollector output json!\n";
    for (const std::string& file : rawFiles) {
        out += "[TopdownCollector] Analyzing collection results: " + tree.Path() +
               "raw_data/topdown/" + file + "\n";
    }
    return out + "[TopdownCollector] Success: TopdownCollector has completed JSON data storage!\n";
}

}  // namespace zarn::test
