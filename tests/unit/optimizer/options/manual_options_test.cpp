#include "optimizer/options/manual_options.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/unit/optimizer/options/options_fixture.h"
#include "tests/unit/optimizer/search/pso_fixture.h"

namespace zarn {
namespace {

using test::Captured;
using test::Describe;
using test::Json;

// One run of ParseManualMode on a section whose manualMode is `mode`.
struct ManualRun {
    bool ok = false;
    std::string configs;
    Captured captured;
};

ManualRun Parse(const std::string& mode) {
    const JsonDocument section = Json("{'manualMode': " + mode + "}");
    ManualRun run;
    std::vector<QosConfig> configs;
    run.captured = test::Capture([&] { run.ok = ParseManualMode(section, configs); });
    run.configs = Describe(configs);
    return run;
}

// One master named `name` with these three.
ManualRun ParseOne(const std::string& low, const std::string& high, const std::string& limit,
                   const std::string& name = "'cpu'") {
    return Parse("{'mpamName': [" + name + "], 'bwLow': [" + low + "], 'bwHigh': [" + high +
                 "], 'hardLimit': [" + limit + "]}");
}

TEST(ManualOptionsTest, ReadsOneRecordPerPosition) {
    const ManualRun run = Parse(
        "{'mpamName': ['aic_dat', 'cpu', 'isp_vipe'], 'bwLow': [1, 2, 0], 'bwHigh': [51, 40, 3],"
        "'hardLimit': [1, 0, 1], 'more': 0}");
    EXPECT_TRUE(run.ok);
    EXPECT_EQ(run.configs, "aic_dat 5 1 51 1 0 0; cpu 0 2 40 0 0 0; isp_vipe 10 0 3 1 0 0; ");
    EXPECT_EQ(run.captured.err + run.captured.out, "");
}

TEST(ManualOptionsTest, KnowsEveryMasterByName) {
    for (const auto& [name, mpamid] : mpamIdMap) {
        const ManualRun run = ParseOne("0", "51", "1", "'" + name + "'");
        EXPECT_EQ(run.configs, name + " " + std::to_string(mpamid) + " 0 51 1 0 0; ");
    }
    EXPECT_EQ(mpamIdMap.size(), 10U);
}

TEST(ManualOptionsTest, PutsValuesRightWithAWarning) {
    struct Case {
        const char* low;
        const char* high;
        const char* limit;
        const char* record;
        const char* lines;
    };
    const Case cases[] = {
        {"0", "51", "1", "cpu 0 0 51 1 0 0; ", ""},
        {"3", "3", "0", "cpu 0 3 3 0 0 0; ", ""},
        {"0", "52", "1", "cpu 0 0 51 1 0 0; ",
         "[DdrOptimizer] Warning! The bwHigh setting of cpuis 52, which cannot be larger than 51! "
         "The bwHigh of cpu will be set to: 51\n"},
        {"0", "4294967295", "1", "cpu 0 0 51 1 0 0; ",
         "[DdrOptimizer] Warning! The bwHigh setting of cpuis 4294967295, which cannot be larger "
         "than 51! The bwHigh of cpu will be set to: 51\n"},
        {"10", "2", "1", "cpu 0 3 3 1 0 0; ",
         "[DdrOptimizer] Warning! The bwHigh setting of cpuis 2, which cannot be less than 3! The "
         "bwHigh of cpu will be set to: 3\n"
         "[DdrOptimizer] Warning! The bwLow setting of cpu is 10, which cannot be larger than "
         "bwHigh: 3. The bwLow will be set to: 3\n"},
        {"0", "0", "1", "cpu 0 0 3 1 0 0; ",
         "[DdrOptimizer] Warning! The bwHigh setting of cpuis 0, which cannot be less than 3! The "
         "bwHigh of cpu will be set to: 3\n"},
        {"41", "40", "1", "cpu 0 40 40 1 0 0; ",
         "[DdrOptimizer] Warning! The bwLow setting of cpu is 41, which cannot be larger than "
         "bwHigh: 40. The bwLow will be set to: 40\n"},
        {"0", "51", "2", "cpu 0 0 51 0 0 0; ",
         "[DdrOptimizer] Warning! Invalid hardLimit setting of cpu , which should be set to 0 or 1!"
         " Now is 2 . The hardLimit will be set to: 0.\n"},
        {"0", "51", "-1", "cpu 0 0 51 0 0 0; ",
         "[DdrOptimizer] Warning! Invalid hardLimit setting of cpu , which should be set to 0 or 1!"
         " Now is 4294967295 . The hardLimit will be set to: 0.\n"},
    };
    for (const Case& one : cases) {
        const ManualRun run = ParseOne(one.low, one.high, one.limit);
        EXPECT_TRUE(run.ok);
        EXPECT_EQ(run.configs, one.record);
        EXPECT_EQ(run.captured.err, one.lines);
        EXPECT_EQ(run.captured.out, "");
    }
}

TEST(ManualOptionsTest, RefusesAWrongShape) {
    const std::string end = "[DdrOptimizer] Error occurs when checking the param's validation.\n";
    const std::string missing = "[DdrOptimizer] Configs of manual mode are missing.\n" + end;
    const std::string keys =
        "[DdrOptimizer] Configs of manual mode should contain 'mpamName', 'bwLow', 'bwHigh', "
        "'hardLimit'!\n" +
        end;
    const std::string lists =
        "[DdrOptimizer] Invalid manual mode params type, which should be list!\n" + end;
    const std::pair<std::string, std::string> cases[] = {
        {"[]", missing},
        {"null", missing},
        {"'x'", missing},
        {"{}", keys},
        {"{'bwLow': [], 'bwHigh': [], 'hardLimit': []}", keys},
        {"{'mpamName': [], 'bwHigh': [], 'hardLimit': []}", keys},
        {"{'mpamName': [], 'bwLow': [], 'hardLimit': []}", keys},
        {"{'mpamName': [], 'bwLow': [], 'bwHigh': []}", keys},
        {"{'mpamName': 'cpu', 'bwLow': [], 'bwHigh': [], 'hardLimit': []}", lists},
        {"{'mpamName': [], 'bwLow': 0, 'bwHigh': [], 'hardLimit': []}", lists},
        {"{'mpamName': [], 'bwLow': [], 'bwHigh': {}, 'hardLimit': []}", lists},
        {"{'mpamName': [], 'bwLow': [], 'bwHigh': [], 'hardLimit': null}", lists},
    };
    for (const auto& [mode, lines] : cases) {
        const ManualRun run = Parse(mode);
        EXPECT_FALSE(run.ok) << mode;
        EXPECT_EQ(run.captured.err, lines) << mode;
    }
    std::vector<QosConfig> configs;
    const JsonDocument section = Json("{}");
    const Captured captured =
        test::Capture([&] { EXPECT_FALSE(ParseManualMode(section, configs)); });
    EXPECT_EQ(captured.err, missing);
}

TEST(ManualOptionsTest, AnEmptyListOfNamesSucceedsWhateverTheOthersHold) {
    for (const char* mode :
         {"{'mpamName': [], 'bwLow': [], 'bwHigh': [], 'hardLimit': []}",
          "{'mpamName': [], 'bwLow': [1], 'bwHigh': ['x', {}], 'hardLimit': []}"}) {
        const ManualRun run = Parse(mode);
        EXPECT_TRUE(run.ok);
        EXPECT_EQ(run.configs, "");
        EXPECT_EQ(run.captured.err,
                  "[DdrOptimizer] Warning! The mpamName is empty! Keep the default qos "
                  "setting!\n");
    }
}

TEST(ManualOptionsTest, RefusesListsOfUnlikeSizes) {
    const std::string end = "[DdrOptimizer] Error occurs when checking the param's size.\n";
    const std::string unlike =
        "[DdrOptimizer] The settings of 'mpamName', 'bwLow', 'bwHigh' and 'hardLimit' should have "
        "equal size.\n" +
        end;
    const std::pair<std::string, std::string> cases[] = {
        {"'bwLow': [], 'bwHigh': [], 'hardLimit': []",
         "[DdrOptimizer] The bwLow setting is empty!\n" + end},
        {"'bwLow': [0, 0], 'bwHigh': [], 'hardLimit': []",
         "[DdrOptimizer] The bwHigh setting is empty!\n" + end},
        {"'bwLow': [0], 'bwHigh': [9], 'hardLimit': []",
         "[DdrOptimizer] The hardLimit setting is empty!\n" + end},
        {"'bwLow': [0, 0], 'bwHigh': [9], 'hardLimit': [0]", unlike},
        {"'bwLow': [0], 'bwHigh': [9, 9], 'hardLimit': [0]", unlike},
        {"'bwLow': [0], 'bwHigh': [9], 'hardLimit': [0, 0]", unlike},
    };
    for (const auto& [lists, lines] : cases) {
        const ManualRun run = Parse("{'mpamName': ['cpu'], " + lists + "}");
        EXPECT_FALSE(run.ok) << lists;
        EXPECT_EQ(run.captured.err, lines) << lists;
    }
}

TEST(ManualOptionsTest, RefusesAWrongElement) {
    const std::string end = "[DdrOptimizer] Error occurs when parsing the qos config\n";
    const std::string name = "[DdrOptimizer] Illegal mpamName type! It should be string.\n" + end;
    const std::string high = "[DdrOptimizer] Illegal bwHighs type! It should be uint.\n" + end;
    const std::string low = "[DdrOptimizer] Illegal bwLows type! It should be uint.\n" + end;
    const std::string limit = "[DdrOptimizer] Illegal hardLimits type! It should be uint.\n" + end;
    struct Case {
        const char* name;
        const char* low;
        const char* high;
        const char* limit;
        std::string lines;
    };
    const Case cases[] = {
        {"5", "0", "9", "0", name},
        {"null", "0", "9", "0", name},
        {"'CPU'", "0", "9", "0", "[DdrOptimizer] Illegal mpamName: CPU\n" + end},
        {"''", "0", "9", "0", "[DdrOptimizer] Illegal mpamName: \n" + end},
        {"'aic'", "0", "9", "0", "[DdrOptimizer] Illegal mpamName: aic\n" + end},
        {"'cpu'", "x", "-1", "0", high},
        {"'cpu'", "0", "9.0", "0", high},
        {"'cpu'", "0", "'9'", "0", high},
        {"'cpu'", "0", "4294967296", "0", high},
        {"'cpu'", "-1", "9", "0", low},
        {"'cpu'", "0.5", "9", "0", low},
        {"'cpu'", "[]", "9", "0", low},
        {"'cpu'", "0", "9", "true", limit},
        {"'cpu'", "0", "9", "1.0", limit},
        {"'cpu'", "0", "9", "2147483648", limit},
    };
    for (const Case& one : cases) {
        const std::string lowText = std::string(one.low) == "x" ? "'x'" : one.low;
        const ManualRun run = ParseOne(lowText, one.high, one.limit, one.name);
        EXPECT_FALSE(run.ok);
        EXPECT_EQ(run.configs, "");
        EXPECT_EQ(run.captured.err, one.lines);
    }
}

TEST(ManualOptionsTest, ANameWithANulIsNoName) {
    const ManualRun run = ParseOne("0", "51", "1", "'cpu\\u0000'");
    EXPECT_FALSE(run.ok);
}

TEST(ManualOptionsTest, TenThousandPositionsAreRead) {
    std::string names = "'cpu'";
    std::string zeros = "0";
    std::string highs = "51";
    for (int i = 1; i < 10000; ++i) {
        names += ",'cpu'";
        zeros += ",0";
        highs += ",51";
    }
    const ManualRun run = ParseOne(zeros, highs, zeros, names);
    EXPECT_TRUE(run.ok);
    EXPECT_EQ(run.configs.size(), 10000 * std::string("cpu 0 0 51 0 0 0; ").size());
}

}  // namespace
}  // namespace zarn
