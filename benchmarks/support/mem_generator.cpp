#include "benchmarks/support/mem_generator.h"

#include <string_view>

#include "benchmarks/support/generator.h"
#include "foundation/time.h"

namespace zarn::bench {
namespace {

constexpr std::uint64_t kFirstSecond = 1704110400000;  // milliseconds since the epoch
constexpr std::string_view kSystemColumns[] = {
    "total",     "used",     "free",    "shared", "cache",       "avail", "pss",
    "pagetable", "slabInfo", "hugetlb", "kermod", "kernelStack", "sum"};
// Sizes of a process, each with its share of the base, in percent.
struct SizeColumn {
    std::string_view name;
    std::int64_t percent;
};
constexpr SizeColumn kSizeColumns[] = {
    {"HugePages", 0}, {"RSS", 100}, {"PSS", 80},  {"USS", 60},   {"SP_ALLOC", 5}, {"VSS", 900},
    {"VmData", 300},  {"VmStk", 1}, {"VmExe", 4}, {"VmLib", 20}, {"VmPTE", 2}};

void StartLine(std::string_view object, std::size_t sample, std::string& text) {
    std::string time;
    (void)TimestampToString(kFirstSecond + sample * 2000, time);
    text.append(R"({"objectId":")").append(object);
    text.append(R"(","happenTime":")").append(time);
    text.append(R"(","eventId":"962201576","content":[{)");
}

void AddMember(std::string_view name, const std::string& value, std::string& text) {
    if (text.back() != '{') {
        text.push_back(',');
    }
    text.append("\"").append(name).append("\":\"").append(value).append("\"");
}

// KB at a sample, around a base that phases, bursts and leaks move.
std::int64_t SizeAt(std::size_t sample, std::size_t process, Generator& random) {
    const std::int64_t base = 4000 + 900 * static_cast<std::int64_t>(process);
    const std::int64_t phase = sample / 50 % 2 == process % 2 ? base / 3 : 0;
    const std::int64_t burst = random.Chance(2) ? base : 0;
    const std::int64_t leak = process % 10 == 0 ? 4 * static_cast<std::int64_t>(sample) : 0;
    return base + phase + burst + leak + random.Between(-base / 20, base / 20);
}

void AddProcess(std::size_t sample, std::size_t process, Generator& random, std::string& text) {
    text += text.back() == '[' ? "{" : ",{";
    AddMember("PID", std::to_string(1000 + 7 * process), text);
    const std::int64_t size = SizeAt(sample, process, random);
    for (const SizeColumn& column : kSizeColumns) {
        AddMember(column.name, std::to_string(size * column.percent / 100) + "K", text);
    }
    AddMember("Threads", std::to_string(1 + process % 30), text);
    AddMember("FDSize", std::to_string(64U << process % 4), text);
    AddMember("COMMAND", "service_" + std::to_string(process), text);
    text += "}";
}

}  // namespace

std::string MemGenerator::SystemDocuments(std::size_t samples) const {
    Generator random(seed_);
    std::string text;
    for (std::size_t sample = 0; sample < samples; ++sample) {
        StartLine("soc_gea_memory_info", sample, text);
        text += R"("memInfo":{)";
        std::size_t index = 0;
        for (const std::string_view column : kSystemColumns) {
            AddMember(column, std::to_string(SizeAt(sample, 100 * index++, random)), text);
        }
        text += "}}]}\n";
    }
    return text;
}

std::string MemGenerator::ProcessDocuments(std::size_t samples, std::size_t processes) const {
    Generator random(seed_);
    std::string text;
    for (std::size_t sample = 0; sample < samples; ++sample) {
        StartLine("soc_gea_process_mem_rawdata_info", sample, text);
        text += R"("process":[)";
        for (std::size_t process = 0; process < processes; ++process) {
            AddProcess(sample, process, random, text);
        }
        text += "]}]}\n";
    }
    return text;
}

}  // namespace zarn::bench
