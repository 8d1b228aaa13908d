#include "mission/factory_tables.h"

#include <gmock/gmock.h>

#include <set>

namespace zarn {
namespace {

template <class Rows>
void ExpectEachNameOnce(const Rows& rows) {
    std::set<std::string> names;
    for (const auto& row : rows) {
        EXPECT_TRUE(names.insert(row.name).second) << "repeated: " << row.name;
    }
}

TEST(FactoryTables, EachNameStandsOnceInItsTable) {
    ExpectEachNameOnce(BuiltInMissions().collectors);
    ExpectEachNameOnce(BuiltInMissions().analyzers);
    ExpectEachNameOnce(BuiltInMissions().optimizers);
    ExpectEachNameOnce(BuiltInMissions().comparators);
}

// The words a user may write; a class of another name could not be reached by any configuration.
TEST(FactoryTables, EachNameIsOneOfTheConfigurationsNames) {
    const std::set<std::string> known{
        "CpuCollector",       "DdrCollector",        "HotFunCollector",     "SchedCollector",
        "CallGrindCollector", "CacheGrindCollector", "MassifCollector",     "TopdownCollector",
        "BenchCollector",     "MbufCollector",       "MemCollector",        "LibCollector",
        "AicpuCollector",     "AiCoreCollector",     "CpuPeakCollector",    "SysCallCollector",
        "ImgpCollector",      "SchedAnalyzer",       "DdrAnalyzer",         "CpuAnalyzer",
        "MemAnalyzer",        "AicpuAnalyzer",       "CorrelationAnalyzer", "DdrOptimizer",
        "CpuComparator",      "DdrComparator",       "HotFunComparator",    "MemComparator"};
    const auto expectKnown = [&known](const auto& rows) {
        for (const auto& row : rows) {
            EXPECT_EQ(known.count(row.name), 1U) << row.name;
        }
    };
    expectKnown(BuiltInMissions().collectors);
    expectKnown(BuiltInMissions().analyzers);
    expectKnown(BuiltInMissions().optimizers);
    expectKnown(BuiltInMissions().comparators);
}

TEST(FactoryTables, WhatARowBuildsCarriesTheNameItWasAskedFor) {
    for (const CollectorClass& row : BuiltInMissions().collectors) {
        EXPECT_EQ(row.make(row.name, {})->Name(), row.name);
    }
    for (const AnalyzerClass& row : BuiltInMissions().analyzers) {
        EXPECT_EQ(row.make(row.name, {})->Name(), row.name);
    }
    for (const OptimizerClass& row : BuiltInMissions().optimizers) {
        EXPECT_EQ(row.make(row.name, {})->Name(), row.name);
    }
    for (const ComparatorClass& row : BuiltInMissions().comparators) {
        EXPECT_EQ(row.make(row.name, {}, {})->Name(), row.name);
    }
}

}  // namespace
}  // namespace zarn
