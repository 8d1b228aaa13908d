#include "comparators/cpu/cpu_figures.h"

#include <gtest/gtest.h>

#include <set>

namespace zarn {
namespace {

CpuComparisonSettings Settings(std::set<std::string> jobs, std::vector<std::string> processes) {
    CpuComparisonSettings settings;
    settings.jobs = std::move(jobs);
    settings.processes = std::move(processes);
    return settings;
}

VersionFigures NoFigures(std::size_t processes) {
    VersionFigures figures;
    figures.processes.resize(processes);
    return figures;
}

TEST(CpuFigures, EachNameStandsOnce) {
    std::set<std::string_view> names;
    for (const SystemFigure& figure : kSystemFigures) {
        EXPECT_TRUE(names.insert(figure.name).second) << figure.name;
    }
    EXPECT_EQ(names.size(), 24U);
}

TEST(AddVersionToRows, ReducesEachFigureToThreeRows) {
    VersionFigures figures = NoFigures(1);
    figures.processes[0][0] = {1, 5, 3};
    figures.processes[0][5] = {-1};
    ComparisonRows rows;
    AddVersionToRows(Settings({"selected_process"}, {"app"}), figures, rows);
    EXPECT_EQ(rows.size(), 18U);
    EXPECT_EQ(rows["app_virt_max"], std::vector<double>{5});
    EXPECT_EQ(rows["app_virt_min"], std::vector<double>{1});
    EXPECT_EQ(rows["app_virt_avg"], std::vector<double>{3});
    EXPECT_EQ(rows["app_res_avg"], std::vector<double>{kNoValue});
    EXPECT_EQ(rows["app_time_max"], std::vector<double>{-1});
}

TEST(AddVersionToRows, GivesEveryRowOneEntryPerVersion) {
    const CpuComparisonSettings settings = Settings({"global", "selected_process"}, {"a", "b"});
    VersionFigures some = NoFigures(2);
    some.system[3] = {96, 112, 112};
    ComparisonRows rows;
    AddVersionToRows(settings, some, rows);
    AddVersionToRows(settings, NoFigures(2), rows);
    EXPECT_EQ(rows.size(), (24U + 2 * 6) * 3);
    for (const auto& [name, values] : rows) {
        EXPECT_EQ(values.size(), 2U) << name;
    }
    EXPECT_EQ(rows["tasks_total_max"], (std::vector<double>{112, kNoValue}));
    EXPECT_EQ(rows["tasks_total_min"], (std::vector<double>{96, kNoValue}));
}

TEST(AddVersionToRows, JobsChooseTheRows) {
    ComparisonRows rows;
    AddVersionToRows(Settings({}, {"app"}), NoFigures(1), rows);
    AddVersionToRows(Settings({"unknown"}, {"app"}), NoFigures(1), rows);
    EXPECT_TRUE(rows.empty());
    AddVersionToRows(Settings({"global"}, {"app"}), NoFigures(1), rows);
    EXPECT_EQ(rows.size(), 72U);
    EXPECT_EQ(rows.count("app_virt_max"), 0U);
}

}  // namespace
}  // namespace zarn
