#include "formats/ai_core.h"

#include <algorithm>
#include <utility>

#include "foundation/text.h"
#include "report/families/families.h"
#include "report/moments.h"
#include "report/series.h"

namespace zarn::report {
namespace {

// The cores that the device has at most, and the average before them.
constexpr std::size_t kMostFigures = 33;

// The figures of a sample; none for a core that has no figure.
[[nodiscard]] std::vector<std::optional<double>> FiguresIn(std::string_view text) {
    std::vector<std::optional<double>> figures;
    PieceCursor pieces(text, ' ');
    for (std::string_view piece; figures.size() < kMostFigures && pieces.Next(piece);) {
        const bool isFigure = piece != kAiCoreNotANumber && piece != kAiCoreNoValue;
        figures.push_back(isFigure ? WholeNumberIn(piece) : std::nullopt);
    }
    return figures;
}

[[nodiscard]] std::vector<std::string> NamesOf(std::size_t figures) {
    std::vector<std::string> names = {"average"};
    for (std::size_t core = 0; core + 1 < figures; ++core) {
        names.push_back("core " + std::to_string(core));
    }
    return names;
}

}  // namespace

// A file holds one sample, so that the chart has as many files as samples.
std::vector<Block> AiCoreBlocks(FamilyContext& context) {
    struct Sample {
        Moment moment;
        std::uint32_t file;
        std::vector<std::optional<double>> figures;
    };
    std::vector<Sample> samples;
    std::size_t most = 0;
    for (const RunFile& file : context.run.Find(ai_core_files::kUsageDocuments)) {
        ReadDocuments(context.files, file, [&](const JsonValue& document, std::uint64_t line) {
            if (!samples.empty() && samples.back().file == file.index) {
                context.files.Trouble(file.index, "it holds more than one sample");
                return;
            }
            const auto moment = MomentOf(MemberOf(&document, "happenTime"));
            const auto text =
                TextOf(MemberOf(FirstOf(MemberOf(&document, "content")), kAiCoreMember));
            if (!moment || !text) {
                context.files.Trouble(file.index, "line " + std::to_string(line) + " is no sample");
                return;
            }
            samples.push_back({*moment, file.index, FiguresIn(*text)});
            most = std::max(most, samples.back().figures.size());
        });
    }
    if (most == 0) {
        return {};
    }
    std::stable_sort(samples.begin(), samples.end(),
                     [](const Sample& a, const Sample& b) { return a.moment < b.moment; });
    // The place of a line is that of the sample, by which its file is found again.
    std::vector<std::string> names = NamesOf(most);
    SeriesMaker maker(names, false);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        maker.Add(samples[i].moment, samples[i].figures, i);
    }
    std::vector<std::uint32_t> files;
    files.reserve(samples.size());
    for (const Sample& sample : samples) {
        files.push_back(sample.file);
    }
    std::vector<Block> blocks;
    blocks.emplace_back(
        maker.MakeOfFiles(context, files, {"How busy the AI cores are", "", std::nullopt}, "%"));
    return blocks;
}

}  // namespace zarn::report
