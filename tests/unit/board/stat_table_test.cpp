#include "board/perf/stat_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "board/setup/scenario_parser.h"
#include "tests/support/temp_dir.h"

namespace zarn::board {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using Kind = TableRow::Kind;

constexpr const char* kHardware =
    "cycles,instructions,branches,branch-misses,stalled-cycles-frontend,stalled-cycles-backend,"
    "cache-references,cache-misses,LLC-loads,LLC-load-misses,LLC-stores,LLC-store-misses,"
    "L1-dcache-loads,L1-dcache-load-misses,L1-dcache-stores,L1-dcache-store-misses,dTLB-loads,"
    "dTLB-load-misses,iTLB-load-misses,iTLB-loads";

// ---- The form of the table, beside that of the real one

// The rows that a table was made of, as far as it tells.
std::vector<TableRow> RowsIn(const std::string& table) {
    std::vector<TableRow> rows;
    std::istringstream lines(table);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string count;
        std::string name;
        words >> count >> name;
        if (line.rfind("   ", 0) != 0 || name == "seconds") {
            continue;
        }
        TableRow row;
        if (count == "<not") {
            words >> row.name;
        } else {
            row.kind = Kind::Counted;
            row.name = name == "msec" ? "task-clock" : name;
            row.count = std::stod(count) * (name == "msec" ? 1e6 : 1);
        }
        // The clock's last digits are in the rates alone.
        double rate = 0.0;
        if (row.name == "context-switches" && words >> count >> rate) {
            rows.front().count = row.count / rate * 1e9;
        }
        rows.push_back(row);
    }
    return rows;
}

double ElapsedIn(const std::string& table) {
    const std::size_t end = table.find(" seconds time elapsed");
    return std::stod(table.substr(table.rfind('\n', end)));
}

TEST(StatTable, HasTheFormOfTheRealOne) {
    const std::string process =
        test::ReadText(test::DataPath("perf-6.1.187-bench/stat_process.txt"));
    const std::string table = process.substr(process.find('\n') + 1);
    ASSERT_EQ(RowsIn(table).size(), 24U);
    const std::size_t pids = table.find('\'') + 1;
    EXPECT_EQ(StatTable(ParseStatCall({"-p", table.substr(pids, table.find('\'', pids) - pids)}),
                        RowsIn(table), ElapsedIn(table)),
              table);
    const std::string system = test::ReadText(test::DataPath("perf-6.1.187-bench/stat_global.txt"));
    EXPECT_EQ(StatTable(ParseStatCall({"-a"}), RowsIn(system), ElapsedIn(system)), system);
}

TableRow Counted(const std::string& name, double count, double percent = 100.0) {
    TableRow row;
    row.name = name;
    row.kind = Kind::Counted;
    row.count = count;
    row.percent = percent;
    row.clockNs = 1e9;
    return row;
}

std::string LineOf(const std::vector<TableRow>& rows) {
    std::istringstream lines(StatTable(ParseStatCall({"-C", "0,2-3"}), rows, 2.0));
    std::string line;
    for (int i = 0; i < 4; ++i) {
        std::getline(lines, line);
        EXPECT_EQ(line, i == 1  ? " Performance counter stats for CPU(s) 0,2,3:"
                        : i < 3 ? ""
                                : line);
    }
    return line;
}

TEST(StatTable, SaysWhatACountMeans) {
    const TableRow clock = Counted("task-clock", 4e9);
    const TableRow cycles = Counted("cycles", 2e9);
    EXPECT_EQ(
        LineOf({Counted("cycles", 1234567890, 45.454), clock}),
        "        1234567890      cycles                           #    1.235 GHz              "
        "        (45.45%)");
    EXPECT_EQ(
        LineOf({Counted("instructions", 1e9), cycles, clock}),
        "        1000000000      instructions                     #    0.50  insn per cycle   "
        "      ");
    EXPECT_EQ(
        LineOf({Counted("cache-misses", 25), Counted("cache-references", 300), clock}),
        "                25      cache-misses                     #   8.333% of all cache refs"
        "      ");
    EXPECT_EQ(
        LineOf({Counted("LLC-loads", 12500000), clock}),
        "          12500000      LLC-loads                        #   12.500 M/sec            "
        "      ");
    EXPECT_EQ(
        LineOf({clock}),
        "           4000.00 msec task-clock                       #    2.000 CPUs utilized    "
        "      ");
    // Nothing to compare it with.
    EXPECT_EQ(LineOf({Counted("r11", 7)}),
              "                 7      r11" + std::string(29 + 35, ' '));
    TableRow idle = Counted("cycles", 0);
    idle.kind = Kind::NotCounted;
    EXPECT_EQ(LineOf({idle}), "     <not counted>      cycles" + std::string(19 + 35, ' '));
}

