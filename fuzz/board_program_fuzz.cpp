#include <string>

#include "board/perf/program_image.h"
#include "fuzz/fuzz_input.h"

// The file of a program on the board, and the list of its mappings: whatever they hold, functions
// have names and sizes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using zarn::fuzz::Require;
    const std::string text(zarn::fuzz::AsText(data, size));
    for (const auto& [name, place] : zarn::board::FunctionsOf(text)) {
        Require(name.find('\0') == std::string::npos, "a name has no end within");
        Require(name.size() < text.size(), "a name stands in the file");
        Require(place.size > 0, "a function has a size");
    }
    const std::string path = "/usr/bin/program";
    const auto mapping = zarn::board::ExecutableMapping(text, path);
    Require(mapping.path == path, "a mapping is that of the file");
    return 0;
}
