#include "tests/unit/collectors/device/mbuf/mbuf_collector_fixture.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

namespace zarn::test {
namespace {

template <typename Number>
void Put(Number number, std::size_t offset, std::string& bytes) {
    std::memcpy(bytes.data() + offset, &number, sizeof(number));
}

}  // namespace

std::string MbufBytes(const MbufRecord& record) {
    std::string bytes(224, '\xEE');
    Put(record.timeStamp, 0, bytes);
    Put(record.mbuf, 8, bytes);
    Put(record.usePid, 16, bytes);
    Put(record.allocPid, 20, bytes);
    Put(record.useTime, 24, bytes);
    Put(record.blkSize, 48, bytes);
    Put(record.totalBlkNum, 52, bytes);
    const std::string name = record.poolName + '\0';
    bytes.replace(64, std::min<std::size_t>(name.size(), 160), name, 0, 160);
    return bytes;
}

MbufRecord MbufOf(unsigned number) {
    return {1000 + number, 0xFFFF0000 + number, 10 + number % 2, 10, 10000 + number, 4096, 64,
            "pool"};
}

std::string MbufAnswer(const std::vector<unsigned>& numbers) {
    std::string bytes;
    for (const unsigned number : numbers) {
        bytes += MbufBytes(MbufOf(number));
    }
    return bytes;
}

MbufCollectorTest::MbufCollectorTest() {
    std::filesystem::create_directories(dir.Path() + "json");
    std::filesystem::create_directories(dir.Path() + "env_info");
    host.runner.On("ps -p 10 -o comm=", "camera\n")
        .On("ps -p 11 -o comm=", "planner\n")
        .On("cat /proc/xsmem/task/10/summary | grep cnt |awk", "2\n")
        .On("cat /proc/xsmem/task/10/summary | awk", "0:default_dm(\n1:camera(\n")
        .On("cat /proc/xsmem/task/11/summary | grep cnt |awk", "1\n")
        .On("cat /proc/xsmem/task/11/summary | awk", "0:default_dm(\n");
}

Captured MbufCollectorTest::Run(unsigned count, unsigned interval) {
    JsonDocument config;
    EXPECT_TRUE(ParseJson(R"({"MbufCollector":{"count":)" + std::to_string(count) +
                              R"(,"interval":)" + std::to_string(interval) + "}}",
                          config));
    MbufCollector collector(MbufCollector::kName, host.Get());
    return Capture([&] {
        EXPECT_TRUE(collector.CheckOptions(config, "collector"));
        result = collector.Start(config, dir.Path(), &stopFlag);
    });
}

std::vector<std::string> MbufCollectorTest::Files(const std::string& folder) const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(dir.Path() + folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> MbufCollectorTest::Texts(const std::string& folder) const {
    std::vector<std::string> texts;
    for (const std::string& name : Files(folder)) {
        std::string path = folder;
        path.append("/").append(name);
        texts.push_back(dir.Read(path));
    }
    return texts;
}

std::string MbufCollectorTest::Document(const std::string& time, const std::string& content) {
    return R"({"eventId":"222210170","happenTime":")" + time +
           R"(","objectId":"mbuf_timeout_info","content":[)" + content + "]}\n";
}

std::string MbufCollectorTest::Entry(unsigned number) {
    constexpr const char* kDigits = "0123456789abcdef";
    const bool isCameras = number % 2 == 0;
    return R"({"domain":"GEA","id":"0xffff000)" + std::string(1, kDigits[number]) + " " +
           std::to_string(1000 + number) + R"(","alloc":10,"allocName":"camera","use":)" +
           (isCameras ? R"(10,"useName":"camera")" : R"(11,"useName":"planner")") +
           R"(,"useTime":)" + std::to_string(10000 + number) + R"(,"group":")" +
           (isCameras ? "default_dm,camera," : "default_dm,") +
           R"(","pool":"pool","blockSize":4096,"blockNum":64})";
}

}  // namespace zarn::test
