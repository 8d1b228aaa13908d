#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/support/ordinary_rights.h"
#include "tests/support/temp_dir.h"

namespace zarn::test {

// A working directory whose parent may not be searched, for as long as it lives: relative paths
// lead to files as usual, but no absolute path can be found for them.
class UnresolvableFolder {
public:
    UnresolvableFolder() : before_(std::filesystem::current_path()) {
        std::filesystem::create_directory(parent_.Path() + "folder");
        std::filesystem::current_path(parent_.Path() + "folder");
        EXPECT_EQ(::chmod(parent_.Path().c_str(), 0), 0);
    }
    UnresolvableFolder(const UnresolvableFolder&) = delete;
    UnresolvableFolder& operator=(const UnresolvableFolder&) = delete;
    ~UnresolvableFolder() {
        EXPECT_EQ(::chmod("..", 0700), 0);
        std::filesystem::current_path(before_);
    }

private:
    std::filesystem::path before_;
    TempDir parent_;
    OrdinaryRights rights_;
};

}  // namespace zarn::test
