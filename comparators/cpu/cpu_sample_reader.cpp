#include "comparators/cpu/cpu_sample_reader.h"

#include <array>

#include "foundation/files.h"
#include "foundation/text.h"

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

// Finds names without hashing every line's last token whole: most lines name none of them, and
// their length and last bytes tell.
class NameTable {
public:
    explicit NameTable(const std::vector<std::string>& names) : names_(names) {
        for (std::size_t i = 0; i < names.size(); ++i) {
            if (!names[i].empty()) {
                slots_[SlotOf(names[i])].push_back(i);
            }
        }
    }

    // The index of `name`, which is not empty; kNone if it is no name.
    [[nodiscard]] std::size_t Find(std::string_view name) const {
        for (const std::size_t index : slots_[SlotOf(name)]) {
            if (names_[index] == name) {
                return index;
            }
        }
        return kNone;
    }

private:
    static constexpr std::size_t kSlots = 1024;

    static std::size_t SlotOf(std::string_view name) {
        const auto last = static_cast<unsigned char>(name.back());
        const auto middle = static_cast<unsigned char>(name[name.size() / 2]);
        const auto first = static_cast<unsigned char>(name.front());
        return (name.size() * 331U + last * 61U + middle * 17U + first) % kSlots;
    }

    const std::vector<std::string>& names_;
    std::array<std::vector<std::size_t>, kSlots> slots_;
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
    const NameTable table(names);
    std::vector<ProcessRows> rows(names.size());
    std::vector<std::size_t> lastSample(names.size(), kNone);
    std::size_t sample = 0;
    for (const std::string& text : texts) {
        LineCursor cursor(text);
        std::string_view line;
        while (cursor.Next(line)) {
            line = TrimLine(line);
            if (line.empty()) {
                ++sample;
                continue;
            }
            const std::size_t index = table.Find(LastToken(line));
            if (index != kNone) {
                rows[index].unique = rows[index].unique && lastSample[index] != sample;
                rows[index].lines.push_back(line);
                lastSample[index] = sample;
            }
        }
        ++sample;
    }
    return rows;
}

}  // namespace zarn
