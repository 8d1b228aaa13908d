#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>

#include "tests/unit/collectors/device/aicpu/aicpu_collector_fixture.h"

namespace zarn::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kConfigFailed = "[AicpuCollector] Check aicpu collector config failed!\n";
constexpr const char* kNoInfo = "[AicpuCollector] Get process info failed.\n";
constexpr const char* kFailed = "[AicpuCollector] Failed to process aicpu info!\n";
constexpr int kFailure = 1 << 8;  // wait status of exit status 1

std::string FailedLine(const std::string& line) {
    return "[AicpuCollector] Failed to run command: " + line + "\n";
}

class AicpuCollectorFailureTest : public AicpuCollectorTest {
protected:
    // Lines that begin with `head` and hold `text` are not run, but give that status.
    void GiveUpOn(const std::string& head, const std::string& text, int status = kFailure) {
        shell.instead = [head, text, status](const std::string& command) {
            const bool isMeant =
                command.rfind(head, 0) == 0 && command.find(text) != std::string::npos;
            return isMeant ? status : -2;
        };
    }

    // Nothing but merged files is left of the copies.
    void ExpectNoCopies() const {
        for (const std::string& name : RawNames()) {
            EXPECT_THAT(name, testing::AnyOf(HasSubstr("aicpu_device_"),
                                             HasSubstr("aicpu_event_perception_"),
                                             HasSubstr("aicpu_process_perception_")));
        }
    }
};

TEST_F(AicpuCollectorFailureTest, ADirectoryThatCannotBeMade) {
    dir.Write("raw_data", "a file");
    EXPECT_THAT(RunEvent().err,
                EndsWith("[AicpuCollector] Failed to create aicpu collector directory!\n"));
    EXPECT_FALSE(result);
}

TEST_F(AicpuCollectorFailureTest, WithoutATimeThereIsNoCollection) {
    host.failingTick = 0;
    EXPECT_EQ(RunEvent().err, "[AicpuCollector] Get collect time failed.\n");
    EXPECT_FALSE(result);
    EXPECT_TRUE(shell.commands.empty());
}

TEST_F(AicpuCollectorFailureTest, ACoreSetThatIsNone) {
    const std::pair<const char*, const char*> rows[] = {
        {"-3", "[AicpuCollector] Unexpected format found in AICPU configuration file.\n"},
        {"3-", "[AicpuCollector] Unexpected format found in AICPU configuration file.\n"},
        {"x", "[AicpuCollector] AICPU configuration doesn't contain an integer. stoi\n"},
        {"1-9999999999", "[AicpuCollector] AICPU configuration out of int32 range. stoi\n"},
        {"3-1", "[AicpuCollector] Illegal range: [3, 1].\n"},
    };
    for (const auto& [text, words] : rows) {
        SetCoreSet(text);
        EXPECT_EQ(RunEvent().err,
                  std::string(words) +
                      "[AicpuCollector] Record param cid check failed, cannot state demin/demax\n" +
                      kConfigFailed);
        EXPECT_FALSE(result);
    }
    EXPECT_EQ(Attribute("pid"), "untouched");
}

TEST_F(AicpuCollectorFailureTest, ACoreSetWhoseCopyCannotBeRead) {
    GiveUpOn("cat ", "cpuset.cpus");
    EXPECT_EQ(RunEvent().err,
              std::string("[AicpuCollector] Cannot find AICPU configuration file.\n") +
                  "[AicpuCollector] Record param cid check failed, cannot state demin/demax\n" +
                  kConfigFailed);
    EXPECT_FALSE(result);
}

TEST_F(AicpuCollectorFailureTest, ACoreOutsideTheSet) {
    for (const char* core : {"0", "4", "4294967295"}) {
        EXPECT_EQ(Run("", R"("planning","perception")", std::string("3,") + core).err,
                  "[AicpuCollector] Illegal cid: " + std::string(core) + "\n" + kConfigFailed);
        EXPECT_FALSE(result);
    }
}

TEST_F(AicpuCollectorFailureTest, AProcListThatCannotBeRead) {
    GiveUpOn("cat ", "proc_list_tmp");
    const std::string words = RunEvent().err;
    EXPECT_THAT(words, HasSubstr("open file failed.\n"));
    EXPECT_THAT(words, EndsWith(std::string("[AicpuCollector] Failed to find AICPU proc_list "
                                            "file.\n") +
                                kNoInfo));
    EXPECT_FALSE(result);
    EXPECT_EQ(Attribute("pid"), "untouched");
}

TEST_F(AicpuCollectorFailureTest, AMissingProcListNamesNoProcess) {
    RemoveAttribute("proc_list");
    EXPECT_THAT(RunEvent().err, HasSubstr("[AicpuCollector] aicpu_process: perception is invalid"));
    EXPECT_TRUE(result);
}

