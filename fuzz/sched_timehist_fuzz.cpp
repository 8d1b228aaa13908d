#include <algorithm>
#include <string>
#include <vector>

#include "analyzers/sched/timehist_selection.h"
#include "foundation/files.h"
#include "foundation/numbers.h"
#include "fuzz/fuzz_input.h"

namespace zarn::fuzz {
namespace {

constexpr std::size_t kMost = 5;

// Columns are pieces of their line, in its order.
void CheckRow(std::string_view line, const TimehistRow& row) {
    const char* behind = line.data();
    for (const std::string_view column :
         {row.time, row.cpu, row.task, row.waitTime, row.schedDelay, row.runTime}) {
        Require(!column.empty() && column.front() != ' ' && column.back() != ' ',
                "a column is text without blanks around it");
        Require(column.data() >= behind, "columns stand in their order");
        behind = column.data() + column.size();
    }
    Require(behind <= line.data() + line.size(), "columns stand in the line");
    const TimehistTask task = SplitTimehistTask(row.task);
    Require(task.name.size() + task.tid.size() <= row.task.size(), "a task is name and tid");
    const KeptTimehistRow kept(row);
    Require(kept.Row().task == row.task && kept.Row().runTime == row.runTime,
            "a kept row is the row");
}

struct PlainRow {
    bool hasNumber;
    double number;
    std::string text;
};

// The choice in one pass against that of a whole sort.
void CheckSelection(std::string_view text) {
    TimehistSelection selection(&TimehistRow::runTime, kMost);
    std::vector<PlainRow> plain;
    LineCursor lines(text);
    for (std::string_view line; lines.Next(line);) {
        TimehistRow row;
        if (!ReadTimehistRow(line, row)) {
            continue;
        }
        CheckRow(line, row);
        selection.Offer(row);
        const std::optional<double> number = NumberIn(row.runTime);
        plain.push_back({number.has_value(), number.value_or(0.0), std::string(row.time)});
    }
    std::stable_sort(plain.begin(), plain.end(), [](const PlainRow& a, const PlainRow& b) {
        return a.hasNumber != b.hasNumber ? a.hasNumber : a.number > b.number;
    });
    const std::vector<KeptTimehistRow> chosen = selection.Take();
    Require(chosen.size() == std::min(plain.size(), kMost), "as many rows as there are");
    for (std::size_t i = 0; i < chosen.size(); ++i) {
        Require(chosen[i].Row().time == plain[i].text, "the choice is the sort's beginning");
    }
}

}  // namespace
}  // namespace zarn::fuzz

// The scheduler's history: its rows, and the choice of those that stand out.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    zarn::fuzz::CheckSelection(zarn::fuzz::AsText(data, size));
    return 0;
}
