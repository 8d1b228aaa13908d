#include "board/perf/perf_call.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zarn::board {
namespace {

using Words = std::vector<std::string>;

Words Texts(const PerfCall& call) {
    Words texts;
    for (const AskedEvent& event : call.events) {
        texts.push_back(event.text);
    }
    return texts;
}

TEST(StatCall, IsReadUpToTheCommand) {
    const PerfCall call = ParseStatCall({"-C", "1,3-4", "-x;", "-o", "file", "-I", "2000", "-e",
                                         "{r8},{r1b,r7007},r11:u", "-a", "sleep", "-e", "5"});
    EXPECT_EQ(call.problem, "");
    EXPECT_EQ(Texts(call), (Words{"r8", "r1b", "r7007", "r11:u"}));
    EXPECT_EQ(call.events[2].code, 0x7007U);
    EXPECT_EQ(call.events[3].code, 0x11U);
    EXPECT_EQ(call.groups, 3U);
    EXPECT_EQ(call.separator, ";");
    EXPECT_EQ(call.output, "file");
    EXPECT_EQ(call.intervalMs, 2000U);
    EXPECT_TRUE(call.allCores);
    EXPECT_EQ(call.cores, 0x1AU);
    EXPECT_EQ(call.command, (Words{"sleep", "-e", "5"}));
    EXPECT_TRUE(AsksRawEvents(call));
}

TEST(StatCall, TakesLongNamesAndProcesses) {
    const PerfCall call = ParseStatCall({"--event=r8", "--event", "r10", "--field-separator", ",",
                                         "--output=f", "--pid=12,7", "--all-cpus", "--", "-x"});
    EXPECT_EQ(call.problem, "");
    EXPECT_EQ(Texts(call), (Words{"r8", "r10"}));
    EXPECT_EQ(call.groups, 2U);
    EXPECT_EQ(call.separator, ",");
    EXPECT_EQ(call.output, "f");
    EXPECT_EQ(call.pids, (std::vector<std::uint32_t>{12, 7}));
    EXPECT_EQ(call.cores, std::nullopt);
    EXPECT_EQ(call.command, (Words{"-x"}));
}

TEST(StatCall, KnowsWhetherAllEventsAreRaw) {
    EXPECT_FALSE(AsksRawEvents(ParseStatCall({"-a", "sleep", "1"})));
    EXPECT_FALSE(AsksRawEvents(ParseStatCall({"-e", "r8,cycles", "-a"})));
    EXPECT_FALSE(AsksRawEvents(ParseStatCall({"-e", "rate", "-a"})));
    EXPECT_FALSE(AsksRawEvents(ParseStatCall({"-e", "r", "-a"})));
    EXPECT_TRUE(AsksRawEvents(ParseStatCall({"-e", "rfade", "-a"})));
}

TEST(StatCall, KnowsWhetherItAsksForATableOfTheBoards) {
    const std::string events = "task-clock,cycles,page-faults";
    EXPECT_TRUE(AsksBoardTable(ParseStatCall({"-a", "-e", events, "-e", "LLC-loads", "true"})));
    EXPECT_TRUE(AsksBoardTable(ParseStatCall({"-C", "0", "-e", "r11"})));
    EXPECT_TRUE(AsksBoardTable(ParseStatCall({"-p", "1", "-e", "cycles", "-o", "file"})));
    for (const Words& other : {
             Words{"-e", events, "true"},                     // the command's own
             Words{"-a", "-e", "task-clock,page-faults"},     // of software alone
             Words{"-a", "-e", "cycles:u"},                   // unknown
             Words{"-a", "-e", "cycles,msr/tsc/"},            // unknown
             Words{"-a", "true"},                             // perf's choice
             Words{"-a", "-x,", "-e", "cycles"},              // no table
             Words{"-a", "-I", "100", "-e", "cycles"},        // several
             Words{"-a", "-r", "3", "-e", "cycles", "true"},  // what the board does not know
             Words{"-a", "-e", events, "-p", "sleep", "1"},
         }) {
        EXPECT_FALSE(AsksBoardTable(ParseStatCall(other))) << testing::PrintToString(other);
    }
}

TEST(StatCall, ThatMeansNothingSaysWhy) {
    struct Bad {
        Words words;
        const char* problem;
    };
    for (const Bad& bad : {
             Bad{{}, "nothing to measure"},
             Bad{{"-e", "r8"}, "nothing to measure"},
             Bad{{"-e"}, "bad value of -e: "},
             Bad{{"-e", "{}", "-a"}, "bad value of -e: {}"},
             Bad{{"-I", "9", "-a"}, "bad value of -I: 9"},
             Bad{{"-I", "1s", "-a"}, "bad value of -I: 1s"},
             Bad{{"-C", "2-1"}, "bad value of -C: 2-1"},
             Bad{{"-C", "32"}, "bad value of -C: 32"},
             Bad{{"-C", ""}, "bad value of -C: "},
             Bad{{"-p", "1-3"}, "bad value of -p: 1-3"},
             Bad{{"-p", "x"}, "bad value of -p: x"},
             Bad{{"-r", "3", "true"}, "the board does not know -r"},
         }) {
        EXPECT_EQ(ParseStatCall(bad.words).problem, bad.problem);
    }
}

TEST(RecordCall, IsReadUpToTheCommand) {
    const PerfCall call =
        ParseRecordCall({"-p", "12", "-o", "file.data", "-g", "--", "sleep", "5"});
    EXPECT_EQ(call.problem, "");
    EXPECT_EQ(call.pids, (std::vector<std::uint32_t>{12}));
    EXPECT_EQ(call.output, "file.data");
    EXPECT_TRUE(call.callChains);
    EXPECT_TRUE(call.events.empty());
    EXPECT_EQ(call.command, (Words{"sleep", "5"}));
    EXPECT_EQ(ParseRecordCall({"-a", "-I", "2000"}).problem, "the board does not know -I");
}

TEST(RecordCall, HasCallChainsByFramePointersAlone) {
    const PerfCall call = ParseRecordCall({"-a", "--call-graph", "fp", "-p", "12", "-o", "f"});
    EXPECT_EQ(call.problem, "");
    EXPECT_TRUE(call.callChains);
    EXPECT_TRUE(call.allCores);
    EXPECT_EQ(call.pids, (std::vector<std::uint32_t>{12}));
    EXPECT_TRUE(ParseRecordCall({"--call-graph=fp", "true"}).callChains);
    EXPECT_FALSE(ParseRecordCall({"-a"}).callChains);
    EXPECT_EQ(ParseRecordCall({"-a", "--call-graph", "dwarf"}).problem,
              "bad value of --call-graph: dwarf");
}

TEST(RecordCall, HasAFrequency) {
    const PerfCall call = ParseRecordCall(
        {"-o", "f", "-F", "999", "-C", "0,2", "-a", "-g", "--", "sleep", "0.500000"});
    EXPECT_EQ(call.problem, "");
    EXPECT_EQ(call.frequency, 999U);
    EXPECT_EQ(call.cores, 5U);
    EXPECT_EQ(call.command, (Words{"sleep", "0.500000"}));
    EXPECT_EQ(ParseRecordCall({"-a", "--freq=100000"}).frequency, 100000U);
    EXPECT_EQ(ParseRecordCall({"-a"}).frequency, std::nullopt);
    for (const char* bad : {"0", "max", "100001", "-5", ""}) {
        EXPECT_EQ(ParseRecordCall({"-a", "-F", bad}).problem,
                  std::string("bad value of -F: ") + bad);
    }
}

}  // namespace
}  // namespace zarn::board
