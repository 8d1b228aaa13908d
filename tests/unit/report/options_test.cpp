#include "report/options.h"

#include <gtest/gtest.h>

namespace zarn::report {
namespace {

using Action = Options::Action;
using Words = std::vector<std::string>;

std::string ErrorOf(const Words& words) {
    std::string error;
    EXPECT_FALSE(ParseOptions(words, error));
    return error;
}

Options Parsed(const Words& words) {
    std::string error;
    const auto options = ParseOptions(words, error);
    EXPECT_TRUE(options) << error;
    return options.value_or(Options{});
}

TEST(ReportOptionsTest, NamesRunsAndThePage) {
    const Options one = Parsed({"a"});
    EXPECT_EQ(one.runs, Words{"a"});
    EXPECT_EQ(one.output, "report.html");
    EXPECT_EQ(one.action, Action::Report);
    const Options two = Parsed({"a", "-o", "-x", "b/"});
    EXPECT_EQ(two.runs, (Words{"a", "b/"}));
    EXPECT_EQ(two.output, "-x");
    EXPECT_EQ(Parsed({"--", "-o", "--help"}).runs, (Words{"-o", "--help"}));
    EXPECT_EQ(Parsed({"-"}).runs, Words{"-"});
}

TEST(ReportOptionsTest, TellsOfItself) {
    EXPECT_EQ(Parsed({"--help"}).action, Action::Help);
    EXPECT_EQ(Parsed({"a", "--version", "--nonsense"}).action, Action::Version);
}

TEST(ReportOptionsTest, RefusesWhatItDoesNotKnow) {
    EXPECT_EQ(ErrorOf({}), "no run is named");
    EXPECT_EQ(ErrorOf({"-o", "x"}), "no run is named");
    EXPECT_EQ(ErrorOf({"--"}), "no run is named");
    EXPECT_EQ(ErrorOf({"a", "-o"}), "-o needs a file");
    EXPECT_EQ(ErrorOf({"a", "-o", ""}), "-o needs a file");
    EXPECT_EQ(ErrorOf({"a", "-x"}), "unknown option -x");
    EXPECT_EQ(ErrorOf({"a", "--output"}), "unknown option --output");
}

}  // namespace
}  // namespace zarn::report
