#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "board/model/pipeline.h"

// The programs of a board and the memory that they and the system use, by their plans. Plain data
// and functions of the board's time alone.
namespace zarn::board {

inline constexpr std::size_t kMaxPrograms = 16;
inline constexpr std::size_t kMaxSteps = 8;
inline constexpr std::size_t kMaxSharedAreas = 8;
inline constexpr std::uint32_t kMostProgramsKb = 200 * 1024;  // of all programs
inline constexpr std::uint32_t kMaxThreads = 16;

// From a moment on a program has so much more private memory, or less.
struct ProgramStep {
    std::uint32_t atMs = 0;
    std::int32_t addKb = 0;
};

struct ProgramPlan {
    std::array<char, 16> name{};  // ends in a NUL, as the kernel keeps it
    std::uint32_t privateKb = 0;
    std::uint32_t leakKbPerS = 0;
    std::uint32_t mostKb = 0;  // private memory never goes beyond
    std::uint32_t threads = 1;
    std::uint32_t sharePoolKb = 0;  // at the start
    std::uint32_t stepCount = 0;
    std::array<ProgramStep, kMaxSteps> steps{};
    PipelineProfile pipeline;
};

// Memory that several programs have in common.
struct SharedArea {
    std::uint32_t kb = 0;
    std::uint32_t programs = 0;  // a bit for each, by its index
};

struct BoardPrograms {
    std::uint32_t count = 0;
    std::array<ProgramPlan, kMaxPrograms> plans{};
    std::uint32_t areaCount = 0;
    std::array<SharedArea, kMaxSharedAreas> areas{};
};

// What the memory files tell beside the programs, KB. Without a total the board has no such files.
struct SystemMemory {
    std::uint32_t totalKb = 0;
    std::uint32_t baseKb = 0;  // in use without the programs
    std::uint32_t cachedKb = 0;
    std::uint32_t slabKb = 0;
    std::uint32_t vmallocKb = 0;
    std::uint32_t pageTablesKb = 0;
    std::uint32_t kernelStackKb = 0;
};

// The private memory of a program, and its share of the share pool, at a moment.
[[nodiscard]] std::uint32_t PrivateKb(const ProgramPlan& plan, std::uint64_t timeMs);
[[nodiscard]] std::uint32_t SharePoolKb(const ProgramPlan& plan, std::uint64_t timeMs);

// All programs together, each area once.
[[nodiscard]] std::uint32_t ProgramsKb(const BoardPrograms& programs, std::uint64_t timeMs);
// The most that this can become.
[[nodiscard]] std::uint64_t MostProgramsKb(const BoardPrograms& programs);

}  // namespace zarn::board
