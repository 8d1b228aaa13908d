#include <gmock/gmock.h>

#include <filesystem>

#include "tests/support/manager_texts.h"
#include "tests/system/support/sandbox.h"

// Configurations that nobody should write, and disks that are full.
namespace zarn::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* kFinished = "[Main] Collection jobs finished.\n";
// A tenth of it under the sanitizers, which take ten times as long.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr std::size_t kDeep = 1'000'000;
constexpr std::size_t kLarge = 20'000'000;
#else
constexpr std::size_t kDeep = 10'000'000;
constexpr std::size_t kLarge = 200'000'000;
#endif

std::string Repeat(const std::string& text, std::size_t times) {
    std::string all;
    all.reserve(text.size() * times);
    for (std::size_t i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

class HostileConfigTest : public testing::Test {
protected:
    void ExpectNotParsed(const std::string& config) {
        const RunResult run = sandbox.Run(config);
        EXPECT_TRUE(run.Succeeded()) << run.waitStatus;
        EXPECT_EQ(run.out, kFinished);
        EXPECT_EQ(run.err,
                  "[ZarnManager] Exception occurs while parsing json file.\n"
                  "[ZarnManager] Failed to load json config file!\n");
        EXPECT_THAT(sandbox.RunNames(), IsEmpty());
    }

    void ExpectAccepted(const std::string& config) {
        const RunResult run = sandbox.Run(config);
        EXPECT_TRUE(run.Succeeded()) << run.waitStatus;
        EXPECT_THAT(run.err, StartsWith(CreationLines(sandbox.RunDirInside())));
        EXPECT_THAT(run.out, EndsWith(kFinished));
        EXPECT_EQ(std::filesystem::file_size(sandbox.RunDir() + "env_info/zarn_config.json"),
                  config.size());
    }

    // The JSON library's own assertion ended the process.
    void ExpectAborted(const std::string& config) {
        const RunResult run = sandbox.Run(config);
        EXPECT_TRUE(run.Aborted()) << run.waitStatus << run.out << run.err;
        EXPECT_THAT(run.err, HasSubstr("JSON assertion"));
        EXPECT_EQ(run.out.find(kFinished), std::string::npos);
    }

    // A good configuration with `value` under a key that nobody reads.
    [[nodiscard]] static std::string With(const std::string& value) {
        const std::string good = ConfigText().Text();
        return good.substr(0, good.size() - 1) + ", \"Other\": " + value + "}";
    }

    Sandbox sandbox;
};

TEST_F(HostileConfigTest, EmptyTornAndBinaryTextsAreNotParsed) {
    const std::string good = ConfigText().Text();
    ExpectNotParsed("");
    ExpectNotParsed("{");
    ExpectNotParsed("{\"ManagerParam\": {}; }");
    ExpectNotParsed(good.substr(0, good.size() / 2));
    ExpectNotParsed(good + std::string(1, '\0'));
    ExpectNotParsed(std::string(1000, '\0'));
    ExpectNotParsed(std::string("\xff\xfe{\0}\0", 6));
}

TEST_F(HostileConfigTest, NestingWithoutEndIsNotParsed) {
    ExpectNotParsed(std::string(kDeep, '['));
    ExpectNotParsed(Repeat("{\"a\":", kDeep));
    ExpectNotParsed(std::string(kDeep, '[') + std::string(kDeep - 1, ']'));
}

TEST_F(HostileConfigTest, DeepNestingIsAsGoodAsAny) {
    ExpectAccepted(With(std::string(kDeep, '[') + std::string(kDeep, ']')));
    ExpectAccepted(With(Repeat("{\"a\":", kDeep) + "1" + std::string(kDeep, '}')));
}

TEST_F(HostileConfigTest, SizeIsNoFault) {
    ExpectAccepted(With("\"" + std::string(kLarge, 'x') + "\""));
}

TEST_F(HostileConfigTest, LargeTextThatIsNoJsonIsNotParsed) {
    ExpectNotParsed(With("\"" + std::string(kLarge, 'x')));
}

TEST_F(HostileConfigTest, AssertionsOfTheJsonLibraryAreLive) {
    ExpectAborted("[]");
    ExpectAborted("1");
    ExpectAborted("\"ManagerParam\"");
    ExpectAborted(R"({"ManagerParam": []})");
    ExpectAborted(R"({"ManagerParam": 1})");
    EXPECT_THAT(sandbox.RunNames(), IsEmpty());
}

TEST_F(HostileConfigTest, DeepNestingInPlaceOfTheRootEndsTheProcessByTheAssertion) {
    ExpectAborted(std::string(kDeep, '[') + std::string(kDeep, ']'));
}

// ---- A full disk

TEST_F(HostileConfigTest, ACopyThatFindsNoSpaceEndsTheProcess) {
    if (!sandbox.LimitSpace(100 * 1024)) {
        GTEST_SKIP() << Sandbox::kNeedsRoot;
    }
    const std::string config = With("\"" + std::string(60'000, 'x') + "\"");
    const RunResult run = sandbox.Run(config);
    EXPECT_TRUE(run.Aborted()) << run.waitStatus;
    EXPECT_THAT(run.err, StartsWith(CreationLines(sandbox.RunDirInside())));
    EXPECT_THAT(run.err, HasSubstr("filesystem error: cannot copy"));
    EXPECT_EQ(ReadText(sandbox.UsrDir() + "config.json"), config);
}

TEST_F(HostileConfigTest, WithoutSpaceForTheTreeTheRunEndsInOrder) {
    if (!sandbox.LimitSpace(100 * 1024, 4)) {
        GTEST_SKIP() << Sandbox::kNeedsRoot;
    }
    const RunResult run = sandbox.Run(ConfigText().Text());
    EXPECT_TRUE(run.Succeeded());
    EXPECT_THAT(run.err,
                StartsWith("[zarn_utils] Failed to create directory : /opt/usr/mnt/zarn/"));
    EXPECT_THAT(run.err, HasSubstr(", error code:"));
    EXPECT_THAT(run.err, EndsWith("\n[ZarnManager] Output directory not exist!\n"
                                  "[ZarnManager] Failed to handle public affairs!\n"));
    EXPECT_THAT(run.out, EndsWith(kFinished));
}

}  // namespace
}  // namespace zarn::test
