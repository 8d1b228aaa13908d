#include <string>
#include <vector>

#include "analyzers/ddr/ddr_info_reader.h"
#include "comparators/ddr/ddr_version_reader.h"
#include "foundation/files.h"
#include "fuzz/fuzz_input.h"
#include "kit/internal/event_line.h"

namespace zarn::fuzz {
namespace {

// Reads the text, anew from its first line, by one of the readers.
template <typename Record>
void Read(bool (*reader)(const NextLine&, Record&), std::string_view text, Record& record) {
    LineCursor cursor(text);
    (void)reader(LinesOf(cursor), record);
}

// All that is to be had from a line: whether it is JSON, and its members and those of its elements.
std::string Whole(std::string_view text) {
    EventLine line;
    if (!line.Read(text)) {
        return "";
    }
    std::string whole = std::to_string(static_cast<int>(line.ContentKind()));
    const auto add = [&whole](const EventObject& object) {
        for (const EventMember& member : object) {
            whole.append("\n").append(member.name).append(member.isText ? "=" : "-");
            whole.append(member.text);
        }
        whole += "\n\n";
    };
    add(line.Document());
    if (line.ContentKind() == EventLine::Content::Array) {
        (void)line.TellElements([&add](const EventObject&, const EventObject& element) {
            add(element);
            return true;
        });
    }
    return whole;
}

}  // namespace
}  // namespace zarn::fuzz

// The DDR analyzer's and comparator's readers of documents: whatever the lines hold, the lists fit
// together, and a line that is read without the JSON library gives what the library gives, which
// gets it with a blank in front.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using zarn::fuzz::Read;
    using zarn::fuzz::Whole;
    const std::string_view text = zarn::fuzz::AsText(data, size);
    zarn::DdrInfoMap infos;
    Read(zarn::ReadQosSettings, text, infos);
    Read(zarn::ReadBandwidthShares, text, infos);
    for (const auto& [name, info] : infos) {
        zarn::fuzz::Require(info.values.size() == info.timeStamps.size(), "a moment per value");
    }
    zarn::DdrVersionInfo version;
    Read(zarn::ReadVersionLimits, text, version);
    Read(zarn::ReadVersionAnalysis, text, version);
    std::vector<std::vector<double>> values(zarn::ddrCompNameList.size());
    Read(zarn::ReadVersionShares, text, values);
    for (const auto& shares : values) {
        zarn::fuzz::Require(shares.size() <= values.front().size(),
                            "no name has more than the first");
    }
    zarn::LineCursor cursor(text);
    for (std::string_view line; cursor.Next(line);) {
        zarn::fuzz::Require(Whole(line) == Whole(" " + std::string(line)),
                            "the library reads a plain line alike");
    }
    return 0;
}
