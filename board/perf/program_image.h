#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "board/perf/perf_data.h"

// Where the functions of a running program are.
namespace zarn::board {

// A function, by its place in the program's file.
struct CodePlace {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
};

// The functions of a program's file by their names: those of its symbol table, or of the one for
// the loader, which stripping leaves. Empty if `elf` is no program of 64 bits; torn ones give what
// can be read.
[[nodiscard]] std::map<std::string, CodePlace> FunctionsOf(const std::string& elf);

// The mapping of the file `path` that can be executed, in the text of a process's list of mappings;
// without a size if there is none.
[[nodiscard]] SampledProcess ExecutableMapping(const std::string& maps, const std::string& path);

// A process as it is sampled, with its functions.
struct ProgramImage {
    SampledProcess process;
    std::map<std::string, CodePlace> functions;
};

// Nothing if there is no such process, or it may not be looked into.
[[nodiscard]] std::optional<ProgramImage> LoadImage(std::uint32_t pid);

}  // namespace zarn::board
