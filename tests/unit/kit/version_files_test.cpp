#include "kit/version_files.h"

#include <gmock/gmock.h>

#include "tests/support/captured_streams.h"
#include "tests/support/temp_dir.h"

namespace zarn {
namespace {

using testing::UnorderedElementsAre;

constexpr NumberedFile kLog = {"", "load_", "log"};

TEST(FindVersionFiles, FindsWhatIsNumberedAndPrintsNothing) {
    const test::TempDir tree;
    for (const char* name : {"load_12.log", "load_3.log", "load_.log", "load_3.txt", "xload_3.log",
                             "load_3.log.bak", "load_3a.log"}) {
        tree.Write(name, name);
    }
    std::vector<std::string> paths;
    const test::Captured printed = test::Capture([&] {
        paths = FindVersionFiles({"CpuComparator", "v1", tree.Path()}, kLog);
    });
    EXPECT_EQ(printed.out + printed.err, "");
    EXPECT_THAT(paths,
                UnorderedElementsAre(tree.Path() + "load_12.log", tree.Path() + "load_3.log"));
}

TEST(FindVersionFiles, NoneIsSaidOnStandardOutput) {
    const test::TempDir tree;
    std::vector<std::string> paths;
    const test::Captured printed = test::Capture([&] {
        paths = FindVersionFiles({"DdrComparator", "v 2", tree.Path()}, kLog);
    });
    EXPECT_EQ(printed.out, "[DdrComparator] Missing valid load_xxx files in v 2, will skip it.\n");
    EXPECT_EQ(printed.err, "");
    EXPECT_TRUE(paths.empty());
}

TEST(ReadVersionFiles, AppendsTheTexts) {
    const test::TempDir tree;
    tree.Write("load_1.log", "one\n");
    tree.Write("load_2.log", "");
    std::vector<std::string> texts;
    EXPECT_TRUE(ReadVersionFiles({"CpuComparator", "v1", tree.Path()}, kLog, texts));
    EXPECT_THAT(texts, UnorderedElementsAre("one\n", ""));
}

}  // namespace
}  // namespace zarn
