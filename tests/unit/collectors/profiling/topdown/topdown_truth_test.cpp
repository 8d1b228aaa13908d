#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <string_view>

#include "collectors/profiling/topdown/topdown_analysis.h"
#include "collectors/profiling/topdown/topdown_document.h"
#include "collectors/profiling/topdown/topdown_events.h"
#include "foundation/command_runner.h"
#include "foundation/json.h"
#include "kit/event_writer.h"
#include "tests/support/captured_streams.h"
#include "tests/support/temp_dir.h"

// The metrics of random counters against metric_truth.py, which tells the formulas a second time.
// A sample, or as many as are promised with ZARN_WALK=all.
namespace zarn::test {
namespace {

constexpr int kAllSets = 100000;
constexpr int kSampledSets = 3000;

bool IsWhole() {
    const char* walk = std::getenv("ZARN_WALK");
    return walk != nullptr && std::string_view(walk) == "all";
}

std::mt19937_64 SeededRandom() {
    const char* chosen = std::getenv("ZARN_WALK_SEED");
    const auto seed =
        chosen != nullptr ? static_cast<unsigned>(std::stoul(chosen)) : std::random_device()();
    std::printf("ZARN_WALK_SEED=%u\n", seed);
    return std::mt19937_64(seed);
}

// A count of a kind: none, one like that of the others, a huge one, one of any size.
float RandomCount(std::mt19937_64& random, float scale) {
    const auto uniform = [&random] { return static_cast<float>(random() % 1000003U) / 1000003.0F; };
    switch (random() % 16) {
        case 0:
            return 0.0F;
        case 1:
            return uniform() * 3e38F;
        case 2:
            return std::ldexp(uniform(), static_cast<int>(random() % 200) - 100);
        case 3:
            return -uniform() * scale;
        default:
            return uniform() * scale;
    }
}

std::unordered_map<std::string, float> RandomEvents(std::mt19937_64& random) {
    // Half of the sets are of a sort that a board gives, but for what is missing.
    const bool isOrdinary = random() % 2 == 0;
    std::unordered_map<std::string, float> events;
    for (std::size_t place = 0; place < kTopdownEventCount; ++place) {
        if (random() % 40 == 0) {
            continue;
        }
        const auto count = static_cast<float>(random() % 100000000U);
        events[TopdownEventName(place)] = isOrdinary ? count : RandomCount(random, 1e8F);
    }
    return events;
}

std::string BitsOf(float value) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    char text[16];
    (void)std::snprintf(text, sizeof(text), "%08x", bits);
    return text;
}

// The set and what the program makes of it, as the script reads it.
std::string LineOf(TopdownData data) {
    std::string line;
    for (const auto& [name, count] : data.events) {
        line += name + "=" + BitsOf(count) + " ";
    }
    AnalyzeMetrics(data);
    EventWriter writer;
    writer.Begin();
    WriteTopdownContent(data, writer);
    writer.End();
    JsonDocument document;
    EXPECT_TRUE(ParseJson(writer.Lines().substr(0, writer.Lines().size() - 1), document));
    const auto content = document["content"][0].GetObject();
    line += "|";
    for (auto member = content.MemberBegin() + 1; member != content.MemberEnd(); ++member) {
        line += std::string(member->name.GetString()) + "=" + member->value.GetString() + " ";
    }
    return line + "|" + content["<=="].GetString() + "\n";
}

TEST(TopdownTruth, RandomCountersGiveWhatTheFormulasSay) {
    std::mt19937_64 random = SeededRandom();
    const int sets = IsWhole() ? kAllSets : kSampledSets;
    std::string lines;
    (void)Capture([&] {
        for (int i = 0; i < sets; ++i) {
            TopdownData data;
            data.events = RandomEvents(random);
            lines += LineOf(std::move(data));
        }
    });
    const TempDir directory;
    const std::string script =
        std::string(ZARN_SOURCE_DIR) + "/tests/unit/collectors/profiling/topdown/metric_truth.py";
    std::string said;
    ASSERT_TRUE(SystemCommandRunner().Capture(
        "python3 '" + script + "' '" + directory.Write("sets", lines) + "' 2>&1", said));
    EXPECT_EQ(said, std::to_string(sets) + " sets agree\n");
}

}  // namespace
}  // namespace zarn::test
