#include "collectors/system/cpu_documents.h"
#include "collectors/system/cpu_samples_parser.h"
#include "fuzz/fuzz_input.h"

// What top and ps printed, cut into samples and made into documents: whatever they printed, it can
// be filed, and every document is JSON.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = zarn::fuzz::AsText(data, size);
    const zarn::CpuSampleTimes times("20230101120000123", 1.5);
    const std::vector<std::string> process{"zarn", "top"};
    const std::deque<std::string> passes{std::string(text)};
    const std::map<std::string, std::string> threads{{"1", std::string(text)}};

    zarn::CpuSampleLists lists;
    lists.usage = zarn::CutUsageSamples(text, times);
    lists.global = zarn::CutGlobalSamples(lists.usage, times);
    lists.cores = zarn::CutCoreSamples(text, times);
    lists.threads = zarn::CutThreadSamples(text, times);
    lists.selected = zarn::SelectSamples(lists.usage, process);
    lists.top10 = zarn::CutTop10Samples(passes);
    lists.selectedPs = zarn::SelectPsSamples(passes, process);
    lists.threadInfoByPid = zarn::CutThreadInfo(threads);
    zarn::fuzz::Require(!zarn::FormatRawFile(lists.usage).empty(), "there is a first sample");

    for (std::size_t sample = 0; sample <= lists.usage.size(); ++sample) {
        const zarn::JsonDocument document = zarn::BuildCpuJson(lists, times, sample);
        rapidjson::StringBuffer written;
        zarn::WriteJson(document, written);
        zarn::JsonDocument again;
        zarn::fuzz::Require(zarn::ParseJson({written.GetString(), written.GetSize()}, again),
                            "a document is JSON");
    }
    return 0;
}
