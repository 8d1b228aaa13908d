#include <algorithm>
#include <array>
#include <utility>

#include "formats/ddr.h"
#include "foundation/text.h"
#include "report/families/families.h"
#include "report/lines.h"
#include "report/moments.h"

namespace zarn::report {
namespace {

constexpr std::array<const char*, 4> kLoads = {"cpu", "aic", "imgp", "isp"};

// The text behind `mark`, up to the end of the line; none where the line does not hold it.
[[nodiscard]] std::optional<std::string_view> Behind(std::string_view line, std::string_view mark) {
    const std::size_t at = line.find(mark);
    return at == std::string_view::npos
               ? std::nullopt
               : std::optional(TrimSpacesView(line.substr(at + mark.size())));
}

// The number of a load in "cpu : 15.2 aic : 9.4 ...", with or without commas.
[[nodiscard]] Cell NumberOfLoad(std::string_view text, const char* load, const Source& source) {
    const std::string mark = std::string(load) + " : ";
    const auto rest = Behind(text, mark);
    return NumberCellOf(rest ? rest->substr(0, rest->find_first_of(" ,")) : "", source);
}

// A search, read line by line.
class Search {
public:
    Search(FamilyContext& context, const RunFile& file) : context_(context), file_(file) {
        evaluations_.head = {"Evaluations of the search",
                             "t-values of the rates against those before the search; of the camera "
                             "the smallest frame rate. The log tells bounds of the best ones only.",
                             Source{file.index, 0}};
        evaluations_.columns = {{"evaluation", "", true}, {"cpu", "t", true},
                                {"aic", "t", true},       {"imgp", "t", true},
                                {"isp", "fps", true},     {"verdict", "", false}};
        best_.head = {"Best so far", "Partition and bound in GB/s.", Source{file.index, 0}};
        best_.columns = {{"iteration", "", true},
                         {"lower bounds", "", false},
                         {"upper bounds", "", false},
                         {"cpu", "t", true}};
        rates_.head = {"Mean frame rates", "", Source{file.index, 0}};
        rates_.unit = "fps";
        rates_.names = {"before the search", "best candidate"};
    }

    void Take(std::string_view line, std::uint64_t number) {
        const Source source = context_.At(file_, number);
        if (const auto values = Behind(line, "t-value  ")) {
            AddEvaluation(*values, source);
        } else if (const auto update = Behind(line, "update pso num: ")) {
            Judge("taken as the next place of candidate " + std::string(FirstWord(*update)));
        } else if (const auto taken = Behind(line, "pso num: ")) {
            Judge("taken as candidate " + std::string(FirstWord(*taken)));
        } else if (const auto iteration = Behind(line, "iter num: ")) {
            Cell none = EmptyCell(Reason::NotInFile);
            last_ = {NumberCellOf(FirstWord(*iteration), source), none, none, none};
            const std::size_t rows = best_.rows.size();
            AddRow(best_, last_);
            isBestShown_ = best_.rows.size() > rows;
        } else if (!last_.empty() && TakeBest(line, source)) {
            if (isBestShown_) {
                best_.rows.back() = last_;
            }
        } else if (const auto after = Behind(line, "benchmark : ")) {
            bestRates_ = RatesIn(*after, source);
        } else if (const auto before = Behind(line, "optimized : ")) {
            oldRates_ = RatesIn(*before, source);
        }
    }

    void AddTo(std::vector<Block>& blocks) {
        DropRatesOfNone();
        for (std::size_t i = 0; i < oldRates_.size() && i < bestRates_.size(); ++i) {
            rates_.rows.push_back({kLoads[i], {oldRates_[i], bestRates_[i]}});
        }
        if (!rates_.rows.empty()) {
            blocks.emplace_back(std::move(rates_));
        }
        TellBest();
        for (TableBlock* table : {&best_, &evaluations_}) {
            if (!table->rows.empty()) {
                blocks.emplace_back(std::move(*table));
            }
        }
    }

private:
    // A search that found nothing better writes 0 for all rates of the best candidate.
    void DropRatesOfNone() {
        const bool isNone = std::all_of(bestRates_.begin(), bestRates_.end(), [](const Cell& rate) {
            const auto* number = std::get_if<double>(&rate.value);
            return number != nullptr && *number == 0.0;
        });
        for (Cell& rate : bestRates_) {
            rate.value = isNone ? Reason::NotFound : rate.value;
        }
    }

