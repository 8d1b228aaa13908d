#include "platform/device_library.h"

#include "tovi_device.h"

namespace zarn {
namespace {

class LinkedDeviceLibrary final : public DeviceLibrary {
public:
    int GetCount(int* count) override { return tovi_get_device_count(count); }

    int List(int* devices, int count) override { return tovi_list_device(devices, count); }

    int GetInfo(std::uint32_t device, std::uint32_t mainCommand, std::uint32_t subCommand,
                void* buffer, std::uint32_t* size) override {
        return tovi_get_device_info(device, mainCommand, subCommand, buffer, size);
    }

    int SetInfo(std::uint32_t device, std::uint32_t mainCommand, std::uint32_t subCommand,
                const void* buffer, std::uint32_t size) override {
        return tovi_set_device_info(device, mainCommand, subCommand, buffer, size);
    }
};

}  // namespace

DeviceLibrary& SystemDeviceLibrary() {
    static LinkedDeviceLibrary library;
    return library;
}

}  // namespace zarn
