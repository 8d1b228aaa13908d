#include "analyzers/correlation/correlation_aicore.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <utility>

#include "formats/ai_core.h"
#include "foundation/console.h"
#include "foundation/numbers.h"
#include "foundation/text.h"

namespace zarn {
namespace {

using Samples = std::map<TimeDigits, std::vector<std::string>>;

// A sample's member of the one element of `content`; nullptr if it is not there.
const JsonValue* FindCores(const JsonValue& content) {
    if (!content.IsArray() || content.Empty()) {
        return nullptr;
    }
    return MemberOf(&content[0], kAiCoreMember, JsonType::String);
}

// What would end a cell or a line becomes a blank.
std::string CellOf(std::string text) {
    std::replace_if(
        text.begin(), text.end(),
        [](char byte) { return byte == ',' || byte == '\n' || byte == '\r'; }, ' ');
    return text;
}

// The samples one after another, those of fewer cores with empty cells behind them.
class SampleRows final : public SourceRows {
public:
    SampleRows(const Samples& samples, std::size_t columns)
        : next_(samples.begin()), end_(samples.end()), columns_(columns) {}

    [[nodiscard]] bool Next() override {
        if (next_ == end_) {
            return false;
        }
        sample_ = &*next_;
        ++next_;
        return true;
    }

    [[nodiscard]] const TimeDigits& Time() const override { return sample_->first; }

    void AppendCells(std::string& line) const override {
        for (const std::string& cell : sample_->second) {
            line.append(cell).push_back(',');
        }
        line.append(columns_ - sample_->second.size(), ',');
    }

private:
    Samples::const_iterator next_;
    Samples::const_iterator end_;
    std::size_t columns_;
    const Samples::value_type* sample_ = nullptr;
};

std::size_t WidthOf(const Samples& samples) {
    std::size_t columns = 0;
    for (const auto& [time, cells] : samples) {
        columns = std::max(columns, cells.size());
    }
    return columns;
}

std::string HeadsOf(std::size_t columns) {
    std::string heads = "aicore_average,";
    for (std::size_t core = 0; core + 1 < columns; ++core) {
        heads += "aicore_aicore" + std::to_string(core) + ",";
    }
    return heads;
}

}  // namespace

bool CorrelationAicore::Collect(const CorrelationSettings& settings, TimeSet& times) {
    std::vector<std::string> paths = ai_core_files::kUsageDocuments.FindAll(context_.dataPath);
    std::sort(paths.begin(), paths.end());
    FirstDocument document;  // there may be thousands
    for (const std::string& path : paths) {
        CollectSample(path, document);
    }
    for (const auto& [time, cells] : samples_) {
        times.Add(time);
    }
    FindPeak(settings);
    return !samples_.empty();
}

// A sample that cannot be read is told and left out.
void CorrelationAicore::CollectSample(const std::string& path, FirstDocument& document) {
    (void)document.Open(path);  // what cannot be read is no JSON
    const JsonValue* whole = document.Parse();
    if (whole == nullptr) {
        return;
    }
    const JsonValue* stamp = MemberOf(whole, "happenTime", JsonType::String);
    if (stamp == nullptr) {
        FailJson("Json file lacks of required field [happenTime].");
        return;
    }
    const JsonValue* content = ContentOf(*whole);
    if (content == nullptr) {
        return;
    }
    const JsonValue* cores = FindCores(*content);
    if (cores == nullptr) {
        FailJson("Json file lacks of required field [aicore].");
        return;
    }
    std::vector<std::string> cells;
    SplitString(CellOf(TextOf(*cores)), " ", cells);
    if (cells.empty()) {
        FailJson("Invalid aicore data.");
        return;
    }
    TimeDigits time;
    if (ReadStamp(TextOf(*stamp), time)) {
        samples_.emplace(time, std::move(cells));
    }
}

void CorrelationAicore::FindPeak(const CorrelationSettings& settings) {
    double greatest = 0.0;
    std::vector<TimeDigits> peak;
    for (const auto& [time, cells] : samples_) {
        const std::optional<double> average = NumberIn(cells.front());
        if (average && *average > greatest) {
            greatest = *average;
            peak.assign(1, time);
        }
    }
    if (peak.empty()) {
        PrintError("[CorrelationAnalyzer] Aicore peak time is empty.");
        return;
    }
    peaks_.push_back({"peak_aicore_average", SpansAround(peak, settings.peakIntervalUs)});
}

bool CorrelationAicore::Save(const std::string& path) {
    constexpr SaveWords kWords = {
        "[CorrelationAnalyzer] Failed to open file for writting aicore data!",
        "[CorrelationAnalyzer] Failed to save aicore data."};
    if (samples_.empty()) {
        return PrintFailure(kWords.cannotOpen);
    }
    const std::size_t columns = WidthOf(samples_);
    std::vector<ColumnGroup> groups;
    groups.push_back({HeadsOf(columns), columns, nullptr,
                      std::make_unique<SampleRows>(samples_, columns), &peaks_});
    return SaveColumns(
        path, groups, kWords, [] { return true; }, context_.runner);
}

}  // namespace zarn