    void TellBest() {
        const auto* bounds = last_.empty() ? nullptr : std::get_if<std::string>(&last_[2].value);
        if (bounds != nullptr) {
            Cell what = last_[2];
            what.value =
                "DDR optimizer, t-value of the CPU's rate with the best upper bounds: " + *bounds;
            context_.findings.push_back({what, last_[3], "t", EmptyCell(Reason::NotInFile)});
        }
    }

    [[nodiscard]] static std::string_view FirstWord(std::string_view text) {
        return text.substr(0, text.find_first_of(" ,"));
    }

    void AddEvaluation(std::string_view values, const Source& source) {
        Cell number = EmptyCell(Reason::NotInFile);
        number.value = static_cast<double>(++evaluated_);
        number.computed = "counted";
        number.source = source;
        std::vector<Cell> row = {std::move(number)};
        for (const char* load : kLoads) {
            row.push_back(NumberOfLoad(values, load, source));
        }
        row.push_back(PlainCell("not taken"));
        const std::size_t rows = evaluations_.rows.size();
        AddRow(evaluations_, std::move(row));
        isShown_ = evaluations_.rows.size() > rows;
    }

    void Judge(std::string verdict) {
        if (isShown_) {
            evaluations_.rows.back().back().value = std::move(verdict);
        }
    }

    // Fills the row of the iteration that was told of last.
    [[nodiscard]] bool TakeBest(std::string_view line, const Source& source) {
        std::vector<Cell>& row = last_;
        // As long as none was better there are no bounds, and the log has a t-value of 0.
        const bool hasBest = std::holds_alternative<std::string>(row[2].value);
        const auto boundsIn = [&source](std::string_view bounds) {
            return bounds.empty() ? EmptyCell(Reason::NotFound) : TextCellOf(bounds, source);
        };
        if (const auto low = Behind(line, "best bwLow setting:")) {
            row[1] = boundsIn(*low);
        } else if (const auto high = Behind(line, "best bwHigh setting:")) {
            row[2] = boundsIn(*high);
        } else if (const auto perf = Behind(line, "best cpu perf: ")) {
            row[3] = hasBest ? NumberCellOf(*perf, source) : EmptyCell(Reason::NotFound);
        } else {
            return false;
        }
        return true;
    }

    [[nodiscard]] static std::vector<Cell> RatesIn(std::string_view text, const Source& source) {
        std::vector<Cell> rates;
        rates.reserve(kLoads.size());
        for (const char* load : kLoads) {
            rates.push_back(NumberOfLoad(text, load, source));
        }
        return rates;
    }

    FamilyContext& context_;
    const RunFile& file_;
    TableBlock evaluations_;
    TableBlock best_;
    BarsBlock rates_;
    std::vector<Cell> oldRates_;
    std::vector<Cell> bestRates_;
    std::uint64_t evaluated_ = 0;
    bool isShown_ = false;
    std::vector<Cell> last_;  // row of the iteration that was told of last
    bool isBestShown_ = false;
};

}  // namespace

// The log calls the rates before the search "optimized", and those of the best candidate
// "benchmark".
std::vector<Block> OptimizerBlocks(FamilyContext& context) {
    std::vector<Block> blocks;
    for (const RunFile& file : context.run.Find(ddr_files::kOptimizerLog)) {
        Search search(context, file);
        ReadLines(context.files, file, [&search](std::string_view line, std::uint64_t number) {
            search.Take(line, number);
        });
        search.AddTo(blocks);
    }
    return blocks;
}

}  // namespace zarn::report
