#include "tests/support/fake_device.h"

#include <algorithm>
#include <cstring>
#include <iomanip>
#include <sstream>

namespace zarn::test {
namespace {

constexpr std::uint32_t kImageBlock = 0;
constexpr std::uint32_t kAiBlock = 11;
constexpr std::uint32_t kQos = 13;
constexpr int kUnknownCommand = 2;
constexpr int kNotStarted = 6;

std::uint32_t WordAt(const void* buffer, std::size_t offset) {
    std::uint32_t word = 0;  // tests run on little-endian machines only
    std::memcpy(&word, static_cast<const char*>(buffer) + offset, sizeof(word));
    return word;
}

void PutWordAt(void* buffer, std::size_t offset, std::uint32_t word) {
    std::memcpy(static_cast<char*>(buffer) + offset, &word, sizeof(word));
}

std::string HexBytes(const void* buffer, std::size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(buffer);
    while (size > 0 && bytes[size - 1] == 0) {
        --size;
    }
    std::ostringstream text;
    text << std::hex << std::setfill('0');
    for (std::size_t i = 0; i < size; ++i) {
        text << std::setw(2) << static_cast<unsigned>(bytes[i]);
    }
    return text.str();
}

}  // namespace

int FakeDevice::Note(Call call, const void* buffer) {
    call.bytes = HexBytes(buffer, call.size);
    calls_.push_back(std::move(call));
    const auto failure = failures_.find(calls_.size() - 1);
    return failure == failures_.end() ? 0 : failure->second;
}

int FakeDevice::GetCount(int* count) {
    *count = saidCount.value_or(static_cast<int>(devices.size()));
    return Note({}, "");
}

int FakeDevice::List(int* ids, int count) {
    const auto told = std::min<std::size_t>(static_cast<std::size_t>(count), devices.size());
    std::copy_n(devices.begin(), told, ids);
    return Note({}, "");
}

int FakeDevice::GetInfo(std::uint32_t device, std::uint32_t mainCommand, std::uint32_t subCommand,
                        void* buffer, std::uint32_t* size) {
    const int code = Note({false, device, mainCommand, subCommand, *size, ""}, buffer);
    if (code != 0) {
        return code;
    }
    const std::size_t index = calls_.size() - 1;
    if (index == shrunk_) {
        *size -= 1;
    }
    if (!Answer(mainCommand, subCommand, buffer, size)) {
        return kUnknownCommand;
    }
    if (const auto lie = sizes_.find(index); lie != sizes_.end()) {
        *size = lie->second;
    }
    return 0;
}

bool FakeDevice::Answer(std::uint32_t mainCommand, std::uint32_t subCommand, void* buffer,
                        std::uint32_t* size) {
    const std::uint32_t key = subCommand >> 8U;
    if (mainCommand == kImageBlock && imageRates.count(subCommand) != 0) {
        PutWordAt(buffer, 0, imageRates[subCommand]);
    } else if (mainCommand == kAiBlock && subCommand == 0) {
        std::copy_n(aiCores.begin(), std::min<std::size_t>(*size, aiCores.size()),
                    static_cast<std::uint8_t*>(buffer));
        *size = static_cast<std::uint32_t>(aiCores.size());
    } else if (mainCommand == 9 && subCommand == 0) {
        PutWordAt(buffer, 0, ddrType);
    } else if (mainCommand == kQos && (subCommand & 0xFFU) == 0) {
        const Bounds& held = bounds[key];
        PutWordAt(buffer, 4, held.high);
        PutWordAt(buffer, 8, held.low);
        PutWordAt(buffer, 12, held.hardlimit);
    } else if (mainCommand == kQos && (subCommand & 0xFFU) == 1) {
        const MasterSetting& held = masters[key];
        PutWordAt(buffer, 4, held.mpamid);
        PutWordAt(buffer, 8, held.priority);
    } else {
        return false;
    }
    return true;
}

int FakeDevice::SetInfo(std::uint32_t device, std::uint32_t mainCommand, std::uint32_t subCommand,
                        const void* buffer, std::uint32_t size) {
    const int code = Note({true, device, mainCommand, subCommand, size, ""}, buffer);
    if (code != 0) {
        return code;
    }
    if (mainCommand != kQos || subCommand > 3) {
        return kUnknownCommand;
    }
    if (subCommand == 0) {
        bounds[WordAt(buffer, 0)] = {WordAt(buffer, 4), WordAt(buffer, 8), WordAt(buffer, 12)};
    } else if (subCommand == 1) {
        masters[WordAt(buffer, 0)] = {WordAt(buffer, 4), WordAt(buffer, 8)};
    } else if (subCommand == 2) {
        const bool start = WordAt(buffer, 0) != 0;
        if (!start && !monitoring) {
            return kNotStarted;
        }
        monitoring = start;
    }
    return 0;
}

std::vector<std::string> FakeDevice::CallLines() const {
    std::vector<std::string> lines;
    for (const Call& call : calls_) {
        std::ostringstream line;
        line << (call.set ? "set " : "get ") << call.mainCommand << ":" << std::hex
             << call.subCommand << std::dec << " " << call.size << " " << call.bytes;
        lines.push_back(line.str());
    }
    return lines;
}

}  // namespace zarn::test
