#pragma once

#include <map>
#include <string>
#include <utility>

#include "foundation/json.h"
#include "foundation/stop_flag.h"

namespace zarn {

// A mission that sets the results of earlier runs, one per software version, side by side in one
// table. Versions are visited in increasing byte order of their names, which is the order of the
// columns.
class BasicComparator {
public:
    // `versionMap`: version name to the root of its run, used as written: the final slash is the
    // user's.
    BasicComparator(std::string name, std::map<std::string, std::string> versionMap)
        : versionMap_(std::move(versionMap)), name_(std::move(name)) {}
    BasicComparator(const BasicComparator&) = delete;
    BasicComparator& operator=(const BasicComparator&) = delete;
    virtual ~BasicComparator() = default;

    // Reads the versions' trees and writes its table below csv/ of `dataPath`.
    [[nodiscard]] virtual bool Start(const JsonDocument& config, const std::string& dataPath,
                                     const StopFlag* stopFlag) = 0;

    // Reads the comparator's section into its own fields; `modeName` is "comparator".
    [[nodiscard]] virtual bool CheckOptions(const JsonDocument& config,
                                            const std::string& modeName) = 0;

    [[nodiscard]] std::string Name() const { return name_; }

protected:
    [[nodiscard]] const std::map<std::string, std::string>& VersionMap() const {
        return versionMap_;
    }

private:
    std::map<std::string, std::string> versionMap_;
    std::string name_;
};

}  // namespace zarn