TEST_F(AicpuCollectorFailureTest, APidBeyond32Bits) {
    SetAttribute("proc_list", "99999999999,perception,3,2,1\n");
    EXPECT_EQ(RunEvent().err,
              std::string("[AicpuCollector] AICPU proc_list file is invalid. stoul\n") + kNoInfo);
    EXPECT_FALSE(result);
    EXPECT_EQ(Attribute("pid"), "untouched");
}

TEST_F(AicpuCollectorFailureTest, NamesThatAreNoExpressionOrARuinousOne) {
    SetAttribute("proc_list", "1201," + std::string(3000, 'a') + "!,3,2,1\n");
    for (const char* name : {"[", "*", "(a+)+"}) {
        host.ticks = 0;
        EXPECT_THAT(Run("", "\"" + std::string(name) + "\"", "1").err,
                    HasSubstr("[AicpuCollector] aicpu_process: " + std::string(name) +
                              " is invalid, please confirm"));
        EXPECT_TRUE(result);
        EXPECT_THAT(Record(), HasSubstr(R"("valid":false)"));
        ExpectCleared();
        std::filesystem::remove_all(dir.Path() + "json");
        std::filesystem::create_directories(dir.Path() + "json");
    }
}

// It ends the shell's words, so that its sections cannot be written; its copies go all the same.
TEST_F(AicpuCollectorFailureTest, ANameThatTheShellDoesNotTake) {
    EXPECT_THAT(Run("", "\"(perception)\"", "1").err, HasSubstr(FailedLine("").substr(0, 40)));
    EXPECT_TRUE(result);
    ExpectNoCopies();
    ExpectCleared();
}

TEST_F(AicpuCollectorFailureTest, AThreadInfoThatCannotBeRead) {
    GiveUpOn("cat ", "cpu_thread_info_tmp");
    const std::string words = RunEvent().err;
    EXPECT_THAT(words, HasSubstr("open file failed.\n"));
    EXPECT_THAT(words, EndsWith(std::string("[AicpuCollector] Failed to find AICPU "
                                            "cpu_thread_info file.\n") +
                                kNoInfo));
    EXPECT_FALSE(result);
    ExpectCleared();
}

TEST_F(AicpuCollectorFailureTest, AGroupBeyond32Bits) {
    SetAttribute("cpu_thread_info", "1,1201,99999999999,perception_0\n");
    EXPECT_EQ(RunEvent().err,
              std::string("[AicpuCollector] AICPU proc_list cpu_thread_info is invalid. stoul\n") +
                  kNoInfo);
    EXPECT_FALSE(result);
    ExpectCleared();
}

// The first three commands of the line are done when the last one fails.
TEST_F(AicpuCollectorFailureTest, ASelectionThatFailsHalfWayIsCleared) {
    RemoveAttribute("proc_gid");
    std::filesystem::create_directory(Node() + "proc_gid");
    const std::string select = "echo 0 > " + Node() + "node_id && echo 1201 > " + Node() +
                               "pid && echo 1 > " + Node() + "cpuid_in_node && echo 0 > " + Node() +
                               "proc_gid";
    const std::string errors = RunEvent().err;
    EXPECT_THAT(errors, HasSubstr(FailedLine(select)));
    EXPECT_THAT(errors, HasSubstr(FailedLine(ClearCommand())));
    EXPECT_THAT(errors, EndsWith(kNoInfo));
    EXPECT_FALSE(result);
    for (const char* file : {"node_id", "pid", "cpuid_in_node"}) {
        EXPECT_EQ(Attribute(file), "0\n") << file;
    }
}

TEST_F(AicpuCollectorFailureTest, ASelectionThatFailsBeforeThePassesEndsTheCollection) {
    GiveUpOn("echo 0 >", "echo 31 >");
    const std::string errors = RunEvent().err;
    EXPECT_THAT(errors,
                EndsWith(std::string("[AicpuCollector] Set record param failed.\n") + kFailed));
    EXPECT_FALSE(result);
    ExpectCleared();
    ExpectNoCopies();
}

TEST_F(AicpuCollectorFailureTest, AClearingThatAnInterruptEndsIsDoneAgain) {
    int killed = 0;
    shell.instead = [this, &killed](const std::string& command) {
        return command == ClearCommand() && killed++ == 0 ? SIGINT : -2;
    };
    EXPECT_EQ(RunEvent().err, "");
    EXPECT_TRUE(result);
    ExpectCleared();
    killed = 0;
    shell.instead = [this](const std::string& command) {
        return command == ClearCommand() ? SIGINT : -2;
    };
    EXPECT_EQ(RunEvent().err, FailedLine(ClearCommand()) + FailedLine(ClearCommand()));
}

