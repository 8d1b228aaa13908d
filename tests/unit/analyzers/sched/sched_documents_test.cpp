#include "analyzers/sched/sched_documents.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "foundation/json.h"
#include "tests/support/captured_streams.h"

namespace zarn::test {
namespace {

constexpr const char* kBoot = "20230101110000";

struct Written {
    std::string text;
    bool good = false;
    std::string err;
};

Written Write(const std::function<bool(EventWriter&)>& elements) {
    Written written;
    EventWriter events;
    written.err = Capture([&] {
                      events.BeginEventList("1", "2", "3");
                      written.good = elements(events);
                      events.EndEventList();
                  }).err;
    written.text = events.Lines();
    return written;
}

std::string DocumentOf(const std::string& content) {
    return R"({"eventId":"1","happenTime":"2","objectId":"3","content":[)" + content + "]}\n";
}

Written WriteLatency(const LatencyFindings& findings) {
    return Write(
        [&](EventWriter& events) { return WriteLatencyFindings(findings, kBoot, events); });
}

const LatencyCells kFirst = {"a:(2)", "3.0 ms", "2", "0.1 ms", "1.5 ms", "7.5 s"};
const LatencyCells kSecond = {"b:9", "4.0 ms", "3", "0.2 ms", "0.25 ms", "8.5 s"};
const LatencyCells kThread = {"a:1", "1.0 ms", "1", "0.1 ms", "1.0 ms", "6.0 s"};

TEST(LatencyDocumentTest, TheWholeListComesFirstThenEachTask) {
    const Written written = WriteLatency({{kFirst, kSecond}, {{kThread, kFirst}, {kSecond}}});
    const std::string first =
        R"x({"task":"a:(2)","runtime":"3.0 ms","switches":"2","averageDelay":"0.1 ms",)x"
        R"("maximumDelay":"1.5 ms","maximumDelayAt":"7.5 s"})";
    const std::string second =
        R"({"task":"b:9","runtime":"4.0 ms","switches":"3","averageDelay":"0.2 ms",)"
        R"("maximumDelay":"0.25 ms","maximumDelayAt":"8.5 s"})";
    const std::string thread =
        R"({"task":"a:1","runtime":"1.0 ms","switches":"1","averageDelay":"0.1 ms",)"
        R"("maximumDelay":"1.0 ms","maximumDelayAt":"6.0 s"})";
    const std::string boot = R"("systemStartUpTime":"20230101110000","sortedList":[)";
    EXPECT_TRUE(written.good);
    EXPECT_EQ(written.err, "");
    // The mean is that of the greatest delays.
    EXPECT_EQ(written.text, DocumentOf(R"({"target":"topN_process","avgDelay":"0.875000 ms",)"
                                       R"("maxDelay":"1.500000 ms",)" +
                                       boot + first + "," + second +
                                       R"x(]},{"target":"a:(2)","avgDelay":"1.250000 ms",)x"
                                       R"("maxDelay":"1.500000 ms",)" +
                                       boot + thread + "," + first +
                                       R"(]},{"target":"b:9","avgDelay":"0.250000 ms",)"
                                       R"("maxDelay":"0.250000 ms",)" +
                                       boot + second + "]}"));
}

TEST(LatencyDocumentTest, TheGreatestOfDelaysBelowNothingIsOneOfThem) {
    LatencyCells first = kFirst;
    LatencyCells second = kSecond;
    first[kMaxDelayCell] = "-1.0 ms";
    second[kMaxDelayCell] = "-3.0 ms";
    EXPECT_NE(WriteLatency({{first, second}, {}})
                  .text.find(R"("avgDelay":"-2.000000 ms","maxDelay":"-1.000000 ms")"),
              std::string::npos);
}

TEST(LatencyDocumentTest, ATargetWithoutRowsFails) {
    const std::string empty =
        "[SchedAnalyzer] SchedAnalyzer get tokens AvgDelay and MaxDelay value failed, tokens "
        "length should not be equal to 0.\n"
        "[SchedAnalyzer] Failed to get avgDelay and maxDelay value!\n";
    Written written = WriteLatency({{}, {}});
    EXPECT_FALSE(written.good);
    EXPECT_EQ(written.err,
              empty + "[SchedAnalyzer] Failed to add topN_process object to content!\n");
    written = WriteLatency({{kFirst}, {{}}});
    EXPECT_FALSE(written.good);
    EXPECT_EQ(written.err, empty + "[SchedAnalyzer] Failed to add a:(2) object to content!\n");
}

TEST(LatencyDocumentTest, ADelayThatIsNoNumberFails) {
    for (const char* delay : {"x ms", "", " 5 ms", "nan ms", "1e999 ms"}) {
        LatencyCells row = kFirst;
        row[kMaxDelayCell] = delay;
        const Written written = WriteLatency({{kSecond, row}, {{kSecond}, {row}}});
        EXPECT_FALSE(written.good) << delay;
        EXPECT_EQ(written.err,
                  "[SchedAnalyzer] Error occurs when translate string to double for maxDelay: "
                  "stod\n"
                  "[SchedAnalyzer] Failed to get avgDelay and maxDelay value!\n"
                  "[SchedAnalyzer] Failed to add topN_process object to content!\n");
    }
}

TEST(LatencyDocumentTest, EachTaskNeedsItsThreads) {
    const Written written = WriteLatency({{kFirst, kSecond}, {{kThread}}});
    EXPECT_FALSE(written.good);
    EXPECT_EQ(written.err,
              "[SchedAnalyzer] SchedAnalyzer failed to get topNAnalyzerTokens, the size of "
              "topNTokens 2 should be equal with the size of topNAnalyzerTokens!\n");
}

const TimehistRow kRow = {"12.500000", "[0001]", "my task[7]", "250.000", "0.020", "3.000"};

TEST(TimehistDocumentTest, ARowBearsItsUnits) {
    const Written written = Write([](EventWriter& events) {
        WriteTimehistRow(kRow, kBoot, events);
        return true;
    });
    EXPECT_EQ(written.text,
              DocumentOf(R"({"task":"my task[7]","time":"12.500000 s","cpu":"[0001]",)"
                         R"("waitTime":"250.000 ms","schedDelay":"0.020 ms","runTime":"3.000 ms",)"
                         R"("systemStartUpTime":"20230101110000"})"));
}

// Whichever column it is in.
TEST(TimehistDocumentTest, WhatIsNoPlainTextIsEscaped) {
    for (const auto column :
         {&TimehistRow::task, &TimehistRow::time, &TimehistRow::cpu, &TimehistRow::waitTime,
          &TimehistRow::schedDelay, &TimehistRow::runTime}) {
        for (const std::string& text :
             {std::string("\"q\" \\ \n"), std::string("a long name that ends in \x01"),
              std::string()}) {
            TimehistRow row = kRow;
            row.*column = text;
            const Written written = Write([&row](EventWriter& events) {
                WriteTimehistRow(row, kBoot, events);
                WriteTimehistRow(row, "\"boot\"", events);
                return true;
            });
            JsonDocument document;
            ASSERT_TRUE(ParseJson(written.text, document)) << written.text;
            const JsonValue& rows = document["content"];
            ASSERT_EQ(rows.Size(), 2U);
            EXPECT_EQ(rows[0]["task"].GetString(), std::string(row.task));
            EXPECT_EQ(rows[0]["time"].GetString(), std::string(row.time) + " s");
            EXPECT_EQ(rows[0]["cpu"].GetString(), std::string(row.cpu));
            EXPECT_EQ(rows[1]["waitTime"].GetString(), std::string(row.waitTime) + " ms");
            EXPECT_EQ(rows[1]["schedDelay"].GetString(), std::string(row.schedDelay) + " ms");
            EXPECT_EQ(rows[1]["runTime"].GetString(), std::string(row.runTime) + " ms");
            EXPECT_STREQ(rows[1]["systemStartUpTime"].GetString(), "\"boot\"");
        }
    }
}

TEST(TimehistDocumentTest, ADelayIsOverItsWaitBehindTheRowsTime) {
    const Written written =
        Write([](EventWriter& events) { return WriteDelayRow(kRow, kBoot, events); });
    EXPECT_TRUE(written.good);
    EXPECT_EQ(
        written.text,
        DocumentOf(R"({"Task":"my task[7]","runtime":"3.000 ms","switches":"1",)"
                   R"("averageDelay":"0.020 ms","maximumDelay":"0.020 ms",)"
                   R"("maximumDelayAt":"12.750000 s","systemStartUpTime":"20230101110000"})"));
}

TEST(TimehistDocumentTest, ADelayWithoutItsMomentIsLeftOut) {
    for (const auto column : {&TimehistRow::time, &TimehistRow::waitTime}) {
        TimehistRow row = kRow;
        row.*column = "nan";
        const Written written =
            Write([&row](EventWriter& events) { return WriteDelayRow(row, kBoot, events); });
        EXPECT_FALSE(written.good);
        EXPECT_EQ(written.text, DocumentOf(""));
    }
}

}  // namespace
}  // namespace zarn::test
