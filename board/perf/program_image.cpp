#include "board/perf/program_image.h"

#include <elf.h>

#include <charconv>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <vector>

#include "board/perf/processes.h"
#include "foundation/zarn_utils.h"

namespace zarn::board {
namespace {

// A record at a place of the file, if it lies within.
template <typename Record>
std::optional<Record> RecordAt(const std::string& bytes, std::uint64_t offset) {
    Record record{};
    if (offset > bytes.size() || bytes.size() - offset < sizeof(record)) {
        return std::nullopt;
    }
    std::memcpy(&record, bytes.data() + offset, sizeof(record));
    return record;
}

bool IsProgram(const std::string& elf) {
    return elf.size() >= EI_NIDENT && elf.compare(0, SELFMAG, ELFMAG) == 0 &&
           elf[EI_CLASS] == ELFCLASS64 && elf[EI_DATA] == ELFDATA2LSB;
}

// What of the file is loaded to be executed.
std::optional<Elf64_Phdr> CodeSegment(const std::string& elf, const Elf64_Ehdr& head) {
    for (std::uint64_t i = 0; i < head.e_phnum; ++i) {
        const auto segment = RecordAt<Elf64_Phdr>(elf, head.e_phoff + i * sizeof(Elf64_Phdr));
        if (segment && segment->p_type == PT_LOAD && (segment->p_flags & PF_X) != 0) {
            return segment;
        }
    }
    return std::nullopt;
}

std::optional<Elf64_Shdr> SectionOf(const std::string& elf, const Elf64_Ehdr& head,
                                    std::uint32_t type) {
    for (std::uint64_t i = 0; i < head.e_shnum; ++i) {
        const auto section = RecordAt<Elf64_Shdr>(elf, head.e_shoff + i * sizeof(Elf64_Shdr));
        if (section && section->sh_type == type) {
            return section;
        }
    }
    return std::nullopt;
}

std::string TextAt(const std::string& bytes, std::uint64_t offset) {
    const std::size_t end = offset < bytes.size() ? bytes.find('\0', offset) : std::string::npos;
    return end == std::string::npos ? "" : bytes.substr(offset, end - offset);
}

std::uint64_t HexAt(std::string_view text) {
    std::uint64_t value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value, 16);
    return value;
}

}  // namespace

std::map<std::string, CodePlace> FunctionsOf(const std::string& elf) {
    std::map<std::string, CodePlace> functions;
    const auto head = RecordAt<Elf64_Ehdr>(elf, 0);
    if (!head || !IsProgram(elf)) {
        return functions;
    }
    const auto code = CodeSegment(elf, *head);
    auto symbols = SectionOf(elf, *head, SHT_SYMTAB);
    if (!symbols) {
        symbols = SectionOf(elf, *head, SHT_DYNSYM);
    }
    const auto names =
        symbols ? RecordAt<Elf64_Shdr>(
                      elf, head->e_shoff + std::uint64_t{symbols->sh_link} * sizeof(Elf64_Shdr))
                : std::nullopt;
    for (std::uint64_t at = 0; code && names && at + sizeof(Elf64_Sym) <= symbols->sh_size;
         at += sizeof(Elf64_Sym)) {
        const auto symbol = RecordAt<Elf64_Sym>(elf, symbols->sh_offset + at);
        if (!symbol) {
            break;
        }
        const bool isCode = ELF64_ST_TYPE(symbol->st_info) == STT_FUNC && symbol->st_size > 0 &&
                            symbol->st_value >= code->p_vaddr &&
                            symbol->st_value - code->p_vaddr < code->p_filesz;
        if (isCode) {
            functions[TextAt(elf, names->sh_offset + symbol->st_name)] = {
                symbol->st_value - code->p_vaddr + code->p_offset, symbol->st_size};
        }
    }
    return functions;
}

SampledProcess ExecutableMapping(const std::string& maps, const std::string& path) {
    SampledProcess mapping;
    mapping.path = path;
    LineCursor lines(maps);
    for (std::string_view line; lines.Next(line);) {
        std::vector<std::string> fields;  // "start-end rights offset device inode path"
        SplitString(line, " ", fields);
        constexpr std::size_t kPath = 5;
        if (fields.size() > kPath && fields[1].find('x') != std::string::npos &&
            line.substr(line.find(fields[kPath])) == path) {
            mapping.start = HexAt(fields[0]);
            mapping.size = HexAt(fields[0].substr(fields[0].find('-') + 1)) - mapping.start;
            mapping.offset = HexAt(fields[2]);
            break;
        }
    }
    return mapping;
}

std::optional<ProgramImage> LoadImage(std::uint32_t pid) {
    const std::string folder = "/proc/" + std::to_string(pid);
    std::error_code error;
    const std::string path = std::filesystem::read_symlink(folder + "/exe", error).string();
    const auto name = ProcessName(pid);
    std::string maps;
    std::string elf;
    if (error || !name || ReadFile(folder + "/maps", maps) != FileResult::Ok ||
        ReadFile(path, elf) != FileResult::Ok) {
        return std::nullopt;
    }
    ProgramImage image{ExecutableMapping(maps, path), FunctionsOf(elf)};
    image.process.pid = pid;
    image.process.name = *name;
    return image;
}

}  // namespace zarn::board
