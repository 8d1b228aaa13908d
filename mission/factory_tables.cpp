#include "mission/factory_tables.h"

#include "mission_classes.h"

// A new mission adds its line to the list of its family below; the build collects the headers.

namespace zarn {
namespace {

// The row of a class: the name is the class's own.
template <class Mission, class Base, class... Args>
MissionClass<Base, Args...> Row() {
    return {Mission::kName,
            [](const std::string& name, const Args&... args, const Host& host) {
                return std::unique_ptr<Base>(std::make_unique<Mission>(name, args..., host));
            },
            Mission::Keys()};
}

template <class Mission>
CollectorClass Collector() {
    return Row<Mission, BasicCollector>();
}

template <class Mission>
AnalyzerClass Analyzer() {
    return Row<Mission, BasicAnalyzer>();
}

template <class Mission>
OptimizerClass Optimizer() {
    return Row<Mission, BasicOptimizer>();
}

template <class Mission>
ComparatorClass Comparator() {
    return Row<Mission, BasicComparator, VersionMap>();
}

// clang-format off
MissionClasses ListMissions() {
    MissionClasses classes;
    classes.collectors = {
        Collector<AiCoreCollector>(),
        Collector<AicpuCollector>(),
        Collector<BenchCollector>(),
        Collector<CacheGrindCollector>(),
        Collector<CallGrindCollector>(),
        Collector<CpuCollector>(),
        Collector<CpuPeakCollector>(),
        Collector<DdrCollector>(),
        Collector<HotFunCollector>(),
        Collector<ImgpCollector>(),
        Collector<LibCollector>(),
        Collector<MassifCollector>(),
        Collector<MbufCollector>(),
        Collector<MemCollector>(),
        Collector<SchedCollector>(),
        Collector<SysCallCollector>(),
        Collector<TopdownCollector>(),
    };
    classes.analyzers = {
        Analyzer<AicpuAnalyzer>(),
        Analyzer<CorrelationAnalyzer>(),
        Analyzer<CpuAnalyzer>(),
        Analyzer<DdrAnalyzer>(),
        Analyzer<MemAnalyzer>(),
        Analyzer<SchedAnalyzer>(),
    };
    classes.optimizers = {
        Optimizer<DdrOptimizer>(),
    };
    classes.comparators = {
        Comparator<CpuComparator>(),
        Comparator<DdrComparator>(),
        Comparator<HotFunComparator>(),
        Comparator<MemComparator>(),
    };
    return classes;
}
// clang-format on

}  // namespace

const MissionClasses& BuiltInMissions() {
    static const MissionClasses classes = ListMissions();
    return classes;
}

}  // namespace zarn
