#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/buffer_library.h"

namespace zarn::test {

// Buffers for tests: keeps the settings it is given and answers each question with the next of
// `answers`.
class FakeBuffers final : public BufferLibrary {
public:
    bool RegisterResource() override;
    bool UnregisterResource() override;
    int Configure(std::uint32_t command, void* setting, std::uint32_t size) override;
    int GetInfo(std::uint32_t type, void* out, std::uint32_t* size) override;

    // What the calls give.
    bool takesRegistration = true;
    int configureCode = 0;
    int infoCode = 0;
    std::vector<std::string> answers;       // bytes; none left: an empty answer
    std::optional<std::uint32_t> toldSize;  // given back by GetInfo instead of the bytes written
    int failingCall = -1;                   // the call that fails, by its index in `calls`

    // Called before each call is answered.
    std::function<void()> duringCall = [] {};

    // "register", "unregister", "configure <command> <words>", "info <type> <size>", in order.
    std::vector<std::string> calls;

private:
    // Notes a call; whether it is the one that fails.
    bool Note(const std::string& call);

    std::size_t asked_ = 0;
};

}  // namespace zarn::test
