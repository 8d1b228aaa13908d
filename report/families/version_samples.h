#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "report/family.h"
#include "report/samples.h"

// How many samples the figures of a comparison are of: what is left of them in the runs that are
// compared, where these are in the report too. Nothing is read beyond what is enough samples.
namespace zarn::report {

class VersionSamples {
public:
    explicit VersionSamples(FamilyContext& context) : context_(context) {}

    // Of a figure of the CPU's table: the system's and the processes' come from different logs.
    [[nodiscard]] SampleCount OfCpu(const std::string& version, std::string_view figure);
    [[nodiscard]] SampleCount OfDdr(const std::string& version);
    [[nodiscard]] SampleCount OfSystemMemory(const std::string& version);
    [[nodiscard]] SampleCount OfProcessMemory(const std::string& version,
                                              const std::string& process);
    // Of the functions of what a tag is about.
    [[nodiscard]] SampleCount OfFunctions(const std::string& version, const std::string& tag);

private:
    // How many samples a line holds.
    using OfLine = std::function<std::uint64_t(std::string_view line)>;

    // The samples in what a version has of a kind: those of a table's rows are the same.
    [[nodiscard]] SampleCount OfKind(const std::string& version, const NumberedFile& kind,
                                     const OfLine& ofLine);
    [[nodiscard]] Run* RunOf(const std::string& version) const;
    [[nodiscard]] static SampleCount Count(const std::vector<RunFile>& files, const OfLine& ofLine);

    FamilyContext& context_;
    std::map<std::pair<std::string, std::string>, SampleCount> known_;  // by version and kind
};

}  // namespace zarn::report
