#include "kit/event_writer.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "tests/support/captured_streams.h"
#include "tests/support/temp_dir.h"

namespace zarn {
namespace {

// A document with one text.
void Write(const std::string& text, EventWriter& events) {
    events.Begin();
    events.Text("text", text);
    events.End();
}

TEST(EventWriterTest, WritesMembersAndValuesInTheOrderOfTheCalls) {
    EventWriter events;
    events.Begin();
    events.Text("eventId", "1\"2");
    events.Key("content");
    events.BeginArray();
    events.BeginObject();
    events.EndObject();
    events.BeginObject();
    events.Fixed("half", 0.5);
    events.Key("many");
    events.BeginArray();
    events.Integer(-1);
    events.Integer(4294967296);
    events.Number(1.5);
    events.Number(std::numeric_limits<double>::infinity());
    events.Text("t");
    events.Fixed(100.0 / 3);
    events.BeginArray();
    events.EndArray();
    events.EndArray();
    events.Text("a\tkey", "");
    events.EndObject();
    events.EndArray();
    events.End();
    EXPECT_EQ(
        events.Lines(),
        R"({"eventId":"1\"2","content":[{},{"half":"0.500000","many":[-1,4294967296,1.5,null,)"
        R"("t","33.333333",[]],"a\tkey":""}]})"
        "\n");
}

TEST(EventWriterTest, AnEventBeginsWithItsThreeMembers) {
    EventWriter events;
    events.BeginEvent("222\"", "2023", "soc_x");
    events.Integer(1);
    events.End();
    events.BeginEventList("1", "2", "3");
    events.Text("a");
    events.Text("b");
    events.EndEventList();
    EXPECT_EQ(events.Lines(),
              R"({"eventId":"222\"","happenTime":"2023","objectId":"soc_x","content":1})"
              "\n"
              R"({"eventId":"1","happenTime":"2","objectId":"3","content":["a","b"]})"
              "\n");
}

TEST(EventWriterTest, WhatIsDroppedIsNoDocument) {
    EventWriter events;
    Write("kept", events);
    events.Begin();
    events.Text("text", "torn");
    EXPECT_EQ(events.Lines(), "{\"text\":\"kept\"}\n");
    events.Drop();
    Write("next", events);
    EXPECT_EQ(events.Lines(), "{\"text\":\"kept\"}\n{\"text\":\"next\"}\n");
}

TEST(EventWriterTest, SavingAppendsAndForgets) {
    const test::TempDir directory;
    const std::string path = directory.Path() + "documents.data";
    const std::string huge(5U << 20U, 'x');
    EventWriter events;
    for (const std::string& text : {std::string("a"), huge, std::string("b")}) {
        Write(text, events);
        events.Save(path);
        EXPECT_EQ(events.Lines(), "");
    }
    EXPECT_EQ(directory.Read("documents.data"),
              "{\"text\":\"a\"}\n{\"text\":\"" + huge + "\"}\n{\"text\":\"b\"}\n");
}

TEST(EventWriterTest, SavingAnewReplacesAndForgets) {
    const test::TempDir directory;
    const std::string path = directory.Path() + "documents.data";
    EventWriter events;
    for (const char* text : {"a longer one", "b"}) {
        Write(text, events);
        events.SaveAnew(path);
        EXPECT_EQ(events.Lines(), "");
    }
    EXPECT_EQ(directory.Read("documents.data"), "{\"text\":\"b\"}\n");
}

TEST(EventWriterTest, AFileThatCannotBeOpenedIsSaidAndForgotten) {
    const test::TempDir directory;
    EventWriter events;
    Write("lost", events);
    const test::Captured captured =
        test::Capture([&] { events.Save(directory.Path() + "missing/file"); });
    const std::string words = "[zarn_utils] Cannot open outfile, check your filePath.\n";
    EXPECT_EQ(captured.err, words);
    EXPECT_EQ(captured.out, "");
    EXPECT_EQ(events.Lines(), "");
    Write("lost", events);
    EXPECT_EQ(test::Capture([&] { events.SaveAnew(directory.Path()); }).err, words);
    EXPECT_EQ(events.Lines(), "");
}

TEST(EventWriterTest, ALongDocumentReachesItsFileInPieces) {
    const test::TempDir dir;
    const std::string path = dir.Write("long.data", "before\n");
    const std::string text(1 << 20, 'x');
    EventWriter events;
    FileAppender file(path);
    events.Begin();
    events.Key("content");
    events.BeginArray();
    events.Text("a");
    events.HandOn(file);
    EXPECT_EQ(events.Buffer().GetSize(), std::string(R"({"content":["a")").size());
    events.Text(text);
    events.HandOn(file);
    EXPECT_EQ(events.Buffer().GetSize(), 0U);
    events.Text("b");
    events.EndArray();
    events.End();
    events.Save(file);
    EXPECT_EQ(dir.Read("long.data"), R"(before
{"content":["a",")" + text + "\",\"b\"]}\n");
    EXPECT_EQ(events.Lines(), "");
}

TEST(EventWriterTest, ALongDocumentWithoutAFileIsSaid) {
    const test::TempDir dir;
    EventWriter events;
    FileAppender file(dir.Path());
    Write(std::string(1 << 20, 'x'), events);
    const test::Captured captured = test::Capture([&] {
        events.HandOn(file);
        events.Save(file);
    });
    EXPECT_EQ(captured.err, "[zarn_utils] Cannot open outfile, check your filePath.\n");
}

}  // namespace
}  // namespace zarn
