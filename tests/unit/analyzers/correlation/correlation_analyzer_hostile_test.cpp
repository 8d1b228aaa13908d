#include <gmock/gmock.h>
#include <sys/resource.h>

#include <csignal>
#include <string>

#include "tests/support/amounts.h"
#include "tests/unit/analyzers/correlation/correlation_analyzer_fixture.h"

namespace zarn::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

// Raw files and documents of old trees that are torn, empty, huge or binary. None ends the process
// or costs more than its own columns.
class HostileCorrelationTest : public CorrelationTest {
protected:
    // The table that a DDR table gives, the other sources missing.
    std::string DdrTable(const std::string& text) {
        WriteDdr(text, DdrDocument({}));
        (void)Run();
        EXPECT_TRUE(result);
        return Table();
    }

    // The same of a history.
    std::string HistoryTable(const std::string& rows) {
        WriteGlobalHistory(rows, SchedDocument({"9.000000"}));
        (void)Run();
        EXPECT_TRUE(result);
        const std::string table = Table();
        return table.substr(table.find('\n') + 1);
    }

    // What is printed of a tree that has this DDR document.
    std::string WordsOf(const std::string& document) {
        WriteDdr("happen_time,total,\n'20230101120001000,7,\n", document);
        const Captured captured = Run();
        EXPECT_TRUE(result);
        EXPECT_EQ(Table(), "happen_time,ddr_total,\n'20230101120001000000,7,\n");
        return captured.err;
    }
};

constexpr const char* kRow = "'20230101120001000,7,8,\n";
constexpr const char* kJoined = "happen_time,ddr_a,ddr_b,\n'20230101120001000000,7,8,\n";

TEST_F(HostileCorrelationTest, TablesWithoutRows) {
    EXPECT_EQ(DdrTable(""), "happen_time,\n");
    EXPECT_EQ(DdrTable("\n"), "happen_time,\n");
    EXPECT_EQ(DdrTable("happen_time,a,b,\n"), "happen_time,ddr_a,ddr_b,\n");
    EXPECT_EQ(DdrTable("happen_time,a,b,"), "happen_time,ddr_a,ddr_b,\n");
    EXPECT_EQ(DdrTable("happen_time,a,b"), "happen_time,ddr_a,ddr_b,\n");
    EXPECT_EQ(DdrTable("happen_time"), "happen_time,\n");
}

TEST_F(HostileCorrelationTest, TablesOfOtherLineEnds) {
    EXPECT_EQ(DdrTable("happen_time,a,b,\r\n'20230101120001000,7,8,\r\n"), kJoined);
    EXPECT_EQ(DdrTable("happen_time,a,b,\n'20230101120001000,7,8,"), kJoined);
    EXPECT_EQ(DdrTable("happen_time,a,b,\n'20230101120001000,7,8"), kJoined);
    EXPECT_EQ(DdrTable(std::string("happen_time,a,b,\n\n\n") + kRow + "\n\n"), kJoined);
}

TEST_F(HostileCorrelationTest, RowsOfTooFewOrTooManyCells) {
    EXPECT_EQ(
        DdrTable("happen_time,a,b,\n'20230101120001000,7,\n'20230101120002000\n"
                 "'20230101120003000,7,8,9,10,\n'20230101120004000,,8,\n"),
        Lines({"happen_time,ddr_a,ddr_b,", "'20230101120001000000,7,,", "'20230101120002000000,,,",
               "'20230101120003000000,7,8,", "'20230101120004000000,,8,"}));
}

TEST_F(HostileCorrelationTest, StampsOfWrongLength) {
    EXPECT_EQ(DdrTable(std::string("happen_time,a,b,\n'2023,1,2,\n,1,2,\n'2023010112000100,1,2,\n"
                                   "'202301011200010000,1,2,\n20230101120001000,1,2,\n"
                                   "'20230101120001000000,1,2,\n") +
                       kRow),
              kJoined);
}

TEST_F(HostileCorrelationTest, RepeatedAndBackwardStamps) {
    EXPECT_EQ(DdrTable(std::string("happen_time,a,b,\n") + kRow +
                       "'20230101120001000,9,9,\n'20230101120000000,5,5,\n"
                       "'20230101120002000,3,4,\n"),
              Lines({"happen_time,ddr_a,ddr_b,", "'20230101120000000000,,,",
                     "'20230101120001000000,7,8,", "'20230101120002000000,3,4,"}));
}

TEST_F(HostileCorrelationTest, TablesThatAreBinary) {
    std::string bytes;
    for (int i = 0; i < 5000; ++i) {
        bytes.push_back(static_cast<char>(i * 37 % 251));
    }
    const std::string table = DdrTable("happen_time,a,b,\n" + bytes + "\n" + kRow + bytes);
    EXPECT_EQ(table, kJoined);
}

TEST_F(HostileCorrelationTest, LinesOf16MegabytesInATable) {
    const std::string huge(Amount(16U << 20U), '5');
    EXPECT_EQ(DdrTable("happen_time,a,b,\n" + huge + "\n" + kRow), kJoined);
    EXPECT_EQ(DdrTable("happen_time,a,b,\n'20230101120001000," + huge + ",8,\n"),
              "happen_time,ddr_a,ddr_b,\n'20230101120001000000," + huge + ",8,\n");
    EXPECT_EQ(DdrTable(huge + ",a,b,\n" + kRow), kJoined);
    const std::string commas(Amount(16U << 20U), ',');
    EXPECT_EQ(DdrTable("happen_time,a,b,\n'20230101120001000,7,8" + commas + "\n"), kJoined);
    EXPECT_EQ(DdrTable("happen_time" + commas + "\n").size(),
              std::string("happen_time,\n").size() + 5 * (commas.size() - 1));
}

