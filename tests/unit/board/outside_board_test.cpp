#include <gtest/gtest.h>

#include <array>
#include <cstdlib>

#include "ara/rm/tepa_resource.h"
#include "kes_buffer.h"
#include "tovi_device.h"

namespace {

// A machine without the device: the variable that leads to a board is not set.
class OutsideBoard : public testing::Test {
protected:
    void SetUp() override { ::unsetenv("VIRTUAL_BOARD_STATE"); }
};

TEST_F(OutsideBoard, EveryDeviceCallAnswersNoDevice) {
    int count = 99;
    std::array<int, 4> devices{};
    std::array<unsigned char, 48> record{};
    unsigned size = 48;
    EXPECT_EQ(tovi_get_device_count(&count), 1);
    EXPECT_EQ(count, 99);
    EXPECT_EQ(tovi_list_device(devices.data(), 1), 1);
    EXPECT_EQ(tovi_get_device_info(0, 13, 0, record.data(), &size), 1);
    EXPECT_EQ(tovi_set_device_info(0, 13, 0, record.data(), size), 1);
}

TEST_F(OutsideBoard, EveryBufferCallAnswersNoDevice) {
    std::array<unsigned, 4> setting{1, 8192, 10000, 5000};
    std::array<unsigned char, 224> records{};
    unsigned size = 224;
    EXPECT_EQ(kesBuffCfg(0, setting.data(), 16), 1);
    EXPECT_EQ(kesBuffGetInfo(0, nullptr, 0, records.data(), &size), 1);
    EXPECT_EQ(size, 224U);
}

TEST_F(OutsideBoard, TheResourceManagerTakesNobody) {
    EXPECT_FALSE(ara::rm::RegisterTepaResource());
    EXPECT_FALSE(ara::rm::UnRegisterTepaResource());
}

}  // namespace
