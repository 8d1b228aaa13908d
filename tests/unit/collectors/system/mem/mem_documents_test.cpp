#include "collectors/system/mem/mem_documents.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "formats/mem.h"
#include "foundation/json.h"

namespace zarn {
namespace {

constexpr const char* kTime = "20230101120000001";

MemRow WholeRow(const std::string& command) {
    return {"11",   "1K",   "2K",   "3K",   "4K", "5K", "100K", "200K",
            "300K", "400K", "500K", "600K", "7",  "64", command};
}

std::string Head(const std::string& objectId) {
    return R"({"objectId":")" + objectId +
           R"(","happenTime":"20230101120000001","eventId":"962201576","content":[)";
}

TEST(MemDocumentsTest, TheSystemIsOneObjectOfThirteenTexts) {
    std::vector<std::string> values;
    for (int i = 1; i <= 13; ++i) {
        values.push_back(std::to_string(i));
    }
    EventWriter events;
    ASSERT_TRUE(WriteSystemDocument(values, kTime, events));
    EXPECT_EQ(events.Lines(),
              Head("soc_gea_memory_info") +
                  R"({"memInfo":{"total":"1","used":"2","free":"3","shared":"4","cache":"5",)"
                  R"("avail":"6","pss":"7","pagetable":"8","slabInfo":"9","hugetlb":"10",)"
                  R"("kermod":"11","kernelStack":"12","sum":"13"}}]})"
                  "\n");
}

TEST(MemDocumentsTest, AMissingOrSurplusValueWritesNothing) {
    EventWriter events;
    EXPECT_FALSE(WriteSystemDocument(std::vector<std::string>(12, "1"), kTime, events));
    EXPECT_FALSE(WriteSystemDocument(std::vector<std::string>(14, "1"), kTime, events));
    MemRow shortRow = WholeRow("node");
    shortRow.pop_back();
    const std::vector<MemRow> rows = {WholeRow("node"), shortRow};
    EXPECT_FALSE(WriteProcessSamples(rows, kTime, events));
    EXPECT_FALSE(WriteProcessInfo(rows, kTime, events));
    EXPECT_FALSE(WriteProcessStaticInfo(rows, kTime, events));
    EXPECT_EQ(events.Lines(), "");
}

TEST(MemDocumentsTest, SamplesOfProcessesAreObjectsOfAllColumns) {
    EventWriter events;
    ASSERT_TRUE(WriteProcessSamples({WholeRow("a"), WholeRow("b")}, kTime, events));
    const auto row = [](const std::string& command) {
        return R"({"PID":"11","HugePages":"1K","RSS":"2K","PSS":"3K","USS":"4K","SP_ALLOC":"5K",)"
               R"("VSS":"100K","VmData":"200K","VmStk":"300K","VmExe":"400K","VmLib":"500K",)"
               R"("VmPTE":"600K","Threads":"7","FDSize":"64","COMMAND":")" +
               command + "\"}";
    };
    EXPECT_EQ(events.Lines(), Head("soc_gea_process_mem_rawdata_info") + R"({"process":[)" +
                                  row("a") + "," + row("b") + "]}]}\n");
}

TEST(MemDocumentsTest, TheGreatestAreJoinedCellsWithAndWithoutFdSize) {
    EventWriter events;
    ASSERT_TRUE(WriteProcessInfo({WholeRow("a")}, kTime, events));
    ASSERT_TRUE(WriteProcessStaticInfo({WholeRow("a")}, kTime, events));
    EXPECT_EQ(
        events.Lines(),
        Head("soc_gea_process_info") +
            R"({"procFields":"PID HugePages RSS PSS USS SP_ALLOC VSS VmData VmStk VmExe VmLib)"
            R"( VmPTE Threads COMMAND"},)"
            R"({"procInfo":"11 1K 2K 3K 4K 5K 100K 200K 300K 400K 500K 600K 7 a"}]})"
            "\n" +
            Head("soc_gea_process_static_info") +
            R"({"procFields":"PID HugePages RSS PSS USS SP_ALLOC VSS VmData VmStk VmExe VmLib)"
            R"( VmPTE Threads FDSize COMMAND"},)"
            R"({"procInfo":"11 1K 2K 3K 4K 5K 100K 200K 300K 400K 500K 600K 7 64 a"}]})"
            "\n");
}

TEST(MemDocumentsTest, NoProcessIsADocumentToo) {
    EventWriter events;
    ASSERT_TRUE(WriteProcessSamples({}, kTime, events));
    EXPECT_EQ(events.Lines(), Head("soc_gea_process_mem_rawdata_info") + "{\"process\":[]}]}\n");
}

TEST(MemDocumentsTest, NamesOfAnyBytesStayReadable) {
    const std::string name = "a\"b\\c\n\x01\xff";
    EventWriter events;
    ASSERT_TRUE(WriteProcessSamples({WholeRow(name)}, kTime, events));
    JsonDocument document;
    ASSERT_TRUE(ParseJson(events.Lines(), document));
    const JsonValue& row = document["content"][0][kMemProcessMember][0];
    EXPECT_EQ(std::string(row["COMMAND"].GetString()), name);
}

}  // namespace
}  // namespace zarn
