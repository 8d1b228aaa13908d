#include "analyzers/cpu/cpu_analysis_documents.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace zarn {
namespace {

constexpr const char* kEventId = "222210010";
constexpr const char* kGlobalObject = "soc_cpu_ana_global";
constexpr const char* kCoreObject = "soc_cpu_ana_core";
constexpr const char* kFields = "us, sy, id, hi, si, st";
constexpr std::size_t kTopProcesses = 10;

// The default number conversion, six decimals, as std::to_string gives it but in a third of the
// time.
std::string_view NumberText(double value, std::array<char, 352>& digits) {
    constexpr int kDecimals = 6;
    const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                       std::chars_format::fixed, kDecimals);
    return {digits.data(), static_cast<std::size_t>(written.ptr - digits.data())};
}

// Builds the content of one event document.
class Builder {
public:
    Builder(const char* objectId, const std::string& happenTime) : allocator_(Allocator()) {
        document_.SetObject();
        Add(document_, "eventId", std::string_view(kEventId));
        Add(document_, "happenTime", std::string_view(happenTime));
        Add(document_, "objectId", std::string_view(objectId));
    }

    [[nodiscard]] JsonDocument Finish(JsonValue content) {
        Add(document_, "content", std::move(content));
        return std::move(document_);
    }

    [[nodiscard]] static JsonValue Object() { return JsonValue(rapidjson::kObjectType); }

    // `key` must be a constant of the program; a name from outside goes through AddNamed.
    void Add(JsonValue& object, const char* key, JsonValue value) {
        object.AddMember(JsonValue(rapidjson::StringRef(key)), value, allocator_);
    }
    void Add(JsonValue& object, const char* key, std::string_view text) {
        Add(object, key, Text(text));
    }
    void Add(JsonValue& object, const char* key, double value) {
        std::array<char, 352> digits;  // the largest double has 309 before the point
        Add(object, key, NumberText(value, digits));
    }
    void AddNamed(JsonValue& object, std::string_view name, JsonValue value) {
        object.AddMember(Text(name), value, allocator_);
    }
    void Append(JsonValue& array, JsonValue value) { array.PushBack(value, allocator_); }

    void AddHead(JsonValue& object, const CpuHeadMeans& head) {
        Add(object, "task", head.tasks);
        JsonValue loads(rapidjson::kArrayType);
        for (const auto& [name, mean] : head.loads) {
            // A document has no word for infinity.
            loads.PushBack(std::isfinite(mean) ? mean : std::numeric_limits<double>::max(),
                           allocator_);
        }
        Add(object, "loadAverage", std::move(loads));
    }

    template <typename Statistics>
    void AddUsage(JsonValue& object, const Statistics& statistics) {
        Add(object, "meanUsage", statistics.mean);
        Add(object, "maxUsage", statistics.maximum);
        Add(object, "minUsage", statistics.minimum);
    }

    void AddExtremes(JsonValue& object, const CpuStatistics& statistics) {
        Add(object, "peak", Extremes(statistics.peaks));
        Add(object, "trought", Extremes(statistics.troughs));
    }

    void AddFields(JsonValue& object, const std::array<CpuStatistics, kCpuFieldCount>& fields) {
        for (std::size_t field = 0; field < kCpuFieldCount; ++field) {
            JsonValue block = Object();
            AddUsage(block, fields[field]);
            AddExtremes(block, fields[field]);
            Add(object, kCpuFieldNames[field], std::move(block));
        }
    }

    [[nodiscard]] JsonValue Process(const CpuProcessStatistics& process) {
        JsonValue object = Object();
        Add(object, "procPID", process.pid);
        Add(object, "procCommand", process.command);
        AddUsage(object, process);
        return object;
    }

private:
    [[nodiscard]] JsonAllocator& Allocator() { return document_.GetAllocator(); }

    [[nodiscard]] JsonValue Text(std::string_view text) {
        // An empty view, of a sample without a time, may point nowhere, which the library refuses.
        const char* const bytes = text.empty() ? "" : text.data();
        return {bytes, static_cast<rapidjson::SizeType>(text.size()), allocator_};
    }

