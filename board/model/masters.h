#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

// The ten bus masters of the board's memory.
namespace zarn::board {

// A master without a number cannot be moved to another partition: its partition is fixed.
inline constexpr std::uint32_t kNoMasterNumber = 0xFFFFFFFF;

// One bus master: its name, the memory partition (MPAM id) it starts in, and its number in the
// device's master configuration.
struct BusMaster {
    std::string_view name;
    std::uint32_t mpamid;
    std::uint32_t number;
};

inline constexpr std::size_t kMasterCount = 10;

// In the order in which the bandwidth file lists them. There is no partition 4.
inline constexpr std::array<BusMaster, kMasterCount> kMasters{{
    {"cpu", 0, kNoMasterNumber},
    {"imgp_venc", 1, 0},
    {"imgp_vdec", 2, 1},
    {"imgp_vpc", 3, 2},
    {"aic_dat", 5, 9},
    {"aic_ins", 6, 10},
    {"sdma", 7, 13},
    {"isp_vicap", 8, 15},
    {"isp_viproc", 9, 16},
    {"isp_vipe", 10, 17},
}};

// Indexes of kMasters that the model names itself.
inline constexpr std::size_t kImgpVenc = 1;
inline constexpr std::size_t kImgpVdec = 2;
inline constexpr std::size_t kImgpVpc = 3;
inline constexpr std::size_t kAicDat = 4;

// Index in kMasters of the master that starts in that partition, and of the one with that number.
[[nodiscard]] constexpr std::optional<std::size_t> IndexOfPartition(std::uint32_t mpamid) {
    for (std::size_t i = 0; i < kMasterCount; ++i) {
        if (kMasters[i].mpamid == mpamid) {
            return i;
        }
    }
    return std::nullopt;
}

[[nodiscard]] constexpr std::optional<std::size_t> IndexOfNumber(std::uint32_t number) {
    for (std::size_t i = 0; i < kMasterCount; ++i) {
        if (kMasters[i].number == number && number != kNoMasterNumber) {
            return i;
        }
    }
    return std::nullopt;
}

// One value per row of kMasters.
template <typename T>
using PerMaster = std::array<T, kMasterCount>;

}  // namespace zarn::board
