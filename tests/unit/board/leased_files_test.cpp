#include "board/server/leased_files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <future>
#include <optional>

#include "tests/support/temp_dir.h"

namespace zarn::board {
namespace {

// Files of a test, read by threads of their own, which the kernel holds in the meantime.
class LeasedFilesTest : public testing::Test {
protected:
    void SetUp() override {
        if (!Leases()) {
            GTEST_SKIP() << "no leases on the file system of temporary files";
        }
        std::filesystem::create_directory(directory_.Path() + "node");
        files_.emplace(directory_.Path() + "node", directory_.Path() + "spare",
                       std::vector<std::string>{"a", "b"});
        ASSERT_TRUE(files_->Refresh(TextOf()));
    }

    [[nodiscard]] bool Leases() const {
        directory_.Write("try", "");
        const int fd = ::open((directory_.Path() + "try").c_str(), O_RDWR | O_CLOEXEC);
        const bool isGranted = ::fcntl(fd, F_SETLEASE, F_WRLCK) == 0;
        ::close(fd);
        return isGranted;
    }

    // Each text says how many there were before it.
    LeasedFiles::TextOf TextOf() {
        return [this](const std::string& name) { return name + std::to_string(made_++) + "\n"; };
    }

    std::future<std::string> Reader(const std::string& name) const {
        return std::async(std::launch::async, [path = directory_.Path() + "node/" + name] {
            return test::ReadText(path);
        });
    }

    // Until a file is being opened, or has been without us.
    template <typename T>
    void AwaitOpening(const std::future<T>& opening) {
        AwaitOpening(opening, *files_);
    }
    template <typename T>
    static void AwaitOpening(const std::future<T>& opening, const LeasedFiles& files) {
        pollfd wakes{files.Wakes(), POLLIN, 0};
        while (::poll(&wakes, 1, 10) == 0) {
            if (opening.wait_for(std::chrono::seconds(0)) == std::future_status::ready) {
                FAIL() << "opened without an answer";
            }
        }
    }

    // What one reader gets.
    std::string Read(const std::string& name) {
        std::future<std::string> text = Reader(name);
        AwaitOpening(text);
        files_->Answer(TextOf());
        return text.get();
    }

    test::TempDir directory_;
    int made_ = 0;
    std::optional<LeasedFiles> files_;
};

TEST_F(LeasedFilesTest, ATextIsMadeForEachReading) {
    EXPECT_EQ(made_, 0);
    EXPECT_EQ(Read("a"), "a0\n");
    EXPECT_EQ(Read("b"), "b1\n");
    EXPECT_EQ(Read("a"), "a2\n");
    EXPECT_EQ(made_, 3);
}

TEST_F(LeasedFilesTest, AReaderHoldsWhatHeHasOpened) {
    std::future<int> opening = std::async(std::launch::async, [this] {
        return ::open((directory_.Path() + "node/a").c_str(), O_RDONLY | O_CLOEXEC);
    });
    AwaitOpening(opening);
    files_->Answer(TextOf());
    const int slow = opening.get();
    EXPECT_EQ(Read("a"), "a1\n");
    std::array<char, 8> text{};
    EXPECT_EQ(::read(slow, text.data(), text.size()), 3);
    EXPECT_STREQ(text.data(), "a0\n");
    ::close(slow);
}

TEST_F(LeasedFilesTest, WhoOpensAndReadsNothingDisturbsNobody) {
    std::future<void> opening = std::async(std::launch::async, [this] {
        ::close(::open((directory_.Path() + "node/a").c_str(), O_RDONLY | O_CLOEXEC));
    });
    AwaitOpening(opening);
    files_->Answer(TextOf());
    opening.get();
    EXPECT_EQ(Read("a"), "a1\n");
}

TEST_F(LeasedFilesTest, WhoWillNotWaitIsSentAway) {
    const std::string path = directory_.Path() + "node/a";
    EXPECT_EQ(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC), -1);
    EXPECT_EQ(errno, EWOULDBLOCK);
    files_->Answer(TextOf());
    EXPECT_EQ(Read("a"), "a1\n");
}

TEST_F(LeasedFilesTest, LookingAtTheFileIsNoOpening) {
    struct stat status {};
    EXPECT_EQ(::stat((directory_.Path() + "node/a").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0444U);
    pollfd opening{files_->Wakes(), POLLIN, 0};
    EXPECT_EQ(::poll(&opening, 1, 0), 0);
    EXPECT_FALSE(std::filesystem::exists(directory_.Path() + "spare"));
}

TEST_F(LeasedFilesTest, AFileTakenAwayIsLaidAgain) {
    std::filesystem::remove(directory_.Path() + "node/b");
    EXPECT_TRUE(files_->Refresh(TextOf()));
    EXPECT_EQ(Read("b"), "b0\n");
}

TEST_F(LeasedFilesTest, TheEndFreesWhoWaitsAndTakesTheFilesAlong) {
    std::future<std::string> text = Reader("a");
    AwaitOpening(text);
    files_.reset();
    EXPECT_EQ(text.get(), "");
    EXPECT_TRUE(std::filesystem::is_empty(directory_.Path() + "node"));
}

// Were it one signal for both, the first to answer would take it from the other.
TEST_F(LeasedFilesTest, OtherFilesWithASignalOfTheirOwnKeepIt) {
    std::filesystem::create_directory(directory_.Path() + "other");
    LeasedFiles others(directory_.Path() + "other", directory_.Path() + "spare", {"c"}, SIGRTMIN);
    ASSERT_TRUE(others.Refresh(TextOf()));
    std::future<std::string> text = std::async(
        std::launch::async, [this] { return test::ReadText(directory_.Path() + "other/c"); });
    ASSERT_NO_FATAL_FAILURE(AwaitOpening(text, others));
    files_->Answer(TextOf());
    pollfd wakes{others.Wakes(), POLLIN, 0};
    EXPECT_EQ(::poll(&wakes, 1, 0), 1);
    others.Answer(TextOf());
    EXPECT_EQ(text.get(), "c0\n");
}

TEST_F(LeasedFilesTest, WithoutAFolderNoFileCanBeLaid) {
    std::filesystem::remove_all(directory_.Path() + "node");
    EXPECT_FALSE(files_->Refresh(TextOf()));
    std::filesystem::create_directory(directory_.Path() + "node");
    EXPECT_TRUE(files_->Refresh(TextOf()));
    EXPECT_EQ(Read("a"), "a0\n");
}

}  // namespace
}  // namespace zarn::board
