#include "tests/support/fake_buffers.h"

#include <algorithm>
#include <cstring>

namespace zarn::test {

bool FakeBuffers::RegisterResource() {
    calls.emplace_back("register");
    return takesRegistration;
}

bool FakeBuffers::UnregisterResource() {
    calls.emplace_back("unregister");
    return takesRegistration;
}

int FakeBuffers::Configure(std::uint32_t command, void* setting, std::uint32_t size) {
    std::string call = "configure " + std::to_string(command);
    for (std::uint32_t at = 0; at + sizeof(std::uint32_t) <= size; at += sizeof(std::uint32_t)) {
        std::uint32_t word = 0;
        std::memcpy(&word, static_cast<const char*>(setting) + at, sizeof(word));
        call += " " + std::to_string(word);
    }
    calls.push_back(call);
    return configureCode;
}

int FakeBuffers::GetInfo(std::uint32_t type, void* out, std::uint32_t* size) {
    calls.push_back("info " + std::to_string(type) + " " + std::to_string(*size));
    const std::string answer = asked_ < answers.size() ? answers[asked_++] : std::string();
    const std::size_t count = std::min<std::size_t>(answer.size(), *size);
    std::memcpy(out, answer.data(), count);
    *size = static_cast<std::uint32_t>(count);
    return infoCode;
}

}  // namespace zarn::test
