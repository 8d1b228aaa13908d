#include <benchmark/benchmark.h>

#include <string>

#include "benchmarks/support/promise.h"
#include "collectors/profiling/valgrind/program_settings.h"
#include "foundation/json.h"
#include "kit/launch_setting.h"

// A configuration of 200 programs with 100 variables each, checked, read and made into commands;
// the bound parses it.
namespace zarn::bench {
namespace {

constexpr int kPrograms = 200;
constexpr int kVariables = 100;
constexpr const char* kName = "MassifCollector";

std::string ConfigText() {
    std::string names;
    std::string entries;
    for (int i = 0; i < kPrograms; ++i) {
        const std::string comma = i == 0 ? "" : ",";
        const std::string name = "\"program_" + std::to_string(i) + "\"";
        std::string variables;
        for (int j = 0; j < kVariables; ++j) {
            variables.append(j == 0 ? "\"" : ",\"").append("SETTING_").append(std::to_string(j));
            variables.append(R"(":"/opt/app/share/setting")");
        }
        names.append(comma).append(name);
        entries.append(comma).append(name);
        entries.append(R"(:{"bin_path":"/opt/app/bin/program --verbose","env_variables":{)");
        entries.append(variables).append("}}");
    }
    return "{\"" + std::string(kName) + R"(":{"process":[)" + names +
           R"(],"duration":1},"ProcessRunSetting":{)" + entries + "}}";
}

void LaunchSettings(benchmark::State& state) {
    JsonDocument config;
    bool good = ParseJson(ConfigText(), config);
    for (auto _ : state) {
        LaunchedPrograms settings;
        good = good && ReadLaunchedPrograms(config, kName, kMassifWords, settings) &&
               settings.programs.size() == kPrograms;
        for (const auto& [name, setting] : settings.programs) {
            benchmark::DoNotOptimize(LaunchCommand(setting, "tool --out=report "));
        }
    }
    if (!good) {
        state.SkipWithError("a configuration was refused");
    }
}

void ParsedAlone(benchmark::State& state) {
    const std::string text = ConfigText();
    for (auto _ : state) {
        JsonDocument config;
        benchmark::DoNotOptimize(ParseJson(text, config));
    }
}

BENCHMARK(LaunchSettings)->Name("LaunchSettings/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(ParsedAlone)->Name("LaunchSettings/bound")->Unit(benchmark::kMillisecond);
const Promise kSettingsAreNoWork = AtMostTimesBound("LaunchSettings", 5);

}  // namespace
}  // namespace zarn::bench
