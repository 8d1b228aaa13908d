#pragma once

#include <cstdint>

namespace zarn {

// The way to the buffer library and to the resource manager, with which a process registers before
// it asks about buffers. Missions get it by reference, so that tests can stand in for both.
class BufferLibrary {
public:
    BufferLibrary() = default;
    BufferLibrary(const BufferLibrary&) = delete;
    BufferLibrary& operator=(const BufferLibrary&) = delete;
    virtual ~BufferLibrary() = default;

    // Announces this process to the resource manager, and ends that; false if it is not taken.
    [[nodiscard]] virtual bool RegisterResource() = 0;
    virtual bool UnregisterResource() = 0;

    // Hands over the setting of `size` bytes that `command` names. 0 for success, else the
    // library's return code.
    virtual int Configure(std::uint32_t command, void* setting, std::uint32_t size) = 0;

    // Asks for the information of that type, without a question of its own. `size` is that of `out`
    // in bytes at the call and the number of bytes written after it. Gives what Configure gives.
    virtual int GetInfo(std::uint32_t type, void* out, std::uint32_t* size) = 0;
};

// The libraries that this program is linked with: the board's, or the simulated ones. It has no
// state of its own, so any thread may use it.
BufferLibrary& SystemBufferLibrary();

}  // namespace zarn
