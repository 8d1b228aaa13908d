#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "report/family.h"

namespace zarn::report {

// What a tree tells of the run as a whole.
struct RunFacts {
    struct Mission {
        std::string stage;  // as the configuration has it; empty where it does not name it
        std::string name;
        Cell cost;  // seconds
    };

    std::optional<Moment> from;  // of the collectors
    std::optional<Moment> to;
    std::vector<Mission> missions;  // in the order of their ends, those that did not end last
    std::map<std::string, std::string> settings;  // "<section>.<key>" to its text
    std::set<std::string> names;                  // of them
    std::map<std::string, std::string> versions;  // that are compared, to their directories
    std::vector<Block> blocks;  // the configuration and the versions, for the first page
};

[[nodiscard]] RunFacts ReadRunFacts(Run& run, Files& files);

}  // namespace zarn::report
