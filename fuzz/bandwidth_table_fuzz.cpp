#include <stdexcept>

#include "collectors/system/ddr/ddr_bandwidth_parser.h"
#include "fuzz/fuzz_input.h"

// The DDR collector's raw log: a "total" after every ten rows, or an error of the standard
// conversion.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMasters = 10;
    try {
        const auto rows = zarn::ParseBandwidthLog(zarn::fuzz::AsText(data, size), kMasters);
        for (std::size_t row = kMasters; row < rows.size(); row += kMasters + 1) {
            zarn::fuzz::Require(rows[row].id == "total", "a total behind every sample");
        }
    } catch (const std::invalid_argument&) {
        return 0;
    } catch (const std::out_of_range&) {
        return 0;
    }
    return 0;
}
