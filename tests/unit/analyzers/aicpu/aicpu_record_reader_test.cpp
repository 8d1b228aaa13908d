#include "analyzers/aicpu/aicpu_record_reader.h"

#include <gtest/gtest.h>

#include <string>

#include "collectors/device/aicpu/aicpu_document.h"
#include "tests/support/aicpu_lines.h"

namespace zarn::test {
namespace {

std::string RecordText() {
    const JsonDocument document = MakeAicpuRecordDocument(
        AicpuRecordOf({AicpuProcessOf("a", 12, 2), AicpuProcessOf("b", 0, 0, false)}), "1");
    rapidjson::StringBuffer buffer;
    WriteJson(document, buffer);
    return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

RecordResult Read(const std::string& text) {
    AicpuRecord record;
    record.count = 99;
    const RecordResult result = ReadAicpuRecord(text, record);
    EXPECT_EQ(record.count == 99, result != RecordResult::Ok) << text;
    return result;
}

TEST(AicpuRecordReaderTest, ReadsWhatTheCollectorWrites) {
    AicpuRecord record;
    ASSERT_EQ(ReadAicpuRecord(RecordText(), record), RecordResult::Ok);
    EXPECT_EQ(record.deMin, 1);
    EXPECT_EQ(record.deMax, 3);
    EXPECT_TRUE(record.jobs.core && record.jobs.event && record.jobs.abnormal);
    EXPECT_EQ(record.interval, 1U);
    EXPECT_EQ(record.count, 3U);
    ASSERT_EQ(record.processes.size(), 2U);
    const AicpuProcess& process = record.processes[0];
    EXPECT_TRUE(process.valid);
    EXPECT_EQ(process.name, "a");
    EXPECT_EQ(process.pid, 12U);
    EXPECT_EQ(process.core, 1U);
    EXPECT_EQ(process.groupId, 31U);
    EXPECT_EQ(process.collectTimes,
              (std::vector<std::string>{"20230101120001001", "20230101120002001"}));
    EXPECT_FALSE(record.processes[1].valid);
}

TEST(AicpuRecordReaderTest, EveryMemberMustBeThereAndOfItsType) {
    for (const char* member : {"eventId", "objectId", "content", "deMin", "deMax", "core", "event",
                               "abnormal", "interval", "count", "process_info", "valid", "name",
                               "pid", "bind_cpu_id", "group_id", "collect_time"}) {
        std::string text = RecordText();
        const std::string quoted = "\"" + std::string(member) + "\":";
        text.replace(text.find(quoted), quoted.size(), "\"other\":");
        EXPECT_EQ(Read(text), RecordResult::BadFormat) << text;
    }
    const std::pair<const char*, const char*> rows[] = {
        {"\"deMin\":1", "\"deMin\":\"1\""},   {"\"core\":true", "\"core\":1"},
        {"\"count\":3", "\"count\":-3"},      {"\"pid\":12", "\"pid\":99999999999"},
        {"\"valid\":true", "\"valid\":null"}, {"\"name\":\"a\"", "\"name\":[]"},
        {"[\"20230101120001001\"", "[1"},
    };
    for (const auto& [good, bad] : rows) {
        std::string text = RecordText();
        ASSERT_NE(text.find(good), std::string::npos) << good;
        text.replace(text.find(good), std::string(good).size(), bad);
        EXPECT_EQ(Read(text), RecordResult::BadFormat) << text;
    }
    for (const char* text : {"[]", "1", "null", "{}", R"({"eventId":1,"objectId":1,"content":1})",
                             R"({"eventId":1,"objectId":1,"content":[]})"}) {
        EXPECT_EQ(Read(text), RecordResult::BadFormat) << text;
    }
}

TEST(AicpuRecordReaderTest, ATornRecordIsNoJson) {
    const std::string text = RecordText();
    for (std::size_t size = 0; size + 1 < text.size(); ++size) {
        EXPECT_EQ(Read(text.substr(0, size)), RecordResult::NoJson) << size;
    }
    EXPECT_EQ(Read(text + text), RecordResult::NoJson) << "two documents";
    EXPECT_EQ(Read(std::string("\0", 1)), RecordResult::NoJson);
    EXPECT_EQ(Read(text.substr(0, text.size() - 1)), RecordResult::Ok);
}

}  // namespace
}  // namespace zarn::test