TEST_F(AicpuCollectorFailureTest, ATimeThatFailsEndsThePassesOfTheProcess) {
    host.failingTick = 2;
    EXPECT_EQ(RunEvent(3).err, "[AicpuCollector] Get collect time failed.\n");
    EXPECT_TRUE(result);
    EXPECT_THAT(Record(), HasSubstr(R"("collect_time":["20230101120000001"]})"));
    EXPECT_THAT(RawText("aicpu_event_perception"), HasSubstr("@zarn-new:\nevent_trace\n"));
    ExpectCleared();
    ExpectNoCopies();
}

TEST_F(AicpuCollectorFailureTest, AnAttributeThatVanishesInAPassIsToldAndThePassesGoOn) {
    host.duringSleep = [this] {
        if (host.sleeps.size() == 1) {
            RemoveAttribute("event_trace");
        } else {
            SetAttribute("event_trace", "back\n");
        }
    };
    const std::string errors = RunEvent(3).err;
    EXPECT_THAT(errors, HasSubstr("[AicpuCollector] Failed to run command: cat " + Node() +
                                  "event_trace >> "));
    EXPECT_TRUE(result);
    EXPECT_THAT(RawText("aicpu_event_perception"),
                HasSubstr("\nevent_trace START\n\n@zarn-new:\nevent_trace\n\n@zarn-new:\n"
                          "\n@zarn-new:\nback\nevent_trace END\n\n"));
    ExpectCleared();
}

TEST_F(AicpuCollectorFailureTest, AnAttributeOfOneLineOfMegabytesIsCopied) {
    const std::string line(std::size_t{16} << 20, 'x');
    SetAttribute("event_trace", line);
    EXPECT_EQ(RunEvent(2).err, "");
    const std::string pass = "\n@zarn-new:\n" + line;
    const std::string text = RawText("aicpu_event_perception");
    EXPECT_EQ(text.find("\nevent_trace START\n" + pass + pass + "event_trace END\n\n\nnode_event_"),
              0U);
}

TEST_F(AicpuCollectorFailureTest, AMissingAttributeOfTheDevice) {
    RemoveAttribute("cpu_list");
    const std::string errors = RunEvent().err;
    EXPECT_THAT(errors, HasSubstr("[AicpuCollector] Failed to run command: cat " + Node() +
                                  "node_list >> "));
    EXPECT_TRUE(result);
    ExpectNoCopies();
    EXPECT_THAT(RawText("aicpu_device"), HasSubstr("node_list END\n"));
}

TEST_F(AicpuCollectorFailureTest, CopiesGoEvenIfTheirMergeFailsOnAFullDisk) {
    std::filesystem::create_directories(RawDir());
    std::filesystem::create_symlink("/dev/full", Raw("aicpu_event_perception"));
    const std::string errors = Run(R"("event")", R"("perception","planning")", "1,3").err;
    EXPECT_THAT(errors,
                HasSubstr("[AicpuCollector] Failed to run command: echo '\nevent_trace START'"
                          " >> " +
                          Raw("aicpu_event_perception") + " && cat "));
    EXPECT_TRUE(result);
    EXPECT_THAT(RawText("aicpu_event_planning"),
                HasSubstr("\nevent_trace START\n\n@zarn-new:\nevent_trace\nevent_trace END\n"));
    EXPECT_EQ(RawNames().size(), 5U) << "no copies";
    ExpectCleared();
}

// It sets the flag and ends the shell at each line in turn.
TEST_F(AicpuCollectorFailureTest, AnInterruptInAnyStepLeavesTheSelectionCleared) {
    EXPECT_EQ(RunEvent(2).err, "");
    const std::size_t lines = shell.commands.size();
    const std::string usual = Record();
    for (std::size_t step = 1; step <= lines; ++step) {
        std::filesystem::remove_all(dir.Path() + "raw_data");
        std::filesystem::remove_all(dir.Path() + "json");
        std::filesystem::create_directories(dir.Path() + "json");
        for (const char* file : {"node_id", "pid", "cpuid_in_node", "proc_gid"}) {
            SetAttribute(file, "0\n");
        }
        host.ticks = 0;
        stopFlag = 0;
        shell.commands.clear();
        shell.instead = [this, step](const std::string&) {
            const bool now = shell.commands.size() == step;
            stopFlag = now ? 1 : stopFlag.load();
            return now ? SIGINT : -2;
        };
        (void)RunEvent(2);
        ExpectCleared();
        if (step > 1) {  // the first one copies the core set
            EXPECT_THAT(RawNames(), Not(testing::Contains(HasSubstr("_tmp")))) << step;
        }
        EXPECT_LE(shell.commands.size(), lines + 1) << step;
    }
    EXPECT_FALSE(usual.empty());
}

}  // namespace
}  // namespace zarn::test
