#include "collectors/system/cpu/cpu_documents.h"

#include <gmock/gmock.h>

#include "foundation/json.h"
#include "tests/support/captured_streams.h"

namespace zarn {
namespace {

const CpuSampleTimes kTimes("20240118120000250", 0.5);

// What stands before "cpu" in the document of a sample.
std::string Head(std::size_t index) {
    std::string time;
    EXPECT_TRUE(kTimes.At(index, time));
    return R"({"eventId":"962201576","happenTime":")" + time +
           R"(","objectId":"soc_gea_cpu_usage_info","content":{)"
           R"("cpuFields":"user sys nice idle wait irq sirq steal",)"
           R"("procFields":"USER PID %CPU %MEM VSZ RSS PSR COMMAND",)"
           R"("threadFields":"USER TID PID %CPU %MEM VSZ RSS PSR COMMAND",)";
}

// The sources of documents, filled by a test.
struct Sources {
    CpuLog global;
    CpuLog cores;
    std::vector<CpuRows> top10;
    std::vector<CpuRows> selected;
    CpuThreadRows threadRowsByPid;

    // The text of a document, without its newline.
    [[nodiscard]] std::string Build(std::size_t index) const {
        EventWriter events;
        EXPECT_TRUE(
            BuildCpuJson({global, cores, top10, selected, threadRowsByPid}, kTimes, index, events));
        return std::string(events.Lines().substr(0, events.Lines().find('\n')));
    }
};

// A log of batches of these lines, each after a time line.
CpuLog Log(const std::vector<std::vector<std::string>>& batches) {
    CpuLog log;
    for (const std::vector<std::string>& lines : batches) {
        log.StartBatch("20240118120000250");
        for (const std::string& line : lines) {
            log.Add(line);
        }
    }
    log.Close();
    return log;
}

// The `cpu` array of a document of which only one batch of summary or core lines is there.
std::string CpuArray(const std::vector<std::string>& global,
                     const std::vector<std::string>& cores) {
    Sources sources;
    sources.global = global.empty() ? CpuLog() : Log({global});
    sources.cores = cores.empty() ? CpuLog() : Log({cores});
    JsonDocument document;
    EXPECT_TRUE(ParseJson(sources.Build(0), document));
    rapidjson::StringBuffer buffer;
    WriteJson(document["content"]["cpu"], buffer);
    return {buffer.GetString(), buffer.GetSize()};
}

struct NumbersCase {
    const char* text;
    const char* numbers;
};

class ParseCpuNumbersTest : public testing::TestWithParam<NumbersCase> {};

TEST_P(ParseCpuNumbersTest, KeepsTheDecimalFirstTokens) {
    EXPECT_EQ(ParseCpuNumbers(GetParam().text), GetParam().numbers);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ParseCpuNumbersTest,
    testing::Values(
        NumbersCase{"  1.0 us,  2.0 sy,  0.0 ni,100.0 id,  0.5 wa,  0.0 hi,  0.0 si,  0.0 st ",
                    "1.0 2.0 0.0 100.0 0.5 0.0 0.0 0.0"},
        NumbersCase{"1.0", ""}, NumbersCase{"1.0 ", ""}, NumbersCase{"1.0us, 2 sy", "2"},
        NumbersCase{"-1 us,1.2.3 sy,4 id extra,x y,,", "4"}, NumbersCase{"", ""}));

TEST(BuildCpuJson, WithoutAnyListsIsTheBareFrame) {
    EXPECT_EQ(Sources().Build(3), Head(3) + R"("cpu":[],"top10Procs":[],"selectedProcs":[]}})");
}

TEST(BuildCpuJson, HasItsMembersInOrder) {
    Sources sources;
    sources.global = Log({{}, {"top", "Tasks: 1", "%Cpu(s): 1.5 us, 98.5 id"}});
    sources.cores = Log({{}, {"top", "Tasks: 1", "Cpu0  : 2.0 us", "Cpu11 : 1.0 us, 3 id"}});
    sources.top10 = {{}, {"root 1 0.2 init", "app 27 0.1 a\"b"}};
    sources.selected = {{}, {"app 27 0.1 a\"b"}};
    sources.threadRowsByPid = {{"27", {"app 27 27 x", "app 28 27 x/1"}}};
    const std::string selected =
        R"({"procInfo":"app 27 0.1 a\"b","top10Threads":[{"threadInfo":"app 27 27 x"},)"
        R"({"threadInfo":"app 28 27 x/1"}]})";
    EXPECT_EQ(sources.Build(1),
              Head(1) + R"("cpu":[{"cpuId":-1,"cpuInfo":"1.5 98.5"},{"cpuId":0,"cpuInfo":"2.0"},)" +
                  R"({"cpuId":11,"cpuInfo":"1.0 3"}],)" +
                  R"("top10Procs":[{"procInfo":"root 1 0.2 init","top10Threads":[]},)" + selected +
                  R"(],"selectedProcs":[)" + selected + "]}}");
}

TEST(BuildCpuJson, ASampleBeyondTheBatchesIsEmpty) {
    Sources sources;
    sources.global = Log({{"top", "Tasks", "%Cpu(s): 1.5 us"}});
    sources.cores = Log({{"top", "Tasks", "Cpu0 : 1.5 us"}});
    sources.top10 = {{"root 1"}};
    sources.selected = {{"root 1"}};
    EXPECT_EQ(sources.Build(1), Head(1) + R"("cpu":[],"top10Procs":[],"selectedProcs":[]}})");
}

TEST(BuildCpuJson, TornSummariesAddNoEntry) {
    EXPECT_EQ(CpuArray({"top", "Tasks: 1"}, {}), "[]");
    EXPECT_EQ(CpuArray({"top", "Tasks: 1", "%Cpu(s)"}, {}), "[]");
    EXPECT_EQ(CpuArray({"top", "Tasks: 1", "%Cpu(s): 1.5 u"}, {}),
              R"([{"cpuId":-1,"cpuInfo":"1.5"}])");
    EXPECT_EQ(CpuArray({}, {"top", "Tasks: 1"}), "[]");
    EXPECT_EQ(CpuArray({}, {"top", "Tasks: 1", " ", "Cpu7", "C:", "Cpu9 : 1.0 us, 2.0"}),
              R"([{"cpuId":9,"cpuInfo":"1.0"}])");
}

TEST(BuildCpuJson, ACoreWithoutANumberIsCoreZero) {
    std::string array;
    auto captured = test::Capture([&array] {
        array = CpuArray({}, {"top", "Tasks: 1", " Cpu12 : 1 us", "CpuX : 2 us", "C : 3 us",
                              "Cpu: 4 us", "Cpu5x : 5 us"});
    });
    EXPECT_EQ(array,
              R"([{"cpuId":12,"cpuInfo":"1"},{"cpuId":0,"cpuInfo":"2"},{"cpuId":0,"cpuInfo":"3"},)"
              R"({"cpuId":0,"cpuInfo":"4"},{"cpuId":0,"cpuInfo":"5"}])");
    EXPECT_EQ(captured.err, "");
    captured = test::Capture([&array] {
        array = CpuArray(
            {}, {"top", "Tasks: 1", "Cpu4294967295 : 1 us", "Cpu99999999999999999999 : 2 us"});
    });
    EXPECT_EQ(array, R"([{"cpuId":4294967295,"cpuInfo":"1"},{"cpuId":0,"cpuInfo":"2"}])");
    EXPECT_EQ(captured.err, "[Utils] Out of range\n");
}

TEST(BuildCpuJson, RowsWithoutAPidAreDropped) {
    using namespace std::string_literals;
    Sources sources;
    const std::string binary = "a \0\x01\xff"s;
    sources.top10 = {{"root", " root ", binary}};
    EXPECT_EQ(sources.Build(0),
              Head(0) + "\"cpu\":[],\"top10Procs\":[{\"procInfo\":\"a \\u0000\\u0001\xff\"," +
                  R"("top10Threads":[]}],"selectedProcs":[]}})");
}

TEST(BuildCpuJson, WithoutAValidTimeThereIsNoDocument) {
    const auto captured = test::Capture([] {
        const Sources none;
        const CpuDocumentSources sources{none.global, none.cores, none.top10, none.selected,
                                         none.threadRowsByPid};
        EventWriter events;
        EXPECT_FALSE(BuildCpuJson(sources, CpuSampleTimes("", 1.0), 0, events));
        EXPECT_FALSE(BuildCpuJson(sources, CpuSampleTimes("20240118120000250", 1e300), 1, events));
        EXPECT_EQ(events.Lines(), "");
    });
    EXPECT_EQ(captured.err,
              "[zarn_utils] The length of TimeStr is incorrect!\n"
              "[zarn_utils] Error: The timestamp is too large to convert to a string!\n");
}

}  // namespace
}  // namespace zarn
