#include "collectors/profiling/valgrind/cache_grind_collector.h"

#include <utility>

namespace zarn {
namespace {

constexpr ValgrindTool kTool = {
    CacheGrindCollector::kName, kCacheGrindWords, valgrind_files::kCacheGrind,
    "valgrind --tool=cachegrind --keep-debuginfo=yes --cachegrind-out-file="};

}  // namespace

CacheGrindCollector::CacheGrindCollector(std::string name, Host host)
    : BasicCollector(std::move(name)), collection_(kTool, std::move(host)) {}

bool CacheGrindCollector::CheckOptions(const JsonDocument& config,
                                       const std::string& /*modeName*/) {
    return collection_.CheckOptions(config);
}

bool CacheGrindCollector::Start(const JsonDocument& /*config*/, const std::string& dataPath,
                                const StopFlag* stopFlag) {
    return collection_.Start(dataPath, stopFlag);
}

}  // namespace zarn
