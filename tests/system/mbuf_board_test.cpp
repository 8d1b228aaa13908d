#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "foundation/command_runner.h"
#include "foundation/json.h"
#include "tests/support/manager_texts.h"
#include "tests/support/temp_dir.h"
#include "tests/system/support/examples.h"
#include "tests/system/support/program_lock.h"
#include "tests/system/support/programs.h"

// Collections of held buffers on the virtual board, whose pools are known: what a document lists
// must be what timed out between its two queries.
namespace zarn::test {
namespace {

using testing::HasSubstr;

// The scenario's owners, told a second time.
const std::map<std::string, std::string> kGroups = {{"camera", "default_dm,camera,"},
                                                    {"planner", "default_dm,camera,planner,"},
                                                    {"recorder", "default_dm,"}};
constexpr std::uint64_t kStuckEveryUs = 500000;  // the planner's: 40 a second, one of twenty
constexpr std::uint64_t kLimitUs = 10000;
constexpr std::uint64_t kLookUs = 5000;

// A buffer as the document or the board tells of it.
struct Buffer {
    std::uint64_t takenUs = 0;
    std::uint64_t foundUs = 0;
    std::uint64_t pid = 0;
    std::string holder;
    std::string pool;
};

bool operator==(const Buffer& a, const Buffer& b) {
    return a.takenUs == b.takenUs && a.foundUs == b.foundUs && a.pid == b.pid &&
           a.holder == b.holder && a.pool == b.pool;
}

std::ostream& operator<<(std::ostream& out, const Buffer& buffer) {
    return out << buffer.takenUs << " " << buffer.foundUs << " " << buffer.pid << " "
               << buffer.holder << " " << buffer.pool;
}

using Buffers = std::map<std::string, Buffer>;  // by address and moment

std::vector<std::string> Lines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string Config(const std::string& section) {
    ConfigText config;
    config.serial = R"(["MbufCollector"])";
    return config.Text({{"MbufCollector", section}});
}

// What the board says it had recorded at the moments it was asked about, one after the other.
std::vector<Buffers> Truth(const std::string& text) {
    std::vector<Buffers> moments;
    for (const std::string& line : Lines(text)) {
        if (line.rfind("time: ", 0) == 0) {
            moments.emplace_back();
        } else if (line.rfind("0x", 0) == 0 && !moments.empty()) {
            std::istringstream words(line);
            std::string address;
            Buffer buffer;
            words >> address >> buffer.takenUs >> buffer.foundUs >> buffer.pid >> buffer.holder >>
                buffer.pool;
            moments.back()[address + " " + std::to_string(buffer.takenUs)] = buffer;
        }
    }
    return moments;
}

class MbufOnBoard : public testing::Test {
protected:
    void SetUp() override {
        if (ProgramStart().size() > 1 || !std::filesystem::exists(ProgramPath("zarn-board"))) {
            GTEST_SKIP() << "the board needs programs of this machine's processor";
        }
    }

    // Runs the program and asks the board what it had recorded at the last two queries.
    void Run(const std::string& scenario, const std::string& config,
             const std::string& program = "zarn", const std::string& options = "") {
        directory_.Write("usr/config.json", config);
        directory_.Write("go", program +
                                   " /opt/usr/config.json >out 2>err\n"
                                   "zarn-board-server buffers $VIRTUAL_BOARD_STATE >setting\n"
                                   "zarn-board-server buffers $VIRTUAL_BOARD_STATE "
                                   "$(sed -n 's/.*asked at \\(.*\\) us/\\1/p' setting) >truth\n");
        std::filesystem::remove_all(directory_.Path() + "usr/mnt");
        const int status = SystemCommandRunner().Run(
            "cd '" + directory_.Path() + "' && mkdir -p tmp && export TMPDIR=$PWD/tmp && " +
            BoardLauncher() + " --scenario " + scenario + " " + options +
            " --opt-usr usr -- sh ./go");
        ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
        for (const auto& entry :
             std::filesystem::directory_iterator(directory_.Path() + "usr/mnt/zarn")) {
            tree_ = "usr/mnt/zarn/" + entry.path().filename().string() + "/";
        }
    }

    // The lines of the collector itself.
    [[nodiscard]] std::string Errors() const {
        std::string errors;
        for (const std::string& line : Lines(directory_.Read("err"))) {
            if (line.rfind("[MbufCollector]", 0) == 0) {
                errors += line + "\n";
            }
        }
        return errors;
    }

    [[nodiscard]] std::size_t FileCount(const std::string& folder) const {
        std::size_t count = 0;
        for (const auto& entry :
             std::filesystem::directory_iterator(directory_.Path() + tree_ + folder)) {
            count += entry.path().filename().string().rfind("soc_mbuffer", 0) == 0 ? 1U : 0U;
        }
        return count;
    }