    [[nodiscard]] JsonValue Extremes(const std::vector<CpuExtreme>& extremes) {
        JsonValue array(rapidjson::kArrayType);
        for (const CpuExtreme& extreme : extremes) {
            JsonValue object = Object();
            Add(object, "cpuValue", extreme.value);
            Add(object, "timeStamp", extreme.timeStamp);
            array.PushBack(object, allocator_);
        }
        return array;
    }

    JsonDocument document_;
    JsonAllocator& allocator_;
};

}  // namespace

JsonDocument GlobalDocument(const CpuGlobalFindings& findings, const std::string& happenTime) {
    Builder builder(kGlobalObject, happenTime);
    JsonValue content = Builder::Object();
    builder.AddHead(content, findings.head);
    builder.Add(content, "fields", std::string_view(kFields));
    builder.AddFields(content, findings.fields);
    return builder.Finish(std::move(content));
}

JsonDocument Top10Document(const std::vector<CpuProcessStatistics>& ranked,
                           const std::string& happenTime) {
    Builder builder(kGlobalObject, happenTime);
    JsonValue processes = Builder::Object();
    for (std::size_t i = 0; i < std::min(ranked.size(), kTopProcesses); ++i) {
        builder.AddNamed(processes, "Top_" + std::to_string(i + 1), builder.Process(ranked[i]));
    }
    JsonValue content = Builder::Object();
    builder.Add(content, "top10ProcInfo", std::move(processes));
    return builder.Finish(std::move(content));
}

JsonDocument TotalDocument(const CpuGlobalFindings& findings, const std::string& happenTime) {
    Builder builder(kGlobalObject, happenTime);
    JsonValue total = Builder::Object();
    builder.AddHead(total, findings.head);
    builder.AddUsage(total, findings.total);
    builder.AddExtremes(total, findings.total);
    JsonValue content = Builder::Object();
    builder.Add(content, "cpuTotalInfo", std::move(total));
    return builder.Finish(std::move(content));
}

JsonDocument ProcessSetDocument(const std::vector<CpuSetFindings>& findings,
                                const std::string& happenTime) {
    Builder builder(kGlobalObject, happenTime);
    JsonValue sets = Builder::Object();
    for (const CpuSetFindings& found : findings) {
        JsonValue processes(rapidjson::kArrayType);
        for (const CpuProcessStatistics& process : found.processes) {
            builder.Append(processes, builder.Process(process));
        }
        JsonValue set = Builder::Object();
        builder.Add(set, "procInfo", std::move(processes));
        builder.AddUsage(set, found.statistics);
        builder.Add(set, "usagePercent", found.usagePercent);
        builder.AddExtremes(set, found.statistics);
        builder.AddNamed(sets, found.name, std::move(set));
    }
    JsonValue content = Builder::Object();
    builder.Add(content, "procSetInfo", std::move(sets));
    return builder.Finish(std::move(content));
}

JsonDocument CoresDocument(const CpuCoresFindings& findings, const std::string& happenTime) {
    Builder builder(kCoreObject, happenTime);
    JsonValue sorted(rapidjson::kArrayType);
    for (const auto& [core, usage] : findings.usageSorted) {
        JsonValue object = Builder::Object();
        builder.Add(object, "coreID", std::string_view(core));
        builder.Add(object, "meanUsage", usage);
        builder.Append(sorted, std::move(object));
    }
    JsonValue cores(rapidjson::kArrayType);
    for (const CpuCoreFindings& core : findings.cores) {
        JsonValue object = Builder::Object();
        builder.Add(object, "coreID", core.name);
        builder.AddFields(object, core.fields);
        builder.Append(cores, std::move(object));
    }
    JsonValue content = Builder::Object();
    builder.AddHead(content, findings.head);
    builder.Add(content, "fields", std::string_view(kFields));
    builder.Add(content, "coresUsageSorted", std::move(sorted));
    builder.Add(content, "cpuUsage", std::move(cores));
    return builder.Finish(std::move(content));
}

}  // namespace zarn
