#include "comparators/mem/mem_version_reader.h"

#include <algorithm>

#include "foundation/console.h"
#include "foundation/numbers.h"

namespace zarn {
namespace {

constexpr const char* kBadJson = "[MemComparator] Exception occurs while parsing json file.";
constexpr const char* kLacksContent = "[MemComparator] Json lack of required field [content].";

// A field that documents may hold under a key of its own.
struct OwnKey {
    const char* field;
    const char* key;
};

constexpr std::array<OwnKey, 2> kOwnKeys = {{{"cache", "buff/cache"}, {"avail", "available"}}};

// The key that is looked for first.
std::string KeyOf(const std::string& field) {
    for (const OwnKey& own : kOwnKeys) {
        if (field == own.field) {
            return own.key;
        }
    }
    return field;
}

// The keys of all fields, then the fields' own names.
std::vector<std::string> SystemNames() {
    std::vector<std::string> names(kMemSystemFields.size());
    std::transform(kMemSystemFields.begin(), kMemSystemFields.end(), names.begin(), KeyOf);
    names.insert(names.end(), kMemSystemFields.begin(), kMemSystemFields.end());
    return names;
}

bool AddSystem(const MemberFinder& finder, MemSystemValues& values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        const EventMember* own = finder.Find(i);
        const EventMember* member = own != nullptr ? own : finder.Find(i + values.size());
        if (member == nullptr) {
            return PrintFailure("[MemComparator] Data in json file lack of [" +
                                finder.Names().at(i) + "].");
        }
        double value = 0.0;
        if (!TextToDouble(RequireText(*member), value)) {
            return false;
        }
        values.at(i).push_back(value);
    }
    return true;
}

// The names that are looked for in a row: the command, the pid, then the fields.
constexpr std::size_t kFirstField = 2;

std::vector<std::string> ProcessNames() {
    std::vector<std::string> names = {kMemCommandColumn, kMemPidColumn};
    names.insert(names.end(), kMemProcessFields.begin(), kMemProcessFields.end());
    return names;
}

std::string LacksField(const std::string& name) {
    std::string words = "[MemComparator] Data in json file lack of [";
    words.append(name).append("], or [").append(name).append("] is not String.");
    return words;
}

bool AddProcess(const MemberFinder& finder, MemProcessValues& values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        const EventMember* member = finder.Find(kFirstField + i);
        if (member == nullptr || !member->isText) {
            return PrintFailure(LacksField(kMemProcessFields.at(i)));
        }
        double value = 0.0;
        // The number at the front; without the unit behind it the text is read much faster, and
        // alike.
        if (!TextToDouble(WithoutMemUnit(member->text), value)) {
            return false;
        }
        values.at(i).push_back(value);
    }
    return true;
}

}  // namespace

bool ReadVersionSystem(const NextLine& next, MemSystemValues& values) {
    MemberFinder finder(SystemNames());
    const auto take = [&](const EventObject& /*event*/, const TellObjects& objects) {
        return objects([&](const EventObject& figures) {
            finder.Enter(figures);
            return AddSystem(finder, values);
        });
    };
    return ReadEventNests(next, {kMemSystemMember, false},
                          {kBadJson, kLacksContent, "[MemComparator] Invalid format in [content]."},
                          {}, take);
}

bool ReadVersionProcesses(const NextLine& next,
                          std::map<std::string, MemProcessValues, std::less<>>& values) {
    MemberFinder finder(ProcessNames());
    const auto takeRow = [&](const EventObject& row) {
        finder.Enter(row);
        const EventMember* command = finder.Find(0);
        const EventMember* pid = finder.Find(1);
        if (command == nullptr || pid == nullptr) {
            return PrintFailure("[MemComparator] Data in json file required [COMMAND] and [PID].");
        }
        if (!command->isText || !pid->isText) {
            return PrintFailure(
                "[MemComparator] [COMMAND] and [PID] in json file should be String.");
        }
        const auto found = values.find(command->text);
        return found == values.end() || AddProcess(finder, found->second);
    };
    const auto take = [&](const EventObject& /*event*/, const TellObjects& objects) {
        return objects(takeRow);
    };
    return ReadEventNests(
        next, {kMemProcessMember, true},
        {kBadJson, kLacksContent,
         "[MemComparator] Json file lack of [process], or [process] is not array."},
        {}, take);
}

}  // namespace zarn
