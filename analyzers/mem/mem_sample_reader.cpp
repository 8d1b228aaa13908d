#include "analyzers/mem/mem_sample_reader.h"

#include <algorithm>
#include <cstdint>

#include "formats/mem.h"
#include "foundation/console.h"

namespace zarn {
namespace {

constexpr const char* kHappenTime = "happenTime";
constexpr const char* kBadSystemFile =
    "[MemAnalyzer]: Error occurs system json: Invalid MemAnalyzer josn file";
constexpr const char* kBadProcessFile =
    "[MemAnalyzer]: Error occurs: Invalid MemAnalyzer josn file";

EventNestWords WordsOf(const std::string& path, const char* badFile) {
    return {"[MemAnalyzer]: Illegal json file: \"" + path + "\"", badFile, badFile};
}

// Notes the moment of a document and gives its index.
std::uint32_t AddMoment(const EventObject& event, std::vector<std::string>& moments) {
    moments.emplace_back(RequireText(*event.Find(kHappenTime)));
    return static_cast<std::uint32_t>(moments.size() - 1);
}

MemFrames& FramesOf(const MemProcessOrder::View& process, MemProcessSamples& samples) {
    const auto found = samples.processes.find(process);
    if (found != samples.processes.end()) {
        return found->second;
    }
    return samples.processes[{std::string(process.first), std::string(process.second)}];
}

// The objects of a nest, one after another, with the members that are wanted of them.
class ProcessRows {
public:
    ProcessRows(const MemProcessQuery& query, MemProcessSamples& samples)
        : commands_(query.commands),
          samples_(samples),
          finder_({kMemPidColumn, kMemCommandColumn, query.field}) {}

    bool Take(std::uint32_t moment, const EventObject& row) {
        finder_.Enter(row);
        const EventMember* pid = finder_.Find(0);
        const EventMember* command = finder_.Find(1);
        const EventMember* value = finder_.Find(2);
        if (pid == nullptr || command == nullptr || value == nullptr) {
            return PrintFailure(kBadProcessFile);
        }
        const MemProcessOrder::View process = {RequireText(*pid), RequireText(*command)};
        const std::string_view text = WithoutMemUnit(RequireText(*value));
        if (IsWanted(process.second)) {
            FramesOf(process, samples_).Add(moment, text);
        }
        return true;
    }

private:
    [[nodiscard]] bool IsWanted(std::string_view command) const {
        return commands_.empty() ||
               std::find(commands_.begin(), commands_.end(), command) != commands_.end();
    }

    const std::vector<std::string>& commands_;
    MemProcessSamples& samples_;
    MemberFinder finder_;
};

}  // namespace

bool ReadMemSystemSamples(const NextLine& next, const std::string& path, const std::string& field,
                          MemSystemSamples& samples) {
    MemberFinder finder({field});
    const auto take = [&](const EventObject& event, const TellObjects& objects) {
        const std::uint32_t moment = AddMoment(event, samples.moments);
        return objects([&](const EventObject& figures) {
            finder.Enter(figures);
            const EventMember* value = finder.Find(0);
            if (value == nullptr) {
                return PrintFailure(kBadSystemFile);
            }
            samples.frames.Add(moment, RequireText(*value));
            return true;
        });
    };
    return ReadEventNests(next, {kMemSystemMember, false}, WordsOf(path, kBadSystemFile),
                          {kHappenTime}, take);
}

bool ReadMemProcessSamples(const NextLine& next, const std::string& path,
                           const MemProcessQuery& query, MemProcessSamples& samples) {
    ProcessRows rows(query, samples);
    const auto take = [&](const EventObject& event, const TellObjects& objects) {
        const std::uint32_t moment = AddMoment(event, samples.moments);
        return objects([&](const EventObject& row) { return rows.Take(moment, row); });
    };
    return ReadEventNests(next, {kMemProcessMember, true}, WordsOf(path, kBadProcessFile),
                          {kHappenTime}, take);
}

}  // namespace zarn
