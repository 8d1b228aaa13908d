#include "report/families/version_samples.h"

#include <algorithm>
#include <array>

#include "formats/cpu.h"
#include "formats/ddr.h"
#include "formats/hot_fun.h"
#include "formats/mem.h"
#include "report/lines.h"

namespace zarn::report {
namespace {

[[nodiscard]] bool BeginsWith(std::string_view text, std::string_view begin) {
    return text.substr(0, begin.size()) == begin;
}

[[nodiscard]] std::uint64_t OneForEach(std::string_view line) {
    return line.empty() ? 0 : 1;
}

// Whether a recording's name holds nothing behind its tag but the pid and the time.
[[nodiscard]] bool IsOfTag(const RunFile& file, const std::string& begin) {
    constexpr std::string_view kSuffix = hot_fun_files::kScriptSuffix;
    const std::string_view rest = std::string_view(file.name).substr(begin.size());
    return rest.substr(0, rest.size() - kSuffix.size()).find_first_not_of("0123456789_") ==
           std::string_view::npos;
}

}  // namespace

Run* VersionSamples::RunOf(const std::string& version) const {
    const auto found = context_.versions.find(version);
    return found == context_.versions.end() ? nullptr : found->second;
}

SampleCount VersionSamples::Count(const std::vector<RunFile>& files, const OfLine& ofLine) {
    // So much text without enough of what is looked for tells too little to go on.
    constexpr std::size_t kMostBytes = std::size_t{32} << 20;
    std::size_t bytes = 0;
    std::uint64_t count = 0;
    for (const RunFile& file : files) {
        NumberedLines lines(file.path);
        while (count < kFewestSamples && lines.Next()) {
            bytes += lines.Text().size();
            if (bytes > kMostBytes) {
                return std::nullopt;
            }
            count += ofLine(lines.Text());
        }
    }
    // The comparator had some: they are not in the tree any more.
    return count == 0 ? std::nullopt : SampleCount(count);
}

SampleCount VersionSamples::OfKind(const std::string& version, const NumberedFile& kind,
                                   const OfLine& ofLine) {
    Run* run = RunOf(version);
    if (run == nullptr) {
        return std::nullopt;
    }
    const auto [known, isNew] = known_.try_emplace({version, kind.prefix});
    if (isNew) {
        known->second = Count(run->Find(kind), ofLine);
    }
    return known->second;
}

SampleCount VersionSamples::OfCpu(const std::string& version, std::string_view figure) {
    constexpr std::array<std::string_view, 5> kOfSystem = {"load_avg_", "tasks_", "cpu_", "mem_",
                                                           "swap_"};
    const bool isOfSystem =
        std::any_of(kOfSystem.begin(), kOfSystem.end(),
                    [figure](std::string_view begin) { return BeginsWith(figure, begin); });
    return OfKind(version, isOfSystem ? cpu_files::kGlobalLog : cpu_files::kUsageLog,
                  [](std::string_view line) { return BeginsWith(line, "%Cpu") ? 1U : 0U; });
}

SampleCount VersionSamples::OfDdr(const std::string& version) {
    return OfKind(version, ddr_files::kBandwidth, OneForEach);
}

SampleCount VersionSamples::OfSystemMemory(const std::string& version) {
    return OfKind(version, mem_files::kSystemSamples, OneForEach);
}

SampleCount VersionSamples::OfProcessMemory(const std::string& version,
                                            const std::string& process) {
    Run* run = RunOf(version);
    if (run == nullptr) {
        return std::nullopt;
    }
    const auto raw = run->Find(mem_files::kRawProcessSamples);
    return Count(raw.empty() ? run->Find(mem_files::kProcessSamples) : raw,
                 [&process](std::string_view line) {
                     JsonDocument document;
                     std::uint64_t count = 0;
                     if (!ParseJson(line, document)) {
                         return count;
                     }
                     for (const JsonValue* row : ElementsOf(MemberOf(
                              FirstOf(MemberOf(&document, "content")), kMemProcessMember))) {
                         count += TextOf(MemberOf(row, kMemCommandColumn)) == process ? 1U : 0U;
                     }
                     return count;
                 });
}

SampleCount VersionSamples::OfFunctions(const std::string& version, const std::string& tag) {
    Run* run = RunOf(version);
    if (run == nullptr) {
        return std::nullopt;
    }
    std::vector<RunFile> files;
    const std::string begin = hot_fun_files::kRawPrefix + tag + "_";
    for (const RunFile& file :
         run->Find(hot_fun_files::kRawDir, begin, hot_fun_files::kScriptSuffix)) {
        if (IsOfTag(file, hot_fun_files::kRawDir + begin)) {
            files.push_back(file);
        }
    }
    // Of several recordings it is not told which one was compared.
    return files.size() != 1 ? std::nullopt : Count(files, [](std::string_view line) {
        return line.empty() || line.front() == ' ' || line.front() == '\t' ? 0U : 1U;
    });
}

}  // namespace zarn::report