TEST_F(HostileCorrelationTest, HistoriesWithoutRows) {
    for (const char* rows : {"", "\n\n\n", "torn", "   1.0000"}) {
        EXPECT_EQ(HistoryTable(rows), "") << rows;
    }
}

TEST_F(HostileCorrelationTest, HistoriesOfOtherLineEnds) {
    const std::string row = "1.000000 [0002] a[1] 0.1 0.2 0.3";
    const std::string joined = "'20230101120001000000,[0002],a[1],0.1,0.2,0.3,0,\n";
    EXPECT_EQ(HistoryTable(row + "\r\n"), joined);
    EXPECT_EQ(HistoryTable(row), joined);
}

TEST_F(HostileCorrelationTest, LinesOf16MegabytesInAHistory) {
    const std::size_t size = Amount(16U << 20U);
    const std::string huge(size, 'x');
    EXPECT_EQ(HistoryTable(huge + "\n" + huge + " " + huge + "\n" + std::string(size, '9') +
                           " [0002] a[1] 0.1 0.2 0.3\n" + HistoryRow("1.000000")),
              "'20230101120001000000,[0002],a[1],0.100,0.200,0.300,0,\n");
    EXPECT_EQ(HistoryTable("1.000000 [0002] " + huge + "[1] 0.1 0.2 0.3 " + huge + "\n"),
              "'20230101120001000000,[0002]," + huge + "[1],0.1,0.2,0.3,0,\n");
}

TEST_F(HostileCorrelationTest, DocumentsThatAreTornHugeOrDeep) {
    const std::string parse = "[CorrelationAnalyzer] Error occurs when parsing json:Parse error.\n";
    const std::string whole = DdrDocument({"20230101120001000"});
    for (const std::string& text :
         {whole.substr(0, whole.size() / 2), std::string(100, '\0'), whole + std::string(1, '\0'),
          std::string(Amount(16U << 20U), 'q'), std::string(Amount(1000000), '[')}) {
        if (text.find('\n') == std::string::npos) {
            EXPECT_THAT(WordsOf(text), HasSubstr(parse));
        }
    }
    const std::size_t depth = Amount(1000000);
    const std::string nested = std::string(depth, '[') + std::string(depth, ']');
    EXPECT_THAT(WordsOf(R"({"content":)" + nested + "}"),
                HasSubstr("parsing json:ddr json file lacks of required field.\n"));
    EXPECT_THAT(WordsOf(R"({"content":[{"mpam_name":"total","peak":[)" + nested + "]}]}"),
                HasSubstr("parsing json:ddr json file lacks of timeStamp.\n"));
    EXPECT_THAT(
        WordsOf(R"({"content":[{"mpam_name":")" + std::string(Amount(16U << 20U), 'a') + "\"}]}"),
        HasSubstr("parsing json:ddr json file lacks of required field.\n"));
}

// Lets files of this process grow to so many bytes, as on a disk that is full then.
class FileLimit {
public:
    explicit FileLimit(rlim_t bytes) : before_(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &limit_);
        const rlimit limit = {bytes, limit_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    FileLimit(const FileLimit&) = delete;
    FileLimit& operator=(const FileLimit&) = delete;
    ~FileLimit() {
        ::setrlimit(RLIMIT_FSIZE, &limit_);
        std::signal(SIGXFSZ, before_);
    }

private:
    void (*before_)(int);
    rlimit limit_{};
};

// At each save in turn: the last whole table stays.
TEST_F(HostileCorrelationTest, ADiskThatIsFullAtOneSave) {
    const std::string wide(5000, 'w');  // so that the limits lie above what is printed
    WriteDdr("happen_time," + wide + ",\n'20230101120001000,7,\n", DdrDocument({}));
    WriteGlobalHistory(HistoryRow("1.000000"), SchedDocument({"9.000000"}));
    (void)Run();
    const std::string whole = Table();
    const std::string moments = "happen_time,\n'20230101120001000000,\n";
    const std::string withDdr = "happen_time,ddr_" + wide + ",\n'20230101120001000000,7,\n";
    const auto limited = [this](std::size_t bytes) {
        tree.Remove(kTable);
        const Captured captured = Capture([&] {
            const FileLimit limit(bytes);
            RunUncaptured(Section("global", "7"));
        });
        EXPECT_FALSE(tree.Has(kTable + ".tmp"));
        return captured.err;
    };
    EXPECT_THAT(limited(whole.size() - 1),
                EndsWith("\n[CorrelationAnalyzer] Failed to save sched data.\n"));
    EXPECT_TRUE(result);
    EXPECT_EQ(Table(), withDdr);
    EXPECT_THAT(limited(withDdr.size() - 1),
                HasSubstr("\n[CorrelationAnalyzer] Failed to save ddr data.\n"));
    EXPECT_TRUE(result);
    (void)limited(moments.size() - 1);
    EXPECT_FALSE(result);
    EXPECT_EQ(Table(), "");
}

}  // namespace
}  // namespace zarn::test
