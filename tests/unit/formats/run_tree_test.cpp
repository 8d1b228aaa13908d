#include "formats/run_tree.h"

#include <gmock/gmock.h>

#include "tests/support/captured_streams.h"
#include "tests/support/temp_dir.h"

namespace zarn {
namespace {

using testing::UnorderedElementsAre;

constexpr NumberedFile kLoad = {"raw_data/", "load_", "log"};

TEST(NumberedFile, IsFolderPrefixTimeAndSuffix) {
    EXPECT_EQ(kLoad.Path("/runs/1/", "20230101120000000"),
              "/runs/1/raw_data/load_20230101120000000.log");
}

TEST(NumberedFile, FindsWhatItNames) {
    const test::TempDir tree;
    for (const char* name : {"load_12.log", "load_3.log", "load_.log", "load_3.txt", "xload_3.log",
                             "load_3.log.bak", "load_3a.log"}) {
        tree.Write(std::string("raw_data/") + name, name);
    }
    tree.Write("load_4.log", "beside the folder");
    EXPECT_THAT(kLoad.FindAll(tree.Path()),
                UnorderedElementsAre(kLoad.Path(tree.Path(), "12"), kLoad.Path(tree.Path(), "3")));
}

TEST(NumberedFile, ATreeWithoutTheFolderHasNone) {
    const test::TempDir tree;
    std::vector<std::string> paths = {"?"};
    const test::Captured printed = test::Capture([&] { paths = kLoad.FindAll(tree.Path()); });
    EXPECT_EQ(printed.err, "Can not open " + tree.Path() + "raw_data/\n");
    EXPECT_TRUE(paths.empty());
}

}  // namespace
}  // namespace zarn
