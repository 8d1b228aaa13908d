#include "board/server/cpu_files.h"

#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

#include "foundation/files.h"

namespace zarn::board {
namespace {

// What a line of the file is about: what stands before the tabs and the colon.
std::string_view KeyOf(std::string_view line) {
    const std::string_view key = line.substr(0, line.find(':'));
    return key.substr(0, key.find_last_not_of("\t ") + 1);
}

// What the processors have, a text for each, and what stands behind them for all.
struct Processors {
    std::vector<std::string> blocks;
    std::string rest;
};

Processors ReadProcessors(const std::string& machine) {
    Processors processors;
    std::string block;
    bool isProcessor = false;
    const auto end = [&] {
        if (isProcessor) {
            processors.blocks.push_back(block);
        } else {
            processors.rest += block;
        }
        block.clear();
        isProcessor = false;
    };
    LineCursor lines(machine);
    for (std::string_view line; lines.Next(line);) {
        isProcessor = isProcessor || KeyOf(line) == "processor";
        block.append(line).append("\n");
        if (line.empty()) {
            end();
        }
    }
    end();
    return processors;
}

// The line for a core of the board; what a key says of the machine's packages is told anew.
std::string LineFor(std::string_view line, std::uint32_t core, std::uint32_t cores) {
    const std::string_view key = KeyOf(line);
    const bool isNumber =
        key == "processor" || key == "core id" || key == "apicid" || key == "initial apicid";
    const bool isCount = key == "siblings" || key == "cpu cores";
    const std::string before(line.substr(0, line.find(':')));
    if (key == "physical id") {
        return before + ": 0\n";
    }
    if (isNumber || isCount) {
        return before + ": " + std::to_string(isNumber ? core : cores) + "\n";
    }
    return std::string(line) + "\n";
}

}  // namespace

std::string CpuinfoText(const std::string& machine, std::uint32_t cores) {
    Processors processors = ReadProcessors(machine);
    if (processors.blocks.empty()) {
        processors.blocks.emplace_back("processor\t: 0\n\n");
    }
    std::string text;
    for (std::uint32_t core = 0; core < cores; ++core) {
        LineCursor lines(processors.blocks[core % processors.blocks.size()]);
        for (std::string_view line; lines.Next(line);) {
            text += LineFor(line, core, cores);
        }
    }
    return text + processors.rest;
}

std::string CoreListText(std::uint32_t cores) {
    return cores == 1 ? "0\n" : "0-" + std::to_string(cores - 1) + "\n";
}

bool LayCpuFiles(const std::string& files, std::uint32_t cores) {
    std::string machine;
    std::error_code error;
    // A machine that hides this file has processors all the same.
    (void)ReadFile("/proc/cpuinfo", machine);
    std::filesystem::create_directories(files + "/sys/cpu", error);
    bool good = WriteFile(files + "/proc/cpuinfo", CpuinfoText(machine, cores)) == FileResult::Ok;
    for (const char* list : kCoreLists) {
        good = WriteFile(files + "/sys/cpu/" + list, CoreListText(cores)) == FileResult::Ok && good;
    }
    return good;
}

}  // namespace zarn::board