// ---- What the board counts

class BoardTable : public testing::Test {
protected:
    void Have(const std::string& more = "") {
        ASSERT_EQ(ParseScenario(R"({"programs": [{"name": "busy", "pipeline": {"load": 0.5,
                      "cores": [0, 1]}}, {"name": "lazy"}])" +
                                    more + "}",
                                *state_),
                  std::nullopt);
    }

    [[nodiscard]] std::vector<TableRow> Rows(const std::string& events,
                                             const CpuTarget& target = {0, 1}) const {
        return BoardRows(*state_, ParseStatCall({"-a", "-e", events}), target, {1000, 3000});
    }

    std::unique_ptr<BoardState> state_ = std::make_unique<BoardState>();
};

TEST_F(BoardTable, CountsAsTheModelDoes) {
    Have();
    const auto rows = Rows("cycles,cache-misses,r8,r9999");
    const auto work = WorkOf(*state_, {0, 1}, {1000, 3000});
    ASSERT_EQ(rows.size(), 4U);
    EXPECT_EQ(rows[0].name, "cycles");
    EXPECT_EQ(rows[0].count, StandardCountsOf(*state_, work)[StandardEvent::Cycles]);
    EXPECT_NEAR(rows[0].count, 4e9, 4e8);
    EXPECT_EQ(rows[0].percent, 100.0);
    EXPECT_EQ(rows[1].count, StandardCountsOf(*state_, work)[StandardEvent::CacheMisses]);
    EXPECT_EQ(rows[2].count, CountsOf(*state_, work)[CpuEvent::InstRetired]);
    EXPECT_EQ(rows[3].kind, Kind::NotSupported);
}

TEST_F(BoardTable, LacksWhatTheScenarioSays) {
    Have(R"(, "perf": {"not_supported": ["LLC-stores", "cycles"]})");
    const auto rows = Rows("cycles,LLC-loads,LLC-stores,page-faults");
    EXPECT_EQ(rows[0].kind, Kind::NotSupported);
    EXPECT_EQ(rows[1].kind, Kind::Counted);
    EXPECT_EQ(rows[2].kind, Kind::NotSupported);
    EXPECT_EQ(rows[3].kind, Kind::NotSupported);  // the machine's
}

TEST_F(BoardTable, CountsNothingOfWhoIsIdle) {
    Have();
    for (const TableRow& row : Rows("cycles,instructions", {0, 2})) {
        EXPECT_EQ(row.kind, Kind::NotCounted);
    }
}

TEST_F(BoardTable, HasTheEventsTakeTurnsWhereTheyAreTooMany) {
    Have();
    const auto exact = StandardCountsOf(*state_, WorkOf(*state_, {0, 1}, {1000, 3000}));
    const auto rows = Rows(std::string(kHardware) + ",page-faults");
    ASSERT_EQ(rows.size(), kStandardEventCount + 1);
    for (std::size_t i = 0; i < kStandardEventCount; ++i) {
        EXPECT_NEAR(rows[i].percent, 30.0, 0.31) << rows[i].name;
        const double count = exact[*StandardEventOf(rows[i].name)];
        EXPECT_NEAR(rows[i].count, count, count * 0.0031) << rows[i].name;
    }
    // Six have their counters, whatever is counted without one.
    EXPECT_EQ(Rows("cycles,instructions,branches,LLC-loads,LLC-stores,cache-misses,page-faults,"
                   "context-switches")[0]
                  .percent,
              100.0);
}

}  // namespace
}  // namespace zarn::board
