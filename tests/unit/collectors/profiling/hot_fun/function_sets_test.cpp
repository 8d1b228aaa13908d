#include "collectors/profiling/hot_fun/function_sets.h"

#include <gmock/gmock.h>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace zarn {
namespace {

using testing::DoubleEq;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

using Sets = std::vector<std::pair<std::string, std::vector<std::string>>>;
using Samples = std::vector<std::pair<std::string, std::uint64_t>>;

FunctionSets Make(const Sets& sets) {
    FunctionSets made;
    for (const auto& [set, functions] : sets) {
        EXPECT_TRUE(made.AddSet(set));
        for (const std::string& function : functions) {
            made.Add(set, function);
        }
    }
    return made;
}

std::map<std::string, FunctionShares> SharesOf(const Sets& sets, const Samples& samples) {
    const FunctionSets made = Make(sets);
    std::string error;
    auto cycles = FunctionCycles::Make(made, error);
    EXPECT_TRUE(cycles) << error;
    for (const auto& [name, count] : samples) {
        cycles->Add(name, count);
    }
    return cycles->Shares();
}

TEST(FunctionSetsTest, ANameIsUnique) {
    FunctionSets sets;
    EXPECT_TRUE(sets.AddSet("a"));
    EXPECT_FALSE(sets.AddSet("a"));
    sets.Add("a", "x*");
    sets.Add("a", "y");
    EXPECT_THAT(sets.Patterns(), ElementsAre("x*"));
    EXPECT_THAT(sets.Sets(), ElementsAre(Pair("a", ElementsAre("x*", "y"))));
}

TEST(FunctionSharesTest, EachSampleCountsInTheTotalOfAll) {
    const auto shares =
        SharesOf({{"one", {"app", "db"}}}, {{"app", 30}, {"other", 50}, {"app", 10}, {"db", 10}});
    EXPECT_THAT(shares.at("one").total, DoubleEq(50.0));
    EXPECT_THAT(shares.at("one").functions,
                ElementsAre(Pair("app", DoubleEq(40.0)), Pair("db", DoubleEq(10.0))));
}

TEST(FunctionSharesTest, ANameWithoutSamplesIsNoMember) {
    const auto shares = SharesOf({{"one", {"app", "idle"}}, {"two", {}}}, {{"app", 1}});
    EXPECT_THAT(shares.at("one").functions, ElementsAre(Pair("app", DoubleEq(100.0))));
    EXPECT_THAT(shares.at("two").functions, IsEmpty());
    EXPECT_THAT(shares.at("two").total, DoubleEq(0.0));
}

TEST(FunctionSharesTest, AFunctionInTwoSetsCountsInBoth) {
    const auto shares =
        SharesOf({{"one", {"app"}}, {"two", {"app", "db"}}}, {{"app", 1}, {"db", 3}});
    EXPECT_THAT(shares.at("one").total, DoubleEq(25.0));
    EXPECT_THAT(shares.at("two").total, DoubleEq(100.0));
}

TEST(FunctionSharesTest, APatternIsSearchedInNames) {
    const auto shares = SharesOf(
        {{"one", {"^cam.*_node$"}}},
        {{"cam_a_node", 1}, {"xcam_a_node", 1}, {"cam_b_node", 2}, {"cam_a_node", 4}, {"cam", 2}});
    EXPECT_THAT(shares.at("one").functions, ElementsAre(Pair("cam_a_node", DoubleEq(50.0)),
                                                        Pair("cam_b_node", DoubleEq(20.0))));
    EXPECT_THAT(shares.at("one").total, DoubleEq(70.0));
}

// What one set asks for by its name counts in another that has a pattern for it.
TEST(FunctionSharesTest, APatternFindsTheNamesOfOtherSets) {
    const auto shares = SharesOf({{"one", {"app"}}, {"two", {"a.*"}}}, {{"app", 1}, {"db", 1}});
    EXPECT_THAT(shares.at("two").functions, ElementsAre(Pair("app", DoubleEq(50.0))));
}

TEST(FunctionSharesTest, AFunctionCountsForEachStringThatMeansIt) {
    const auto shares = SharesOf({{"one", {"app", "a.*", "app"}}}, {{"app", 1}, {"db", 9}});
    EXPECT_THAT(shares.at("one").functions, ElementsAre(Pair("app", DoubleEq(10.0))));
    EXPECT_NEAR(shares.at("one").total, 30.0, 1e-9);
}

// A command may have any name.
TEST(FunctionSharesTest, APatternThatIsANameMeansThisNameAlone) {
    const auto shares = SharesOf({{"one", {"a*"}}}, {{"a*", 1}, {"aa", 1}});
    EXPECT_THAT(shares.at("one").functions, ElementsAre(Pair("a*", DoubleEq(50.0))));
}

TEST(FunctionSharesTest, WithoutCyclesASharesIsNoNumber) {
    for (const Samples& samples : {Samples{}, Samples{{"app", 0}}}) {
        const auto shares = SharesOf({{"one", {"app"}}}, samples);
        EXPECT_TRUE(std::isnan(shares.at("one").total));
        EXPECT_EQ(shares.at("one").functions.size(), samples.size());
    }
}

TEST(FunctionSharesTest, TheTotalHas64Bits) {
    const std::uint64_t half = std::uint64_t{1} << 63U;
    const auto shares = SharesOf({{"one", {"app"}}}, {{"app", half}, {"db", half - 1}});
    EXPECT_NEAR(shares.at("one").total, 50.0, 1e-9);
}

TEST(FunctionSharesTest, AsManyNamesAsThereAreAreCounted) {
    Samples samples;
    for (int i = 0; i < 20000; ++i) {
        samples.emplace_back("name" + std::to_string(i), 1);
        samples.emplace_back("other", 1);
    }
    const auto shares = SharesOf({{"one", {"^name1*$"}}}, samples);
    EXPECT_EQ(shares.at("one").functions.size(), 5U);  // name1 to name11111
    const std::string longest(1U << 20U, 'n');
    EXPECT_THAT(SharesOf({{"one", {longest, "n*"}}}, {{longest, 1}}).at("one").total,
                DoubleEq(100.0));
}

TEST(FunctionCyclesTest, APatternThatDoesNotCompileIsTold) {
    std::string error;
    const FunctionSets sets = Make({{"one", {"a.*", "*", "(*"}}});
    EXPECT_FALSE(FunctionCycles::Make(sets, error));
    EXPECT_NE(error, "");
}

}  // namespace
}  // namespace zarn
