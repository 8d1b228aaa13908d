#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "foundation/files.h"

// Replays inputs through a fuzz target without a fuzzer: every file of the folders named. A folder
// that is not there has no inputs; a target without any input at all is a mistake and fails.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::vector<std::string> FilesOf(const std::string& folder) {
    std::vector<std::string> paths;
    if (std::filesystem::is_directory(folder)) {
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            paths.push_back(entry.path().string());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

}  // namespace

int main(int argc, char** argv) {
    int replayed = 0;
    for (const char* folder : std::vector<const char*>(argv + 1, argv + argc)) {
        for (const std::string& path : FilesOf(folder)) {
            std::string input;
            if (zarn::ReadFile(path, input) != zarn::FileResult::Ok) {
                std::fprintf(stderr, "cannot read %s\n", path.c_str());
                return 1;
            }
            std::vector<std::uint8_t> bytes(input.begin(), input.end());
            LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
            ++replayed;
        }
    }
    std::printf("%d inputs replayed\n", replayed);
    return replayed > 0 ? 0 : 1;
}
