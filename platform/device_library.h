#pragma once

#include <cstdint>

namespace zarn {

// The way to the device-management library. Missions get it by reference, so that tests can stand
// in for the device. Every call gives 0 for success, else the library's return code.
class DeviceLibrary {
public:
    DeviceLibrary() = default;
    DeviceLibrary(const DeviceLibrary&) = delete;
    DeviceLibrary& operator=(const DeviceLibrary&) = delete;
    virtual ~DeviceLibrary() = default;

    // Stores the number of devices in `count`.
    virtual int GetCount(int* count) = 0;

    // Stores the ids of the first `count` devices in `devices`, which has room for them.
    virtual int List(int* devices, int count) = 0;

    // Reads what the two commands name. `buffer` carries the key of the question and takes the
    // answer; `size` is its size in bytes at the call and the size of the answer after it.
    virtual int GetInfo(std::uint32_t device, std::uint32_t mainCommand, std::uint32_t subCommand,
                        void* buffer, std::uint32_t* size) = 0;

    // Writes the record of `size` bytes in `buffer` to what the two commands name.
    virtual int SetInfo(std::uint32_t device, std::uint32_t mainCommand, std::uint32_t subCommand,
                        const void* buffer, std::uint32_t size) = 0;
};

// The library that this program is linked with: the board's, or the simulated one. It has no state
// of its own, so any thread may use it.
DeviceLibrary& SystemDeviceLibrary();

}  // namespace zarn
