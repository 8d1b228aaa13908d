#include "board/device/faults.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace zarn::board {
namespace {

class Faults : public testing::Test {
protected:
    void Plan(const std::vector<FaultRule>& rules) {
        state_->faults.count = static_cast<std::uint32_t>(rules.size());
        std::copy(rules.begin(), rules.end(), state_->faults.rules.begin());
    }

    // The codes of `count` equal calls, 0 for one that passes.
    std::vector<int> Codes(const CallArguments& arguments, int count) {
        std::vector<int> codes;
        for (int i = 0; i < count; ++i) {
            const std::optional<Fault> fault = NextFault(*state_, arguments);
            codes.push_back(fault ? fault->code : 0);
        }
        return codes;
    }

    std::unique_ptr<BoardState> state_ = std::make_unique<BoardState>();
};

FaultRule Rule(Call call, std::int32_t code) {
    FaultRule rule;
    rule.call = call;
    rule.code = code;
    return rule;
}

const CallArguments kGetPartitionFive{Call::kGetDeviceInfo, 0, 13, 0, 5};

TEST_F(Faults, WithoutAPlanAllPass) {
    EXPECT_EQ(Codes(kGetPartitionFive, 2), (std::vector<int>{0, 0}));
}

TEST_F(Faults, ARuleHoldsForItsCallAloneAndForever) {
    Plan({Rule(Call::kGetDeviceInfo, 9)});
    EXPECT_EQ(Codes(kGetPartitionFive, 3), (std::vector<int>{9, 9, 9}));
    EXPECT_EQ(Codes({Call::kSetDeviceInfo, 0, 13, 0, 5}, 1), (std::vector<int>{0}));
}

TEST_F(Faults, SkipAndTimesCountTheMatchingCalls) {
    FaultRule rule = Rule(Call::kGetDeviceInfo, 9);
    rule.skip = 1;
    rule.times = 2;
    Plan({rule});
    EXPECT_EQ(Codes({Call::kListDevice}, 1), (std::vector<int>{0}));
    EXPECT_EQ(Codes(kGetPartitionFive, 5), (std::vector<int>{0, 9, 9, 0, 0}));
}

TEST_F(Faults, ARuleForAnyCallCountsThemAll) {
    FaultRule rule = Rule(Call::kAny, 9);
    rule.skip = 1;
    rule.times = 1;
    Plan({rule});
    EXPECT_EQ(Codes({Call::kListDevice}, 1), (std::vector<int>{0}));
    EXPECT_EQ(Codes(kGetPartitionFive, 2), (std::vector<int>{9, 0}));
}

TEST_F(Faults, EveryArgumentOfARuleMustMatch) {
    FaultRule rule = Rule(Call::kGetDeviceInfo, 9);
    rule.device = 0;
    rule.mainCommand = 13;
    rule.subCommand = 0;
    rule.key = 5;
    Plan({rule});
    EXPECT_EQ(Codes(kGetPartitionFive, 1), (std::vector<int>{9}));
    EXPECT_EQ(Codes({Call::kGetDeviceInfo, 1, 13, 0, 5}, 1), (std::vector<int>{0}));
    EXPECT_EQ(Codes({Call::kGetDeviceInfo, 0, 9, 0, 5}, 1), (std::vector<int>{0}));
    EXPECT_EQ(Codes({Call::kGetDeviceInfo, 0, 13, 1, 5}, 1), (std::vector<int>{0}));
    EXPECT_EQ(Codes({Call::kGetDeviceInfo, 0, 13, 0, 6}, 1), (std::vector<int>{0}));
}

TEST_F(Faults, TheFirstRuleWhoseTurnItIsDecidesAndAllCount) {
    FaultRule first = Rule(Call::kGetDeviceInfo, 9);
    first.times = 1;
    FaultRule second = Rule(Call::kGetDeviceInfo, 8);
    second.times = 2;
    Plan({first, second});
    EXPECT_EQ(Codes(kGetPartitionFive, 3), (std::vector<int>{9, 8, 0}));
}

TEST_F(Faults, ARuleMayTamperWithTheSizeInstead) {
    FaultRule rule = Rule(Call::kGetDeviceInfo, 0);
    rule.answerSize = 44;
    Plan({rule});
    const std::optional<Fault> fault = NextFault(*state_, kGetPartitionFive);
    ASSERT_TRUE(fault.has_value());
    EXPECT_EQ(fault->code, 0);
    EXPECT_EQ(fault->answerSize, 44U);
}

}  // namespace
}  // namespace zarn::board
