#include "formats/correlation.h"

#include <algorithm>
#include <array>
#include <utility>

#include "formats/run_tree.h"
#include "formats/sched.h"
#include "formats/sched_analysis.h"
#include "foundation/numbers.h"
#include "foundation/text.h"
#include "report/families/families.h"
#include "report/moments.h"
#include "report/series.h"
#include "report/tables.h"

namespace zarn::report {
namespace {

constexpr std::string_view kPeak = "peak_";
constexpr std::string_view kScheduler = "sched_";
constexpr std::size_t kMostBands = 400;

// What the columns of a source are measured in.
enum class Unit : std::uint8_t { None, Percent, Milliseconds };

[[nodiscard]] Unit UnitOf(std::string_view column) {
    for (const std::string_view source : {"aicore_", "cpu_", "ddr_"}) {
        if (StartsWith(column, source)) {
            return Unit::Percent;
        }
    }
    for (const std::string_view figure : {"_wait_time", "_sch_delay", "_run_time"}) {
        if (StartsWith(column, kScheduler) && EndsWith(column, figure)) {
            return Unit::Milliseconds;
        }
    }
    return Unit::None;
}

constexpr std::size_t kSecondDigits = 14;
constexpr std::size_t kMilliDigits = 17;
constexpr std::size_t kAllDigits = 20;

// The digits of a row's moment; nothing for what is none.
[[nodiscard]] std::string_view DigitsIn(std::string_view cell) {
    if (!cell.empty() && cell.front() == '\'') {
        cell.remove_prefix(1);
    }
    return cell.size() == kAllDigits ? cell : std::string_view();
}

// The moment of a row: 17 digits, and three of microseconds.
[[nodiscard]] std::optional<Moment> MomentOfRow(std::string_view digits) {
    if (digits.empty()) {
        return std::nullopt;
    }
    const auto moment = MomentIn(digits.substr(0, kMilliDigits));
    const auto rest = WholeNumberIn(digits.substr(kMilliDigits));
    return moment && rest ? std::optional(*moment + *rest / 1000.0) : std::nullopt;
}

// The moment of a row of the scheduler, whose digits are those of when the machine came up plus the
// seconds and microseconds since then, added without carrying seconds into minutes.
[[nodiscard]] std::optional<Moment> MomentOfSum(std::string_view digits, const std::string& boot) {
    std::uint64_t sum = 0;
    std::uint64_t from = 0;
    const auto began = MomentIn(boot);
    if (!began || digits.empty() || boot.size() != kSecondDigits || !StringToUint64(boot, from) ||
        !StringToUint64(std::string(digits.substr(0, kSecondDigits)), sum) || sum < from) {
        return std::nullopt;
    }
    const auto micros = WholeNumberIn(digits.substr(kSecondDigits));
    return micros
               ? std::optional(*began + static_cast<double>(sum - from) * 1000.0 + *micros / 1000.0)
               : std::nullopt;
}

// When the machine came up, as the scheduler's documents tell it; empty if none does.
[[nodiscard]] std::string BootIn(FamilyContext& context) {
    std::string boot;
    for (const char* kind : {sched_files::kAnalysisPrefix, kSchedGlobalLatency}) {
        for (const RunFile& file :
             context.run.Find(run_tree::kJsonDir, kind, std::string(".") + kDataSuffix)) {
            if (!boot.empty()) {
                return boot;
            }
            ReadDocuments(context.files, file, [&boot](const JsonValue& document, std::uint64_t) {
                const auto rows = ElementsOf(MemberOf(&document, "content"));
                if (boot.empty() && !rows.empty()) {
                    boot = TextOf(MemberOf(rows.front(), kSchedBootMember)).value_or("");
                }
            });
        }
    }
    return boot;
}

// One chart: the columns of a unit, each with its place in it.
struct Chart {
    std::vector<std::string> names;
    std::vector<std::size_t> columns;
    std::optional<SeriesMaker> maker;
};

// A column that tells what is near a peak: the rows that are, one after another, make a band.
struct Near {
    std::size_t column = 0;
    std::string label;
    std::optional<Band> open;
};

// The table of a correlation, read row by row.
class Table {
public:
    Table(FamilyContext& context, const RunFile& file)
        : context_(context), file_(file), boot_(BootIn(context)) {}

