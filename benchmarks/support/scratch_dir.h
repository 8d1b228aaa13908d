#pragma once

#include <string>

namespace zarn::bench {

// A fresh directory for the files of a benchmark, removed with everything in it at the end. Without
// one the process ends: there is nothing to measure.
class ScratchDir {
public:
    ScratchDir();
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;
    ~ScratchDir();

    // The directory with its final slash.
    [[nodiscard]] const std::string& Path() const { return path_; }

private:
    std::string path_;
};

}  // namespace zarn::bench
