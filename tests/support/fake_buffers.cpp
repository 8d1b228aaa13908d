#include "tests/support/fake_buffers.h"

#include <algorithm>
#include <cstring>

namespace zarn::test {
namespace {

constexpr int kFailure = -9;

}  // namespace

bool FakeBuffers::Note(const std::string& call) {
    duringCall();
    calls.push_back(call);
    return static_cast<int>(calls.size()) == failingCall + 1;
}

bool FakeBuffers::RegisterResource() {
    return !Note("register") && takesRegistration;
}

bool FakeBuffers::UnregisterResource() {
    return !Note("unregister") && takesRegistration;
}

int FakeBuffers::Configure(std::uint32_t command, void* setting, std::uint32_t size) {
    std::string call = "configure " + std::to_string(command);
    for (std::uint32_t at = 0; at + sizeof(std::uint32_t) <= size; at += sizeof(std::uint32_t)) {
        std::uint32_t word = 0;
        std::memcpy(&word, static_cast<const char*>(setting) + at, sizeof(word));
        call += " " + std::to_string(word);
    }
    return Note(call) ? kFailure : configureCode;
}

int FakeBuffers::GetInfo(std::uint32_t type, void* out, std::uint32_t* size) {
    if (Note("info " + std::to_string(type) + " " + std::to_string(*size))) {
        return kFailure;
    }
    const std::string answer = asked_ < answers.size() ? answers[asked_++] : std::string();
    const std::size_t count = std::min<std::size_t>(answer.size(), *size);
    std::memcpy(out, answer.data(), count);
    *size = toldSize.value_or(static_cast<std::uint32_t>(count));
    return infoCode;
}

}  // namespace zarn::test
