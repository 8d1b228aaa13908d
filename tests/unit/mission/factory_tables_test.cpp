#include "mission/factory_tables.h"

#include <gtest/gtest.h>

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
