#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "collectors/device/imgp/imgp_collector.h"
#include "tests/support/captured_streams.h"
#include "tests/support/fake_host.h"
#include "tests/support/temp_dir.h"

namespace zarn::test {

// Collections into a tree of their own, with a fake device, a fake runner and a folder that stands
// in for procfs.
class ImgpCollectorTest : public testing::Test {
protected:
    static constexpr const char* kTime = "20230101120000000";  // of the first job

    ImgpCollectorTest();

    // Collects by these jobs, as `["vpc"]`; the application is `app` in a folder `bin`.
    Captured Run(const std::string& jobs, const std::string& app = "player",
                 const std::string& params = "[]");

    // The names in a folder of the tree, sorted; empty where there is none.
    [[nodiscard]] std::vector<std::string> Names(const std::string& folder) const;
    [[nodiscard]] std::string Read(const std::string& name) const {
        return dir.Read("run/" + name);
    }

    TempDir dir;
    std::string tree = dir.Path() + "run/";
    FakeHost host;
    StopFlag stopFlag{0};
    bool result = false;
};

}  // namespace zarn::test
