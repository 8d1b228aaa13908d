#include "analyzers/aicpu/raw_sections.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/files.h"
#include "tests/support/aicpu_lines.h"

namespace zarn::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const AicpuList kList = {"test", {"first", "second", "third"}};

// Keeps all passes, as texts.
class AllPasses final : public PassReader {
public:
    void BeginPass() override { passes.emplace_back(); }
    void Take(std::string_view line) override { passes.back().append(line).append("|"); }
    [[nodiscard]] bool MakesSense() const override { return true; }

    std::vector<std::string> passes;
};

struct Sections {
    AllPasses first;
    AllPasses third;
    WantedSections wanted = {{"first", &first}, {"third", &third}};

    explicit Sections(const std::string& text, std::size_t ordinal = 0) {
        LineCursor lines(text);
        ReadSections(LinesOf(lines), kList, ordinal, wanted);
    }
};

TEST(RawSectionsTest, CutsWhatTheCollectorMerges) {
    const Sections read(AicpuSection("first", {"a\nb\n", "c\n"}) + AicpuSection("second", {"x\n"}) +
                        AicpuSection("third", {"d\n"}));
    EXPECT_TRUE(read.wanted[0].IsGood());
    EXPECT_TRUE(read.wanted[1].IsGood());
    EXPECT_EQ(read.wanted[0].passes, 2U);
    EXPECT_THAT(read.first.passes, ElementsAre("a|b||", "c|"));
    EXPECT_THAT(read.third.passes, ElementsAre("d|"));
}

TEST(RawSectionsTest, ATextWithoutAFinalNewlineHasTheEndGluedToItsLastLine) {
    const Sections read(AicpuSection("first", {"a\nb", "c"}) + AicpuSection("third", {"", "d e"}));
    EXPECT_THAT(read.first.passes, ElementsAre("a|b|", "c|"));
    EXPECT_THAT(read.third.passes, ElementsAre("|", "d e|"));
    EXPECT_TRUE(read.wanted[0].isWhole);
}

TEST(RawSectionsTest, ATextMayHoldMarkers) {
    const std::string text =
        "third START\nfirst START\nfirst END\nnot @zarn-new:\n@zarn-new: \nx first END\n"
        "second END\n\nfirst END\n";
    const Sections read(AicpuSection("first", {text, text + "\n"}) +
                        AicpuSection("third", {"first END", "third END\n\n"}));
    const std::string lines =
        "third START|first START|first END|not @zarn-new:|@zarn-new: |x first END|second END||"
        "first END|";
    EXPECT_THAT(read.first.passes, ElementsAre(lines + "|", lines + "|"));
    EXPECT_THAT(read.third.passes, ElementsAre("first END|", "third END||"));
}

TEST(RawSectionsTest, AMarkerLineInATextBeginsAPass) {
    EXPECT_THAT(Sections(AicpuSection("first", {"a\n@zarn-new:\nb\n"})).first.passes,
                ElementsAre("a|", "b|"));
}

TEST(RawSectionsTest, WithoutAnEndThereIsNoWholeSection) {
    const std::string whole = AicpuSection("first", {"a\n"});
    const std::string torn = AicpuSection("third", {"d\n"});
    const Sections read(whole + torn.substr(0, torn.size() - 7));
    EXPECT_TRUE(read.wanted[0].IsGood());
    EXPECT_FALSE(read.wanted[1].isWhole);
    EXPECT_FALSE(read.wanted[1].IsGood());
    EXPECT_FALSE(Sections("first START\n@zarn-new:\nfirst EN").wanted[0].isWhole);
    EXPECT_FALSE(Sections("first START\n@zarn-new:\nfirst END\nmore\n").wanted[0].isWhole);
    EXPECT_FALSE(Sections("first START\n@zarn-new:\nfirst END\nthird START\n").wanted[0].isWhole);
}

TEST(RawSectionsTest, AnEndAtTheEndOfTheFileNeedsNoMore) {
    EXPECT_TRUE(Sections("first START\n@zarn-new:\na\nfirst END").wanted[0].IsGood());
    EXPECT_TRUE(Sections("first START\n@zarn-new:\na\nfirst END\n\n\n\n").wanted[0].IsGood());
}

TEST(RawSectionsTest, WhatIsMissingIsNotGood) {
    for (const char* text : {"", "\n", "binary \x01\xff\n", " first START\n", "first START \n",
                             "firstSTART\n", "first END\n"}) {
        const Sections read(text);
        EXPECT_FALSE(read.wanted[0].IsGood()) << text;
        EXPECT_THAT(read.first.passes, IsEmpty()) << text;
    }
    const Sections none("\nfirst START\ntext before any pass\nfirst END\n\n");
    EXPECT_TRUE(none.wanted[0].isWhole);
    EXPECT_FALSE(none.wanted[0].IsGood()) << "no pass";
    EXPECT_THAT(none.first.passes, IsEmpty());
}

TEST(RawSectionsTest, ReadsTheSectionsOfThatNumber) {
    const std::string text = AicpuSection("first", {"a\n"}) + AicpuSection("third", {"b\n"}) +
                             AicpuSection("first", {"c\n"}) + AicpuSection("third", {"d\n"});
    EXPECT_THAT(Sections(text, 1).first.passes, ElementsAre("c|"));
    EXPECT_THAT(Sections(text, 1).third.passes, ElementsAre("d|"));
    EXPECT_FALSE(Sections(text, 2).wanted[0].isWhole);
}

}  // namespace
}  // namespace zarn::test
