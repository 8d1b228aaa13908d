#include "board/server/function_files.h"

#include <elf.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <type_traits>

#include "foundation/files.h"

namespace zarn::board {
namespace {

constexpr const char* kFolder = "/tasks/";
constexpr std::string_view kSectionNames("\0.text\0.symtab\0.strtab\0", 23);

enum Section : std::uint16_t { kNone, kText, kSymbols, kStrings, kSections };

// The offset of a section's name among the names.
std::uint32_t NameAt(std::string_view name) {
    return static_cast<std::uint32_t>(kSectionNames.find(name));
}

template <typename Record>
void Append(std::string& bytes, const Record& record) {
    static_assert(std::is_trivially_copyable_v<Record>);
    bytes.append(reinterpret_cast<const char*>(&record), sizeof(record));
}

#if defined(__aarch64__)
constexpr Elf64_Half kMachine = EM_AARCH64;
#else
constexpr Elf64_Half kMachine = EM_X86_64;
#endif

Elf64_Ehdr FileHead(std::uint64_t sectionsAt) {
    Elf64_Ehdr head{};
    const std::array<unsigned char, EI_NIDENT> ident{ELFMAG0,    ELFMAG1,     ELFMAG2,   ELFMAG3,
                                                     ELFCLASS64, ELFDATA2LSB, EV_CURRENT};
    std::copy(ident.begin(), ident.end(), head.e_ident);
    head.e_type = ET_DYN;
    head.e_machine = kMachine;
    head.e_version = EV_CURRENT;
    head.e_phoff = sizeof(head);
    head.e_shoff = sectionsAt;
    head.e_ehsize = sizeof(head);
    head.e_phentsize = sizeof(Elf64_Phdr);
    head.e_phnum = 1;
    head.e_shentsize = sizeof(Elf64_Shdr);
    head.e_shnum = kSections;
    head.e_shstrndx = kStrings;
    return head;
}

// What would be loaded: the functions, at addresses that are their places in the file.
Elf64_Phdr CodeSegment(std::uint64_t size) {
    Elf64_Phdr segment{};
    segment.p_type = PT_LOAD;
    segment.p_flags = PF_R | PF_X;
    segment.p_offset = segment.p_vaddr = segment.p_paddr = kFirstFunction;
    segment.p_filesz = segment.p_memsz = size;
    segment.p_align = kFirstFunction;
    return segment;
}

Elf64_Shdr SectionHead(std::uint32_t name, std::uint32_t type, std::uint64_t offset,
                       std::uint64_t size) {
    Elf64_Shdr section{};
    section.sh_name = name;
    section.sh_type = type;
    section.sh_offset = offset;
    section.sh_size = size;
    section.sh_addralign = 1;
    return section;
}

Elf64_Sym SymbolOf(std::size_t function, std::size_t name) {
    Elf64_Sym symbol{};
    symbol.st_name = static_cast<Elf64_Word>(name);
    symbol.st_info = ELF64_ST_INFO(STB_GLOBAL, STT_FUNC);
    symbol.st_shndx = kText;
    symbol.st_value = kFirstFunction + function * kFunctionSize;
    symbol.st_size = kFunctionSize;
    return symbol;
}

}  // namespace

std::string FunctionFileBytes(const SchedPlan& plan) {
    const std::uint64_t codeSize = plan.functionCount * kFunctionSize;
    std::string strings(kSectionNames);
    std::string symbols;
    Append(symbols, Elf64_Sym{});
    for (std::uint32_t i = 0; i < plan.functionCount; ++i) {
        Append(symbols, SymbolOf(i, strings.size()));
        strings += plan.functions[i].data();
        strings += '\0';
    }
    const std::uint64_t symbolsAt = kFirstFunction + codeSize;
    const std::uint64_t stringsAt = symbolsAt + symbols.size();
    std::string bytes;
    Append(bytes, FileHead(stringsAt + strings.size()));
    Append(bytes, CodeSegment(codeSize));
    bytes.resize(symbolsAt, '\0');
    bytes += symbols + strings;
    Append(bytes, Elf64_Shdr{});
    Elf64_Shdr text = SectionHead(NameAt(".text"), SHT_PROGBITS, kFirstFunction, codeSize);
    text.sh_flags = SHF_ALLOC | SHF_EXECINSTR;
    text.sh_addr = kFirstFunction;
    Append(bytes, text);
    Elf64_Shdr table = SectionHead(NameAt(".symtab"), SHT_SYMTAB, symbolsAt, symbols.size());
    table.sh_link = kStrings;
    table.sh_info = 1;  // the first that is global
    table.sh_entsize = sizeof(Elf64_Sym);
    Append(bytes, table);
    Append(bytes, SectionHead(NameAt(".strtab"), SHT_STRTAB, stringsAt, strings.size()));
    return bytes;
}

std::string FunctionFilePath(const std::string& folder, const SchedProcess& process) {
    return folder + kFolder + process.name.data();
}

bool LayFunctionFiles(const std::string& folder, const SchedPlan& plan) {
    std::error_code error;
    std::filesystem::create_directories(folder + kFolder, error);
    const std::string bytes = FunctionFileBytes(plan);
    for (std::uint32_t i = 0; i < plan.processCount; ++i) {
        if (WriteFile(FunctionFilePath(folder, plan.processes[i]), bytes) != FileResult::Ok) {
            return false;
        }
    }
    return true;
}

}  // namespace zarn::board
