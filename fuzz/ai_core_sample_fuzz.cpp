#include <algorithm>
#include <string>

#include "collectors/device/ai_core/ai_core_sample.h"
#include "foundation/json.h"
#include "fuzz/fuzz_input.h"

// Any bytes of the device: a line a core, and a document with as many words.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using zarn::fuzz::Require;
    zarn::AiCoreSample sample;
    sample.coreCount = static_cast<std::uint32_t>(std::min(size, zarn::kMaxAiCores));
    std::copy_n(data, sample.coreCount, sample.usage.begin());
    std::string log;
    zarn::AppendAiCoreLog(sample, log);
    Require(std::count(log.begin(), log.end(), '\n') == sample.coreCount + 3, "a line a core");
    Require(std::count(log.begin(), log.end(), '%') == sample.coreCount + 1, "a percentage each");
    zarn::EventWriter events;
    zarn::WriteAiCoreDocument(sample, events);
    zarn::JsonDocument document;
    const std::string_view line = events.Lines();
    Require(zarn::ParseJson(line.substr(0, line.size() - 1), document), "the document is JSON");
    const std::string words = document["content"][0]["aicore"].GetString();
    Require(std::count(words.begin(), words.end(), ' ') == sample.coreCount + 1, "a word a core");
    return 0;
}
