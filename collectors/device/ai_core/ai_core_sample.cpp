#include "collectors/device/ai_core/ai_core_sample.h"

#include "formats/ai_core.h"
#include "foundation/numbers.h"

namespace zarn {
namespace {

bool HasFigure(std::uint8_t usage) {
    return usage != AiCoreSample::kNotANumber && usage != AiCoreSample::kNoValue;
}

std::string LogText(std::uint8_t usage) {
    if (HasFigure(usage)) {
        return std::to_string(usage);
    }
    return usage == AiCoreSample::kNotANumber ? "NAN" : "NULL";
}

void AppendDocumentText(std::uint8_t usage, std::string& text) {
    if (HasFigure(usage)) {
        AppendFixed(text, usage);
    } else {
        text += usage == AiCoreSample::kNotANumber ? kAiCoreNotANumber : kAiCoreNoValue;
    }
}

}  // namespace

double AiCoreAverage(const AiCoreSample& sample) {
    double sum = 0.0;
    double count = 0.0;
    for (std::size_t core = 0; core < sample.coreCount; ++core) {
        if (HasFigure(sample.usage[core])) {
            sum += sample.usage[core];
            count += 1.0;
        }
    }
    return sum / count;
}

void AppendAiCoreLog(const AiCoreSample& sample, std::string& log) {
    log += "@zarn-new:\n";
    log += "Device id: 0\tCore num: " + std::to_string(sample.coreCount) + "\n";
    for (std::size_t core = 0; core < sample.coreCount; ++core) {
        log += "Aicore " + std::to_string(core) + " usage: " + LogText(sample.usage[core]) + "%\n";
    }
    log += "Aicore average usage: ";
    AppendNumber(log, AiCoreAverage(sample));
    log += "%\n";
}

void WriteAiCoreDocument(const AiCoreSample& sample, EventWriter& events) {
    std::string text;
    AppendFixed(text, AiCoreAverage(sample));
    text += ' ';
    for (std::size_t core = 0; core < sample.coreCount; ++core) {
        AppendDocumentText(sample.usage[core], text);
        text += ' ';
    }
    events.BeginEventList(kAiCoreEventId, sample.time, kAiCoreObjectId);
    events.BeginObject();
    events.Text(kAiCoreMember, text);
    events.EndObject();
    events.EndEventList();
}

}  // namespace zarn