    void Take(const std::vector<std::string_view>& cells, std::uint64_t line) {
        if (line == 1) {
            Begin(cells);
            return;
        }
        const auto moment = MomentOf(cells);
        if (!moment || !IsOnTheClock(*moment)) {
            context_.files.Trouble(file_.index, "line " + std::to_string(line) + " has no moment");
            return;
        }
        for (Chart& chart : charts_) {
            for (std::size_t i = 0; i < chart.columns.size(); ++i) {
                const std::size_t column = chart.columns[i];
                // A source fills the rows of its own moments alone.
                if (column < cells.size() && !cells[column].empty()) {
                    chart.maker->AddTo(i, *moment, FigureIn(chart.names[i], cells[column]), line);
                }
            }
        }
        for (Near& near : near_) {
            Extend(near, near.column < cells.size() && cells[near.column] == "1", *moment, line);
        }
    }

    void AddTo(std::vector<Block>& blocks) {
        for (Near& near : near_) {
            Close(near);
        }
        constexpr std::array<std::pair<const char*, const char*>, 2> kTitles = {
            {{"All loads on one axis", "%"}, {"Waits, delays and runs", "ms"}}};
        for (std::size_t i = 0; i < charts_.size(); ++i) {
            if (charts_[i].maker && charts_[i].maker->HasSamples()) {
                SeriesBlock block = charts_[i].maker->Make(
                    context_, file_,
                    {kTitles[i].first, "Marked are the times near peaks that analyzers found.", {}},
                    kTitles[i].second);
                block.bands = bands_;
                blocks.emplace_back(std::move(block));
            }
        }
    }

private:
    [[nodiscard]] std::optional<Moment> MomentOf(const std::vector<std::string_view>& cells) const {
        const std::string_view digits = cells.empty() ? std::string_view() : DigitsIn(cells[0]);
        const bool isScheduler =
            std::any_of(scheduler_.begin(), scheduler_.end(), [&cells](std::size_t column) {
                return column < cells.size() && !cells[column].empty();
            });
        return isScheduler ? MomentOfSum(digits, boot_) : MomentOfRow(digits);
    }

    void Begin(const std::vector<std::string_view>& cells) {
        for (std::size_t column = 1; column < cells.size(); ++column) {
            const std::string_view name = cells[column];
            if (StartsWith(name, kScheduler)) {
                scheduler_.push_back(column);
            }
            if (StartsWith(name, kPeak)) {
                near_.push_back(
                    {column, "near a peak of " + ShortText(name.substr(kPeak.size())), {}});
            } else if (UnitOf(name) != Unit::None) {
                Chart& chart = charts_[UnitOf(name) == Unit::Percent ? 0 : 1];
                chart.names.push_back(ShortText(name));
                chart.columns.push_back(column);
            }
        }
        for (Chart& chart : charts_) {
            chart.maker.emplace(chart.names, false);
        }
    }

    // -1 and -2 stand for an AI core without a figure.
    [[nodiscard]] static std::optional<double> FigureIn(std::string_view name,
                                                        std::string_view cell) {
        const auto figure = WholeNumberIn(cell);
        return figure && *figure < 0.0 && StartsWith(name, "aicore_") ? std::nullopt : figure;
    }

    void Extend(Near& near, bool isNear, Moment moment, std::uint64_t line) {
        if (!isNear) {
            Close(near);
        } else if (near.open) {
            near.open->to = moment;
        } else {
            near.open = Band{moment, moment, near.label, context_.At(file_, line)};
        }
    }

    void Close(Near& near) {
        if (near.open && bands_.size() < kMostBands) {
            bands_.push_back(*near.open);
        }
        near.open.reset();
    }

    FamilyContext& context_;
    const RunFile& file_;
    std::string boot_;                    // digits of when the machine came up
    std::vector<std::size_t> scheduler_;  // its columns
    std::array<Chart, 2> charts_;         // percent, milliseconds
    std::vector<Near> near_;
    std::vector<Band> bands_;
};

}  // namespace

std::vector<Block> CorrelationBlocks(FamilyContext& context) {
    std::vector<Block> blocks;
    for (const RunFile& file : context.run.Find(correlation_files::kTable)) {
        Table table(context, file);
        ReadTable(context.files, file,
                  [&table](const auto& cells, std::uint64_t line) { table.Take(cells, line); });
        table.AddTo(blocks);
    }
    return blocks;
}

}  // namespace zarn::report
