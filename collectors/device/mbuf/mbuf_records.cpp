#include "collectors/device/mbuf/mbuf_records.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace zarn {
namespace {

// Where a record's fields are. The others are not read.
constexpr std::size_t kTimeStampAt = 0;
constexpr std::size_t kMbufAt = 8;
constexpr std::size_t kUsePidAt = 16;
constexpr std::size_t kAllocPidAt = 20;
constexpr std::size_t kUseTimeAt = 24;
constexpr std::size_t kBlkSizeAt = 48;
constexpr std::size_t kTotalBlkNumAt = 52;
constexpr std::size_t kPoolNameAt = 64;

template <typename Number>
Number NumberAt(std::string_view record, std::size_t offset) {
    Number number = 0;
    std::memcpy(&number, record.data() + offset, sizeof(number));
    return number;
}

MbufRecord ParseRecord(std::string_view bytes) {
    MbufRecord record;
    record.timeStamp = NumberAt<std::uint64_t>(bytes, kTimeStampAt);
    record.mbuf = NumberAt<std::uint64_t>(bytes, kMbufAt);
    record.usePid = NumberAt<std::uint32_t>(bytes, kUsePidAt);
    record.allocPid = NumberAt<std::uint32_t>(bytes, kAllocPidAt);
    record.useTime = NumberAt<std::uint32_t>(bytes, kUseTimeAt);
    record.blkSize = NumberAt<std::uint32_t>(bytes, kBlkSizeAt);
    record.totalBlkNum = NumberAt<std::uint32_t>(bytes, kTotalBlkNumAt);
    const std::string_view name = bytes.substr(kPoolNameAt);
    record.poolName = name.substr(0, name.find('\0'));
    return record;
}

}  // namespace

std::vector<MbufRecord> ParseMbufRecords(std::string_view answer) {
    std::vector<MbufRecord> records;
    records.reserve(answer.size() / kMbufRecordSize);
    for (; answer.size() >= kMbufRecordSize; answer.remove_prefix(kMbufRecordSize)) {
        records.push_back(ParseRecord(answer.substr(0, kMbufRecordSize)));
    }
    return records;
}

MbufPointer::MbufPointer(std::uint64_t address) {
    char* at = text_.data();
    if (address != 0) {
        *at++ = '0';
        *at++ = 'x';
    }
    at = std::to_chars(at, text_.data() + text_.size(), address, 16).ptr;
    size_ = static_cast<std::uint8_t>(at - text_.data());
}

MbufKey::MbufKey(const MbufRecord& record) {
    char* const end = text_.data() + text_.size();
    const MbufPointer pointer(record.mbuf);
    char* at = std::copy(pointer.Text().begin(), pointer.Text().end(), text_.data());
    *at++ = '_';
    at = std::to_chars(at, end, record.timeStamp).ptr;
    *at++ = '_';
    at = std::to_chars(at, end, record.useTime).ptr;
    size_ = static_cast<std::uint8_t>(at - text_.data());
}

void MbufCycle::Add(const std::vector<MbufRecord>& records) {
    seen_.reserve(seen_.size() + records.size());
    for (const MbufRecord& record : records) {
        seen_.push_back({MbufKey(record), isFirst_ ? nullptr : &record});
    }
    isFirst_ = false;
}

std::vector<const MbufRecord*> MbufCycle::NewRecords() const {
    std::vector<const Seen*> ordered;
    ordered.reserve(seen_.size());
    for (const Seen& seen : seen_) {
        ordered.push_back(&seen);
    }
    // Of those with one key the first to come decides.
    std::sort(ordered.begin(), ordered.end(), [](const Seen* a, const Seen* b) {
        const int order = a->key.Text().compare(b->key.Text());
        return order != 0 ? order < 0 : a < b;
    });
    std::vector<const MbufRecord*> records;
    std::string_view last;
    for (const Seen* seen : ordered) {
        if (seen->record != nullptr && seen->key.Text() != last) {
            records.push_back(seen->record);
        }
        last = seen->key.Text();
    }
    return records;
}

}  // namespace zarn
