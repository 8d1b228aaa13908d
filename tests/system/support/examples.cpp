#include "tests/system/support/examples.h"

#include <algorithm>
#include <filesystem>

#include "tests/support/temp_dir.h"

namespace zarn::test {
namespace {

std::string Folder() {
    return std::string(ZARN_SOURCE_DIR) + "/docs/examples/";
}

std::vector<std::string> Examples(bool forTheBoard) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(Folder())) {
        const std::string name = entry.path().filename().string();
        // The tour measures the board's programs, the others of these its devices.
        const std::string text = ExampleText(name);
        const bool isBoards = name.rfind("tour_", 0) == 0 ||
                              text.find("\"Ddr") != std::string::npos ||
                              text.find("\"AiCoreCollector\"") != std::string::npos ||
                              text.find("\"AicpuCollector\"") != std::string::npos ||
                              text.find("\"MbufCollector\"") != std::string::npos ||
                              text.find("\"lite\"") != std::string::npos;
        if (isBoards == forTheBoard) {
            names.push_back(name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

std::vector<std::string> ExamplesForAnyMachine() {
    return Examples(false);
}

std::vector<std::string> ExamplesForTheBoard() {
    return Examples(true);
}

std::string ExampleText(const std::string& name) {
    return ReadText(Folder() + name);
}

}  // namespace zarn::test
