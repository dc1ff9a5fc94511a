#include "check/ElfSymbols.h"

#include <elf.h>

#include <cstring>
#include <optional>
#include <vector>

namespace {

// A record, or an array of records, of the file; nothing beyond its end.
template <class Record>
std::optional<Record> RecordAt(std::string_view file, std::uint64_t offset) {
    if (offset > file.size() || file.size() - offset < sizeof(Record)) {
        return std::nullopt;
    }
    Record record;
    std::memcpy(&record, file.data() + offset, sizeof record);
    return record;
}

std::string_view Contents(std::string_view file, const Elf64_Shdr& section) {
    return section.sh_offset <= file.size() ? file.substr(section.sh_offset, section.sh_size) : std::string_view();
}

std::string NameAt(std::string_view names, std::uint32_t offset) {
    const std::string_view rest = offset < names.size() ? names.substr(offset) : std::string_view();
    return std::string(rest.substr(0, rest.find('\0')));
}

bool IsExported(const Elf64_Sym& symbol) noexcept {
    const int visibility = ELF64_ST_VISIBILITY(symbol.st_other);
    return symbol.st_shndx != SHN_UNDEF && ELF64_ST_BIND(symbol.st_info) != STB_LOCAL &&
           (visibility == STV_DEFAULT || visibility == STV_PROTECTED);
}

std::vector<Elf64_Shdr> Sections(std::string_view file) {
    std::vector<Elf64_Shdr> sections;
    const auto header = RecordAt<Elf64_Ehdr>(file, 0);
    if (!header || !BeginsAsSharedObject(file)) {
        return sections;
    }
    for (std::uint64_t i = 0; i < header->e_shnum; ++i) {
        if (const auto section = RecordAt<Elf64_Shdr>(file, header->e_shoff + i * sizeof(Elf64_Shdr))) {
            sections.push_back(*section);
        }
    }
    return sections;
}

}  // namespace

bool BeginsAsSharedObject(std::string_view start) noexcept {
    const auto header = RecordAt<Elf64_Ehdr>(start, 0);
    return header && std::memcmp(header->e_ident, ELFMAG, SELFMAG) == 0 && header->e_ident[EI_CLASS] == ELFCLASS64 &&
           header->e_type == ET_DYN && header->e_machine == EM_X86_64;
}

std::set<std::string> ExportedSymbols(std::string_view file) {
    std::set<std::string> exported;
    const std::vector<Elf64_Shdr> sections = Sections(file);
    for (const Elf64_Shdr& section : sections) {
        if (section.sh_type != SHT_DYNSYM || section.sh_link >= sections.size()) {
            continue;
        }
        const std::string_view symbols = Contents(file, section);
        const std::string_view names = Contents(file, sections[section.sh_link]);
        for (std::uint64_t at = 0; at < symbols.size(); at += sizeof(Elf64_Sym)) {
            const auto symbol = RecordAt<Elf64_Sym>(symbols, at);
            if (symbol && IsExported(*symbol)) {
                exported.insert(NameAt(names, symbol->st_name));
            }
        }
    }
    return exported;
}
