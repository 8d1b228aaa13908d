#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "board/launcher/options.h"

namespace zarn::board {
namespace {

using Words = std::vector<std::string>;

TEST(LauncherOptions, HaveDefaults) {
    const auto call = ParseLauncherOptions({"--", "true"});
    ASSERT_TRUE(call.options);
    EXPECT_EQ(call.options->action, LauncherOptions::Action::Run);
    EXPECT_EQ(call.options->scenario, "camera_pipeline");
    EXPECT_EQ(call.options->seed, "1");
    EXPECT_EQ(call.options->paths, Paths::Any);
    EXPECT_EQ(call.options->command, Words{"true"});
}

TEST(LauncherOptions, AreReadUpToTheCommand) {
    const auto call = ParseLauncherOptions(
        {"--scenario", "s",       "--seed", "2",         "--faults", "f",       "--opt-usr",
         "o",          "--board", "b",      "--workdir", "w",        "--build", "d",
         "--paths",    "proot",   "--",     "run",       "--seed",   "--",      ""});
    ASSERT_TRUE(call.options);
    const LauncherOptions& options = *call.options;
    EXPECT_EQ((Words{options.scenario, options.seed, options.faults, options.optUsr, options.board,
                     options.workdir, options.build}),
              (Words{"s", "2", "f", "o", "b", "w", "d"}));
    EXPECT_EQ(options.perf, "");
    EXPECT_EQ(ParseLauncherOptions({"--perf", "model", "--", "x"}).options->perf, "model");
    EXPECT_EQ(options.paths, Paths::Proot);
    EXPECT_EQ(options.command, (Words{"run", "--seed", "--", ""}));
    EXPECT_EQ(ParseLauncherOptions({"--paths", "namespace", "--", "x"}).options->paths,
              Paths::Namespace);
    EXPECT_EQ(ParseLauncherOptions({"--namespace", "--", "x"}).options->paths, Paths::Namespace);
}

TEST(LauncherOptions, MayAskForSomethingElseThanACommand) {
    using Action = LauncherOptions::Action;
    EXPECT_EQ(ParseLauncherOptions({"--list"}).options->action, Action::List);
    EXPECT_EQ(ParseLauncherOptions({"--seed", "1", "--help"}).options->action, Action::Help);
    const auto doctor = ParseLauncherOptions({"--build", "b", "--doctor"});
    EXPECT_EQ(doctor.options->action, Action::Doctor);
    EXPECT_EQ(doctor.options->build, "b");
}

TEST(LauncherOptions, ThatMeanNothingAreRefused) {
    for (const Words& words : {Words{}, Words{"--"}, Words{"true"}, Words{"--sed", "1", "--", "x"},
                               Words{"--seed", "1"}, Words{"--seed", "1", "true"}, Words{""}}) {
        const auto call = ParseLauncherOptions(words);
        EXPECT_FALSE(call.options);
        EXPECT_EQ(call.problem, "");
    }
    for (const char* name : {"--scenario", "--seed", "--faults", "--opt-usr", "--board",
                             "--workdir", "--build", "--perf", "--paths"}) {
        EXPECT_EQ(ParseLauncherOptions({name}).problem, std::string(name) + " needs a value");
    }
    const auto call = ParseLauncherOptions({"--paths", "ptrace", "--", "x"});
    EXPECT_FALSE(call.options);
    EXPECT_EQ(call.problem, "--paths takes namespace or proot, not ptrace");
    EXPECT_EQ(ParseLauncherOptions({"--perf", "both", "--", "x"}).problem,
              "--perf takes machine or model, not both");
}

}  // namespace
}  // namespace zarn::board
