#include "board/perf/perf_data.h"

#include <linux/perf_event.h>

#include <cstring>

namespace zarn::board {
namespace {

constexpr std::uint64_t kKernelSize = 0x200000;
// The head of the file, as the kernel's tools have it.
struct Section {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
};

struct FileHead {
    char magic[8] = {'P', 'E', 'R', 'F', 'I', 'L', 'E', '2'};
    std::uint64_t size = sizeof(FileHead);
    std::uint64_t attributeSize = 0;
    Section attributes;
    Section data;
    Section eventTypes;
    std::uint64_t features[4] = {};
};

// One kind of event, and where its numbers are: a file with one kind has none.
struct Attribute {
    perf_event_attr event{};
    Section numbers;
};

void Append(std::string& bytes, const void* record, std::size_t size) {
    bytes.append(static_cast<const char*>(record), size);
}

template <typename Number>
void AppendNumber(std::string& bytes, Number number) {
    Append(bytes, &number, sizeof(number));
}

// A text with its NUL, up to the next eight bytes.
void AppendText(std::string& bytes, const std::string& text) {
    bytes += text;
    bytes.append(8 - text.size() % 8, '\0');
}

void AppendRecord(std::string& bytes, std::uint32_t type, std::uint16_t misc,
                  const std::string& body) {
    perf_event_header head{};
    head.type = type;
    head.misc = misc;
    head.size = static_cast<std::uint16_t>(sizeof(head) + body.size());
    Append(bytes, &head, sizeof(head));
    bytes += body;
}

void AppendProcess(std::string& bytes, const SampledProcess& process) {
    std::string name;
    AppendNumber(name, process.pid);
    AppendNumber(name, process.tid == 0 ? process.pid : process.tid);
    std::string mapping = name;
    AppendText(name, process.name);
    AppendRecord(bytes, PERF_RECORD_COMM, 0, name);
    if (process.size > 0) {
        AppendNumber(mapping, process.start);
        AppendNumber(mapping, process.size);
        AppendNumber(mapping, process.offset);
        AppendText(mapping, process.path);
        AppendRecord(bytes, PERF_RECORD_MMAP, PERF_RECORD_MISC_USER, mapping);
    }
}

// The number by which the samples of an event are known where there are several.
std::uint64_t NumberOf(SampledEvent event) {
    return static_cast<std::uint64_t>(event) + 1;
}

void AppendSample(std::string& bytes, const CycleSample& sample, bool callChains, bool numbered) {
    std::string body;
    if (numbered) {
        AppendNumber(body, NumberOf(sample.event));
    }
    AppendNumber(body, sample.chain.front());
    AppendNumber(body, sample.pid);
    AppendNumber(body, sample.tid == 0 ? sample.pid : sample.tid);
    AppendNumber(body, sample.timeNs);
    AppendNumber(body, std::uint64_t{sample.core});
    AppendNumber(body, sample.cycles);
    if (callChains) {
        AppendNumber(body, std::uint64_t{sample.chain.size() + 1});
        AppendNumber(body, sample.inKernel ? std::uint64_t{PERF_CONTEXT_KERNEL}
                                           : std::uint64_t{PERF_CONTEXT_USER});
        for (const std::uint64_t address : sample.chain) {
            AppendNumber(body, address);
        }
    }
    AppendRecord(bytes, PERF_RECORD_SAMPLE,
                 sample.inKernel ? PERF_RECORD_MISC_KERNEL : PERF_RECORD_MISC_USER, body);
}

perf_event_attr AttributeOf(SampledEvent sampled, bool callChains, bool numbered) {
    perf_event_attr event{};
    const bool isClock = sampled == SampledEvent::CpuClock;
    event.type = isClock ? PERF_TYPE_SOFTWARE : PERF_TYPE_HARDWARE;
    event.config = isClock                           ? std::uint64_t{PERF_COUNT_SW_CPU_CLOCK}
                   : sampled == SampledEvent::Cycles ? std::uint64_t{PERF_COUNT_HW_CPU_CYCLES}
                                                     : std::uint64_t{PERF_COUNT_HW_CACHE_MISSES};
    event.size = sizeof(event);
    event.freq = 1;
    event.sample_type =
        PERF_SAMPLE_IP | PERF_SAMPLE_TID | PERF_SAMPLE_TIME | PERF_SAMPLE_CPU | PERF_SAMPLE_PERIOD;
    event.sample_type |= callChains ? std::uint64_t{PERF_SAMPLE_CALLCHAIN} : 0;
    event.sample_type |= numbered ? std::uint64_t{PERF_SAMPLE_IDENTIFIER} : 0;
    event.disabled = 1;
    event.inherit = 1;
    event.mmap = 1;
    event.comm = 1;
    // Without it the event would be called otherwise than perf calls its own.
    event.exclude_guest = 1;
    return event;
}

}  // namespace

// Where the kernel is, without which perf warns of each file that it has no symbols of the kernel.
void AppendKernel(std::string& bytes) {
    std::string mapping;
    AppendNumber(mapping, std::int32_t{-1});
    AppendNumber(mapping, std::int32_t{0});
    AppendNumber(mapping, kKernelCode);
    AppendNumber(mapping, kKernelSize);
    AppendNumber(mapping, kKernelCode);
    AppendText(mapping, "[kernel.kallsyms]_text");
    AppendRecord(bytes, PERF_RECORD_MMAP, PERF_RECORD_MISC_KERNEL, mapping);
}

std::string PerfDataBytes(const std::vector<SampledProcess>& processes,
                          const std::vector<CycleSample>& samples, bool callChains,
                          const std::vector<SampledEvent>& events, std::uint32_t samplesPerSecond) {
    const bool numbered = events.size() > 1;
    std::string data;
    AppendKernel(data);
    for (const SampledProcess& process : processes) {
        AppendProcess(data, process);
    }
    for (const CycleSample& sample : samples) {
        AppendSample(data, sample, callChains, numbered);
    }
    FileHead head;
    std::string attributes;
    std::string numbers;
    const std::uint64_t end = sizeof(head) + events.size() * sizeof(Attribute);
    for (const SampledEvent event : events) {
        Attribute attribute;
        attribute.event = AttributeOf(event, callChains, numbered);
        attribute.event.sample_freq = samplesPerSecond;
        if (numbered) {
            attribute.numbers = {end + numbers.size(), sizeof(std::uint64_t)};
            AppendNumber(numbers, NumberOf(event));
        }
        Append(attributes, &attribute, sizeof(attribute));
    }
    head.attributeSize = sizeof(Attribute);
    head.attributes = {sizeof(head), attributes.size()};
    head.data = {end + numbers.size(), data.size()};
    std::string bytes;
    Append(bytes, &head, sizeof(head));
    return bytes + attributes + numbers + data;
}

}  // namespace zarn::board
