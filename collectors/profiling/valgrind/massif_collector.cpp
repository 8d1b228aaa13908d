#include "collectors/profiling/valgrind/massif_collector.h"

#include <utility>

namespace zarn {
namespace {

constexpr ValgrindTool kTool = {MassifCollector::kName, kMassifWords, valgrind_files::kMassif,
                                "valgrind --tool=massif --keep-debuginfo=yes --massif-out-file="};

}  // namespace

MassifCollector::MassifCollector(std::string name, Host host)
    : BasicCollector(std::move(name)), collection_(kTool, std::move(host)) {}

bool MassifCollector::CheckOptions(const JsonDocument& config, const std::string& /*modeName*/) {
    return collection_.CheckOptions(config);
}

bool MassifCollector::Start(const JsonDocument& /*config*/, const std::string& dataPath,
                            const StopFlag* stopFlag) {
    return collection_.Start(dataPath, stopFlag);
}

}  // namespace zarn
