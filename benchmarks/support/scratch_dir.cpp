#include "benchmarks/support/scratch_dir.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace zarn::bench {

namespace fs = std::filesystem;

ScratchDir::ScratchDir() : path_((fs::temp_directory_path() / "zarn-bench-XXXXXX").string()) {
    if (::mkdtemp(path_.data()) == nullptr) {
        std::perror(path_.c_str());
        std::exit(1);
    }
    path_ += '/';
}

ScratchDir::~ScratchDir() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

}  // namespace zarn::bench
