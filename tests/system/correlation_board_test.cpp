#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "formats/ai_core.h"
#include "formats/correlation.h"
#include "formats/cpu.h"
#include "formats/ddr.h"
#include "formats/sched.h"
#include "formats/sched_timehist.h"
#include "foundation/json.h"
#include "foundation/text.h"
#include "tests/support/lines.h"
#include "tests/support/run_tree.h"
#include "tests/system/support/board_runner.h"
#include "tests/system/support/examples.h"
#include "tests/system/support/program_lock.h"
#include "tests/system/support/programs.h"

// The example of a correlation on the virtual board: what the collectors and analyzers of all four
// sources leave is what the correlation reads.
namespace zarn::test {
namespace {

using testing::HasSubstr;
using testing::Not;

using Cells = std::vector<std::string>;

// The cells of a line, each with a "," behind it.
Cells CellsOf(const std::string& line) {
    Cells cells;
    std::size_t begin = 0;
    for (std::size_t end = line.find(','); end != std::string::npos; end = line.find(',', begin)) {
        cells.push_back(line.substr(begin, end - begin));
        begin = end + 1;
    }
    EXPECT_EQ(begin, line.size()) << line;
    return cells;
}

class CorrelationOnBoard : public testing::Test {
protected:
    void SetUp() override {
        if (ProgramStart().size() > 1 || !std::filesystem::exists(ProgramPath("zarn-board"))) {
            GTEST_SKIP() << "the board needs programs of this machine's processor";
        }
        BoardRun run;
        run.options = "--scenario shared_burst";
        ASSERT_EQ(board_.Run(ExampleText("correlate.json"), run), 0);
        tree_ = board_.Tree();
        ReadTable();
    }

    // The table, column by column; the columns of a source by what their heads begin with.
    void ReadTable() {
        const std::vector<std::string> lines = LinesIn(tree_.Read(correlation_files::kTable));
        ASSERT_FALSE(lines.empty());
        heads_ = CellsOf(lines.front());
        for (std::size_t i = 1; i < lines.size(); ++i) {
            const Cells cells = CellsOf(lines[i]);
            ASSERT_EQ(cells.size(), heads_.size()) << lines[i];
            ASSERT_TRUE(rows_.emplace(cells[0], cells).second) << cells[0];
        }
    }

    // The cells of the row at `time` in the columns whose heads begin so.
    [[nodiscard]] Cells CellsAt(const std::string& time, const std::string& begin) const {
        Cells cells;
        const auto row = rows_.find(time);
        EXPECT_NE(row, rows_.end()) << time;
        for (std::size_t i = 0; row != rows_.end() && i < heads_.size(); ++i) {
            if (heads_[i].rfind(begin, 0) == 0) {
                cells.push_back(row->second[i]);
            }
        }
        return cells;
    }

    // How many rows have something in the first of the columns that begin so.
    [[nodiscard]] std::size_t Filled(const std::string& begin) const {
        return static_cast<std::size_t>(
            std::count_if(rows_.begin(), rows_.end(), [&](const auto& row) {
                const Cells cells = CellsAt(row.first, begin);
                return !cells.empty() && !cells.front().empty();
            }));
    }

    // The moments that are marked in a column.
    [[nodiscard]] std::set<std::string> Marked(const std::string& head) const {
        std::set<std::string> moments;
        for (const auto& [time, cells] : rows_) {
            if (CellsAt(time, head) == Cells{"1"}) {
                moments.insert(time);
            }
        }
        return moments;
    }

    // Every row of an analyzer's table stands in the correlation's.
    void ExpectTable(const NumberedFile& kind, const std::string& begin) const {
        const std::vector<std::string> lines = LinesIn(tree_.Read(kind));
        ASSERT_GT(lines.size(), 2U);
        for (std::size_t i = 1; i < lines.size(); ++i) {
            Cells cells = CellsOf(lines[i]);
            const std::string time = cells.front() + "000";
            cells.erase(cells.begin());
            EXPECT_EQ(CellsAt(time, begin), cells);
        }
        EXPECT_EQ(Filled(begin), lines.size() - 1);
    }

    ProgramLock lock_;
    BoardRunner board_;
    RunTree tree_{""};
    Cells heads_;
    std::map<std::string, Cells> rows_;
};

TEST_F(CorrelationOnBoard, ReadsWhatTheMissionsWrite) {
    EXPECT_THAT(board_.Err(), Not(HasSubstr("[CorrelationAnalyzer]")));
    for (const char* source : {"aicore", "cpu", "ddr", "sched"}) {
        EXPECT_THAT(board_.Out(), HasSubstr("[CorrelationAnalyzer] Save " + std::string(source) +
                                            " data successfully\n"));
    }
    ExpectTable(cpu_files::kLoadingTable, "cpu_");
    ExpectTable(ddr_files::kAnalysisTable, "ddr_");
    EXPECT_EQ(Filled("aicore_"), ai_core_files::kUsageDocuments.FindAll(tree_.Path()).size());
    EXPECT_FALSE(Marked("peak_aicore_average").empty());
    EXPECT_EQ(CellsAt(*Marked("peak_aicore_average").begin(), "aicore_").size(), 5U);
}

// Each row that the scheduler's analyzer chose is marked, and shows what its document says, or what
// ended on another core in the same microsecond.
TEST_F(CorrelationOnBoard, ShowsTheTasksThatRanLongest) {
    // The history's tasks by the time at which they ended.
    std::map<std::string, std::set<std::string>> history;
    for (const std::string& line :
         LinesIn(tree_.Read(tree_.OnlyFile("raw_data/sched", "sched_global_timehist_1_")))) {
        TimehistRow row;
        if (ReadTimehistRow(line, row) && IsDecimalString(row.time)) {
            history[std::string(row.time)].emplace(row.task);
        }
    }
    const std::set<std::string> marked = Marked("peak_sched_global");
    const std::string name = tree_.OnlyFile("json", "soc_schedAna_global_timehist_ana_1_");
    const JsonDocument document = std::move(DocumentsIn(tree_.Read(name)).front());
    ASSERT_GT(document["content"].Size(), 0U);
    for (const JsonValue& row : document["content"].GetArray()) {
        const std::string boot = row["systemStartUpTime"].GetString();
        std::string seconds = row["time"].GetString();
        seconds = seconds.substr(0, seconds.find(' '));
        const std::set<std::string>& tasks = history[seconds];
        EXPECT_EQ(tasks.count(row["task"].GetString()), 1U) << seconds;
        seconds.erase(seconds.find('.'), 1);
        // Without the century the sums fit an integer.
        const auto sum = std::stoull(boot.substr(2) + "000000") + std::stoull(seconds);
        const std::string time = "'" + boot.substr(0, 2) + std::to_string(sum);
        EXPECT_EQ(marked.count(time), 1U) << time;
        const auto cells = CellsAt(time, "sched_global_task_name");
        ASSERT_EQ(cells.size(), 1U) << time;
        EXPECT_EQ(tasks.count(*cells.begin()), 1U) << *cells.begin() << " at " << time;
    }
    // As many rows as the history has moments.
    EXPECT_EQ(Filled("sched_global_"), history.size());
}

}  // namespace
}  // namespace zarn::test
