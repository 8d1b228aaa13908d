#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/device_library.h"

namespace zarn::test {

// A device for tests: keeps the settings it is given, answers with them, records every call, and
// can refuse one call or answer it with a record of another size. Built by the layout of the
// records, not by the code that makes them.
class FakeDevice final : public DeviceLibrary {
public:
    // One call as it came. `bytes` is the record in hex, two digits a byte, zeros at its end cut
    // off.
    struct Call {
        bool set = false;
        std::uint32_t device = 0;
        std::uint32_t mainCommand = 0;
        std::uint32_t subCommand = 0;
        std::uint32_t size = 0;
        std::string bytes;
    };

    struct Bounds {
        std::uint32_t high = 101;  // never configured
        std::uint32_t low = 0;
        std::uint32_t hardlimit = 0;
    };

    struct MasterSetting {
        std::uint32_t mpamid = 0;
        std::uint32_t priority = 0;
    };

    // What the device holds, by partition and by master.
    std::map<std::uint32_t, Bounds> bounds;
    std::map<std::uint32_t, MasterSetting> masters;
    bool monitoring = false;  // a monitor that does not run refuses to stop, with code 6
    std::uint32_t ddrType = 4;
    std::vector<int> devices{0};                        // their ids
    std::optional<int> saidCount;                       // answered instead of their number
    std::vector<std::uint8_t> aiCores{50, 51, 52, 53};  // use of the AI cores
    std::map<std::uint32_t, std::uint32_t> imageRates{{1, 11}, {2, 22}, {3, 33}};  // by engine

    // The call with this index, counted from 0 over all calls, gives `code`, or reports that size,
    // or one smaller than the record's.
    void FailCall(std::size_t index, int code) { failures_[index] = code; }
    void LieAboutSize(std::size_t index, std::uint32_t size) { sizes_[index] = size; }
    void ShrinkCall(std::size_t index) { shrunk_ = index; }

    int GetCount(int* count) override;
    int List(int* ids, int count) override;
    int GetInfo(std::uint32_t device, std::uint32_t mainCommand, std::uint32_t subCommand,
                void* buffer, std::uint32_t* size) override;
    int SetInfo(std::uint32_t device, std::uint32_t mainCommand, std::uint32_t subCommand,
                const void* buffer, std::uint32_t size) override;

    [[nodiscard]] const std::vector<Call>& Calls() const { return calls_; }
    // Each call as one text: "set 13:0 48 <bytes>", the sub command in hex.
    [[nodiscard]] std::vector<std::string> CallLines() const;

private:
    // The answer's bytes; false if there are no such commands.
    bool Answer(std::uint32_t mainCommand, std::uint32_t subCommand, void* buffer,
                std::uint32_t* size);
    // Records the call and gives the planned code, 0 if there is none.
    int Note(Call call, const void* buffer);

    std::vector<Call> calls_;
    std::map<std::size_t, int> failures_;
    std::map<std::size_t, std::uint32_t> sizes_;
    std::size_t shrunk_ = static_cast<std::size_t>(-1);
};

}  // namespace zarn::test
