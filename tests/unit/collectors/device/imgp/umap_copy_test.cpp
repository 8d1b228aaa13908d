#include "collectors/device/imgp/umap_copy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/captured_streams.h"
#include "tests/support/ordinary_rights.h"
#include "tests/support/temp_dir.h"

namespace zarn::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

class UmapCopyTest : public testing::Test {
protected:
    UmapCopyTest() {
        fs::create_directories(from_);
        fs::create_directories(to_);
    }

    // What copying prints.
    [[nodiscard]] std::string Copy() const { return CopyOf(from_); }
    [[nodiscard]] std::string CopyOf(const std::string& folder) const {
        const Captured captured = Capture([&] { CopyUmap(folder, to_); });
        EXPECT_EQ(captured.out, "");
        return captured.err;
    }

    [[nodiscard]] std::vector<std::string> Copied() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(to_)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    [[nodiscard]] std::string Exception(const std::string& name, const std::string& why) const {
        return "[ImgpCollector] Catch a file copy exception: filesystem error: cannot copy file: " +
               why + " [" + from_ + name + "] [" + to_ + name + "]\n";
    }

    TempDir dir_;
    std::string from_ = dir_.Path() + "umap/";
    std::string to_ = dir_.Path() + "copy/";
};

TEST_F(UmapCopyTest, FilesAreCopiedOneLevelDeep) {
    dir_.Write("umap/vpc", std::string("busy\n\0\xff", 7));
    dir_.Write("umap/empty", "");
    dir_.Write("umap/sub/venc", "deep");
    EXPECT_EQ(Copy(), "");
    EXPECT_THAT(Copied(), ElementsAre("empty", "vpc"));
    EXPECT_EQ(dir_.Read("copy/vpc"), std::string("busy\n\0\xff", 7));
    EXPECT_EQ(dir_.Read("copy/empty"), "");
}

TEST_F(UmapCopyTest, WhatIsThereIsReplaced) {
    dir_.Write("umap/vpc", "new");
    dir_.Write("copy/vpc", "something old");
    EXPECT_EQ(Copy(), "");
    EXPECT_EQ(dir_.Read("copy/vpc"), "new");
}

// Files of procfs show a size of 0.
TEST_F(UmapCopyTest, AFolderOfProcfsIsCopiedWhole) {
    const std::string folder = "/proc/sys/kernel/random/";
    ASSERT_EQ(fs::file_size(folder + "boot_id"), 0U);
    EXPECT_EQ(CopyOf(folder), "");
    EXPECT_EQ(dir_.Read("copy/boot_id"), ReadText(folder + "boot_id"));
    EXPECT_EQ(dir_.Read("copy/boot_id").size(), 37U);
    EXPECT_EQ(dir_.Read("copy/uuid").size(), 37U);
    EXPECT_NE(dir_.Read("copy/poolsize"), "");
}

TEST_F(UmapCopyTest, WhatCannotBeCopiedCostsItself) {
    dir_.Write("umap/a", "first");
    dir_.Write("umap/secret", "unreadable");
    dir_.Write("umap/z", "last");
    fs::permissions(from_ + "secret", fs::perms::none);
    ASSERT_EQ(::mkfifo((from_ + "fifo").c_str(), 0600), 0);
    fs::create_symlink("nowhere", from_ + "gone");
    fs::create_symlink("a", from_ + "link");
    const OrdinaryRights rights;
    EXPECT_EQ(Copy(), Exception("fifo", "Operation not supported") +
                          Exception("gone", "No such file or directory") +
                          Exception("secret", "Permission denied"));
    EXPECT_THAT(Copied(), ElementsAre("a", "link", "z"));
    EXPECT_EQ(dir_.Read("copy/link"), "first");
    fs::permissions(from_ + "secret", fs::perms::owner_all);
}

TEST_F(UmapCopyTest, ACopyThatCannotBeWrittenIsTold) {
    dir_.Write("umap/a", "first");
    dir_.Write("umap/b", "second");
    fs::create_directories(to_ + "a");
    EXPECT_EQ(Copy(), Exception("a", "Is a directory"));
    EXPECT_EQ(dir_.Read("copy/b"), "second");
}

TEST_F(UmapCopyTest, AFolderThatIsMissingIsOneException) {
    EXPECT_THAT(CopyOf(dir_.Path() + "nothing/"),
                testing::MatchesRegex("\\[ImgpCollector\\] Catch a file copy exception: filesystem "
                                      "error: .*: No such file or directory \\[.*nothing/\\]\n"));
    EXPECT_THAT(Copied(), IsEmpty());
}

}  // namespace
}  // namespace zarn::test