    ProgramLock lock_;
    TempDir directory_;
    std::string tree_;
};

TEST_F(MbufOnBoard, TheDocumentListsWhatTimedOutBetweenItsQueries) {
    Run("stuck_buffers", ExampleText("mbuf_collect.json"));
    EXPECT_EQ(Errors(), "");
    EXPECT_EQ(FileCount("raw_data/mbuf"), 2U);
    const std::vector<Buffers> truth = Truth(directory_.Read("truth"));
    ASSERT_EQ(truth.size(), 2U);
    Buffers expected = truth[1];
    for (const auto& [id, buffer] : truth[0]) {
        EXPECT_EQ(expected.erase(id), 1U) << "a held buffer keeps its record";
    }

    JsonDocument document;
    ASSERT_TRUE(ParseJson(
        directory_.Read(tree_ + "json/" + directory_.OnlyFile(tree_ + "json", "soc_mbuffer")),
        document));
    Buffers listed;
    std::size_t stuck = 0;
    for (const JsonValue& entry : document["content"].GetArray()) {
        const std::string id = entry["id"].GetString();
        const std::string holder = entry["useName"].GetString();
        const std::uint64_t takenUs = std::stoull(id.substr(id.find(' ')));
        const std::uint64_t useTime = entry["useTime"].GetUint64();
        listed[id] = {takenUs, takenUs + useTime, entry["use"].GetUint64(), holder,
                      entry["pool"].GetString()};
        EXPECT_GE(useTime, kLimitUs);
        EXPECT_LT(useTime, kLimitUs + kLookUs);
        EXPECT_EQ(entry["group"].GetString(), kGroups.at(holder));
        EXPECT_EQ(entry["allocName"].GetString(), holder == "planner" ? "camera" : holder);
        EXPECT_EQ(entry["blockSize"].GetUint(), 16384U);
        EXPECT_EQ(entry["blockNum"].GetUint(), 512U);
        EXPECT_NE(holder, "camera") << "who gives all back in time";
        stuck += holder == "planner" ? 1U : 0U;
    }
    EXPECT_EQ(document["content"].Size(), listed.size());
    EXPECT_EQ(listed, expected);

    // In each half second the planner keeps one; the queries are five seconds or more apart.
    const std::string setting = directory_.Read("setting");
    std::istringstream asked(setting.substr(setting.find("asked at ") + 9));
    std::uint64_t first = 0;
    std::uint64_t second = 0;
    asked >> first >> second;
    EXPECT_GE(second - first, 5000000U);
    EXPECT_GE(stuck + 2, (second - first) / kStuckEveryUs);
    EXPECT_LE(stuck, (second - first) / kStuckEveryUs + 2);
}

// The interrupt comes behind the first log: both queries fall into one moment then.
TEST_F(MbufOnBoard, AnInterruptEndsTheCycleAtOnceAndFailsTheNext) {
    directory_.Write("interrupt",
                     "env --default-signal=INT zarn \"$1\" & zarn=$!\n"
                     "set -- none\n"
                     "while [ ! -e \"$1\" ] && kill -0 $zarn; do\n"
                     "    set -- /opt/usr/mnt/zarn/*/raw_data/mbuf/*.log\n"
                     "done\n"
                     "kill -INT $zarn\n"
                     "wait $zarn\n");
    Run("stuck_buffers", Config(R"({"count": 2, "interval": 1})"), "sh ./interrupt");
    EXPECT_EQ(Errors(),
              "[MbufCollector] The process is interrupted!\n"
              "[MbufCollector] Failed to process mbuf info!\n");
    EXPECT_EQ(FileCount("raw_data/mbuf"), 2U);
    EXPECT_EQ(FileCount("json"), 1U);
}

TEST_F(MbufOnBoard, HealthyProgramsLeaveNoDocument) {
    Run("memory_steady", Config(R"({"count": 3, "interval": 0})"));
    EXPECT_EQ(Errors(), "");
    const std::string cycle =
        "[MbufCollector] Timeout mbuffer size is 0.\n"
        "[MbufCollector] Mbuffer resources are released in time!\n";
    EXPECT_THAT(directory_.Read("out"), HasSubstr(cycle + cycle + cycle));
    EXPECT_EQ(FileCount("raw_data/mbuf"), 3U);
    EXPECT_EQ(FileCount("json"), 0U);
    EXPECT_THAT(directory_.Read(tree_ + "env_info/time_cost.log"), HasSubstr("[MbufCollector]"));
}

// The calls of a cycle on a board without held buffers, each of which fails in a run of its own,
// and an answer of another size than it has.
TEST_F(MbufOnBoard, EachCallOfTheLibrariesFailsInTurn) {
    const std::string failed = "[MbufCollector] Failed to process mbuf info!\n";
    const std::string interrupted = "[MbufCollector] The process is interrupted!\n";
    const std::pair<const char*, std::string> walk[] = {
        {R"("skip": 0, "times": 1, "code": 9)",
         "[MbufCollector] Register rm resource failed!\n" + failed},
        {R"("skip": 1, "times": 1, "code": 9)",
         "[MbufCollector] Failed to configure the mbuf timeout to disable, ret:9\n" + interrupted +
             failed},
        {R"("skip": 2, "times": 1, "code": 9)",
         "[MbufCollector] Failed to configure the mbuf timeout to enable, ret:9\n" + interrupted +
             failed},
        {R"("skip": 3, "times": 1, "code": 9)",
         "[MbufCollector] Failed to get mbuffer information!\n"
         "[MbufCollector] Failed to get timeout mbuf info for the first time!\n"},
        {R"("skip": 4, "times": 1, "code": 9)", ""},
    };
    for (const auto& [rule, errors] : walk) {
        directory_.Write("faults", std::string(R"({"faults": [{"call": "*", )") + rule + "}]}");
        Run("idle", Config(R"({"count": 1, "interval": 0})"), "zarn", "--faults faults");
        EXPECT_EQ(Errors(), errors) << rule;
    }
    directory_.Write("faults", R"({"faults": [{"call": "kesBuffGetInfo", "size": 223}]})");
    Run("idle", Config(R"({"count": 1, "interval": 0})"), "zarn", "--faults faults");
    EXPECT_EQ(Errors(), "");
    EXPECT_THAT(directory_.Read("out"), HasSubstr("released in time!\n"));
}

}  // namespace
}  // namespace zarn::test
