#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "kit/basic_analyzer.h"
#include "kit/basic_collector.h"
#include "kit/basic_comparator.h"
#include "kit/basic_optimizer.h"
#include "kit/host.h"
#include "kit/setting_key.h"
#include "mission/mission_list.h"

namespace zarn {

// Version name to the directory that holds the results of that version.
using VersionMap = std::map<std::string, std::string>;

// A class of missions: the name by which a configuration asks for it and how one is built. What is
// built carries the name it was asked for by, and works on the host it is given.
template <class Base, class... Args>
struct MissionClass {
    std::string name;
    std::function<std::unique_ptr<Base>(const std::string& name, const Args&... args,
                                        const Host& host)>
        make;
    SettingKeys keys = {};  // of its section
};

using CollectorClass = MissionClass<BasicCollector>;
using AnalyzerClass = MissionClass<BasicAnalyzer>;
using OptimizerClass = MissionClass<BasicOptimizer>;
using ComparatorClass = MissionClass<BasicComparator, VersionMap>;  // each gets a copy of the map

// All classes that a configuration may name. A name stands once in its list.
struct MissionClasses {
    std::vector<CollectorClass> collectors;
    std::vector<AnalyzerClass> analyzers;
    std::vector<OptimizerClass> optimizers;
    std::vector<ComparatorClass> comparators;
};

// The classes of this program.
[[nodiscard]] const MissionClasses& BuiltInMissions();

// The manager's tables. A collector factory takes the list to append to, so that one table serves
// the parallel and the serial list; the others know theirs.
using CollectorFactory =
    std::map<std::string, std::function<void(const std::string&, MissionList<BasicCollector>&)>>;
using AnalyzerFactory = std::map<std::string, std::function<void(const std::string&)>>;
using OptimizerFactory = std::map<std::string, std::function<void(const std::string&)>>;
using ComparatorFactory =
    std::map<std::string, std::function<void(const std::string&, const VersionMap&)>>;

}  // namespace zarn
