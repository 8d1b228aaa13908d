#include "tests/unit/collectors/device/imgp/imgp_collector_fixture.h"

#include <algorithm>
#include <filesystem>

namespace zarn::test {

namespace fs = std::filesystem;

ImgpCollectorTest::ImgpCollectorTest() {
    for (const char* folder : {"json", "csv", "env_info"}) {
        fs::create_directories(tree + folder);
    }
    host.procRoot = dir.Path() + "proc/";
}

Captured ImgpCollectorTest::Run(const std::string& jobs, const std::string& app,
                                const std::string& params) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(R"({"ImgpCollector":{"job":)" + jobs +
                              R"(,"global":{"duration":3},"app":{"path":")" + dir.Path() +
                              R"(bin","library":"/opt/lib","appName":")" + app + R"(","params":)" +
                              params + "}}}",
                          config));
    host.ticks = 0;
    ImgpCollector collector(ImgpCollector::kName, host.Get());
    return Capture([&] {
        EXPECT_TRUE(collector.CheckOptions(config, "collector"));
        result = collector.Start(config, tree, &stopFlag);
    });
}

std::vector<std::string> ImgpCollectorTest::Names(const std::string& folder) const {
    std::vector<std::string> names;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(tree + folder, ignored)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace zarn::test
