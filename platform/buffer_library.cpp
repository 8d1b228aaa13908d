#include "platform/buffer_library.h"

#include "ara/rm/tepa_resource.h"
#include "kes_buffer.h"

namespace zarn {
namespace {

class LinkedBufferLibrary final : public BufferLibrary {
public:
    bool RegisterResource() override { return ara::rm::RegisterTepaResource(); }

    bool UnregisterResource() override { return ara::rm::UnRegisterTepaResource(); }

    int Configure(std::uint32_t command, void* setting, std::uint32_t size) override {
        return kesBuffCfg(command, setting, size);
    }

    int GetInfo(std::uint32_t type, void* out, std::uint32_t* size) override {
        return kesBuffGetInfo(type, nullptr, 0, out, size);
    }
};

}  // namespace

BufferLibrary& SystemBufferLibrary() {
    static LinkedBufferLibrary library;
    return library;
}

}  // namespace zarn
