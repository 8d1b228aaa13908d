#include "analyzers/correlation/sched_logs.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string_view>
#include <tuple>
#include <utility>

#include "analyzers/correlation/correlation_settings.h"
#include "analyzers/correlation/digit_arithmetic.h"
#include "formats/sched.h"
#include "foundation/text.h"
#include "foundation/time.h"

namespace zarn {
namespace {

constexpr std::uint32_t kFirstPass = 1;

// What a log tells of itself, in the order in which logs stand.
struct NamedLog {
    std::string process;
    std::string number;  // of the core, or the pid, without leading zeros
    SchedLog log;
};

// Takes the piece behind the last "_"; false if there is none.
bool TakeLastPiece(std::string_view& rest, std::string_view& piece) {
    const std::size_t place = rest.rfind('_');
    if (place == std::string_view::npos) {
        return false;
    }
    piece = rest.substr(place + 1);
    rest = rest.substr(0, place);
    return true;
}

// How the names of logs of that target begin.
std::string Beginning(const std::string& target) {
    const std::string name = sched_files::TimehistName(target, kFirstPass, "");
    return name.substr(0, name.rfind('.'));
}

std::optional<NamedLog> ReadGlobalName(const std::string& name) {
    const std::string target = sched_files::GlobalTarget();
    if (!StartsWith(name, Beginning(target))) {
        return std::nullopt;
    }
    return NamedLog{
        "", "", {name, target, {kSchedGlobalSource, kSchedGlobalSource, GetFileTimestamp(name)}}};
}

// Of a core or process: "sched_<job>_[<process>_]<number>" and what follows the target of any log.
std::optional<NamedLog> ReadNumberedName(const std::string& name, const std::string& job) {
    std::string_view rest = name;
    std::string_view piece;
    std::string_view number;
    for (int i = 0; i < 3; ++i) {
        if (!TakeLastPiece(rest, piece)) {
            return std::nullopt;
        }
    }
    const std::string target(rest);
    const std::string family = "sched_" + job;
    if (!StartsWith(name, Beginning(target)) || !TakeLastPiece(rest, number) || !IsNumber(number) ||
        !StartsWith(rest, family)) {
        return std::nullopt;
    }
    const std::string_view process = rest.substr(family.size());
    const bool isCore = job == kSchedCoreSource;
    if (isCore ? !process.empty() : process.size() < 2 || process.front() != '_') {
        return std::nullopt;
    }
    const std::string what = std::string(process) + (isCore ? "" : "_") + std::string(number);
    number.remove_prefix(std::min(number.find_first_not_of('0'), number.size() - 1));
    return NamedLog{std::string(process),
                    std::string(number),
                    {name, family + what, {job, job + what, GetFileTimestamp(name)}}};
}

bool StandsBefore(const NamedLog& a, const NamedLog& b) {
    return std::make_tuple(std::string_view(a.process), a.number.size(), a.number, a.log.name) <
           std::make_tuple(std::string_view(b.process), b.number.size(), b.number, b.log.name);
}

}  // namespace

std::vector<SchedLog> SelectSchedLogs(const std::vector<std::string>& names, const std::string& job,
                                      const IsAnalysedLog& isAnalysed) {
    std::vector<NamedLog> found;
    for (const std::string& name : names) {
        std::optional<NamedLog> log =
            job == kSchedGlobalSource ? ReadGlobalName(name) : ReadNumberedName(name, job);
        if (log) {
            found.push_back(std::move(*log));
        }
    }
    std::sort(found.begin(), found.end(), StandsBefore);
    std::vector<SchedLog> logs;
    for (NamedLog& named : found) {
        if (logs.empty() || logs.back().label != named.log.label) {
            logs.push_back(std::move(named.log));
        } else if (!isAnalysed(logs.back()) && isAnalysed(named.log)) {
            logs.back() = std::move(named.log);
        }
    }
    return logs;
}

}  // namespace zarn
