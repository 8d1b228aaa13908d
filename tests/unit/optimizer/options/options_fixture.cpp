#include "tests/unit/optimizer/options/options_fixture.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "optimizer/options/optimizer_options.h"

namespace zarn::test {

JsonDocument Json(std::string text) {
    std::replace(text.begin(), text.end(), '\'', '"');
    JsonDocument document;
    EXPECT_TRUE(ParseJson(text, document)) << text;
    return document;
}

OptionsRun ReadOptions(const std::string& text) {
    const JsonDocument document = Json(text);
    OptionsRun run;
    run.captured = Capture([&] { run.ok = ReadOptimizerOptions(document, run.settings); });
    return run;
}

std::string PsoConf(const std::string& extra) {
    return "'psoSpaceBounds': {'aic': [10, 20], 'cpu': [0, 51], 'imgp': [4, 30]},"
           "'psoVelBounds': {'aic': [-20, 20], 'cpu': [-10, 10], 'imgp': [-5, 5]}" +
           (extra.empty() ? "" : "," + extra);
}

std::string AutoConfig(const std::string& psoConf) {
    return "{'DdrOptimizer': {'mode': 'auto', 'autoMode': {'stressLevel': {}, 'stressNode': 'n',"
           "'omModel': 'm', 'optAlg': 'pso'}, 'psoConf': {" +
           psoConf + "}}}";
}

}  // namespace zarn::test
