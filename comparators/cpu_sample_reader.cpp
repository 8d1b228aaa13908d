#include "comparators/cpu_sample_reader.h"

#include <unordered_map>
#include <utility>

#include "foundation/zarn_utils.h"

namespace zarn {
namespace {

constexpr std::size_t kNone = static_cast<std::size_t>(-1);

std::string_view TrimLine(std::string_view line) {
    if (!line.empty() && line.back() == '\r') {
        line.remove_suffix(1);
    }
    return TrimSpacesView(line);
}

std::string_view LastToken(std::string_view trimmedLine) {
    return trimmedLine.substr(trimmedLine.rfind(' ') + 1);
}

// Files lines under the process they name, sample by sample.
class RowCollector {
public:
    explicit RowCollector(const std::vector<std::string>& names)
        : rows_(names.size()), lastSample_(names.size(), kNone) {
        for (std::size_t i = 0; i < names.size(); ++i) {
            indexes_.emplace(names[i], i);
        }
    }

    void Add(std::size_t sample, std::string_view line) {
        const auto found = indexes_.find(LastToken(line));
        if (found == indexes_.end()) {
            return;
        }
        ProcessRows& rows = rows_[found->second];
        rows.unique = rows.unique && lastSample_[found->second] != sample;
        lastSample_[found->second] = sample;
        rows.lines.push_back(line);
    }

    [[nodiscard]] std::vector<ProcessRows> Take() { return std::move(rows_); }

private:
    std::vector<ProcessRows> rows_;
    std::vector<std::size_t> lastSample_;  // of each name
    std::unordered_map<std::string_view, std::size_t> indexes_;
};

}  // namespace

bool SampleCursor::Next(std::vector<std::string_view>& lines) {
    lines.clear();
    std::string_view line;
    while (cursor_.Next(line)) {
        const std::string_view trimmed = TrimLine(line);
        if (!trimmed.empty()) {
            lines.push_back(trimmed);
        } else if (!lines.empty()) {
            break;
        }
    }
    return !lines.empty();
}

std::vector<ProcessRows> FindProcessRows(const std::vector<std::string>& texts,
                                         const std::vector<std::string>& names) {
    RowCollector collector(names);
    std::vector<std::string_view> lines;
    std::size_t sample = 0;
    for (const std::string& text : texts) {
        for (SampleCursor cursor(text); cursor.Next(lines); ++sample) {
            for (const std::string_view line : lines) {
                collector.Add(sample, line);
            }
        }
    }
    return collector.Take();
}

}  // namespace zarn
