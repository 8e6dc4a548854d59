#include "sim/launcher/symbols.h"

#include <cstdlib>
#include <cstring>
#include <cxxabi.h>
#include <elf.h>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string_view>

namespace k4sim {

namespace {

// The headers and tables of either word size.
struct Elf32 {
    using Header = Elf32_Ehdr;
    using Section = Elf32_Shdr;
    using Symbol = Elf32_Sym;
};
struct Elf64 {
    using Header = Elf64_Ehdr;
    using Section = Elf64_Shdr;
    using Symbol = Elf64_Sym;
};

// Empty beyond the end of the file, which may be of anyone's making.
template <class Part>
std::optional<Part> part_at(std::string_view file, std::uint64_t offset) {
    if (offset > file.size() || file.size() - offset < sizeof(Part)) return std::nullopt;
    Part part;
    std::memcpy(&part, file.data() + offset, sizeof part);
    return part;
}

std::string text_at(std::string_view file, std::uint64_t offset) {
    if (offset >= file.size()) return "";
    const std::string_view rest = file.substr(static_cast<std::size_t>(offset));
    return std::string(rest.substr(0, rest.find('\0')));
}

template <class Elf>
std::optional<typename Elf::Section> section(std::string_view file,
                                             const typename Elf::Header& header, unsigned number) {
    if (number >= header.e_shnum) return std::nullopt;
    return part_at<typename Elf::Section>(
        file, header.e_shoff + std::uint64_t{sizeof(typename Elf::Section)} * number);
}

template <class Elf>
std::string search_table(std::string_view file, const typename Elf::Section& table,
                         const typename Elf::Section& names, std::uint64_t address) {
    for (std::uint64_t at = 0; at + sizeof(typename Elf::Symbol) <= table.sh_size;
         at += sizeof(typename Elf::Symbol)) {
        const auto symbol = part_at<typename Elf::Symbol>(file, table.sh_offset + at);
        if (!symbol) break;
        const bool function = ELF32_ST_TYPE(symbol->st_info) == STT_FUNC; // the same in 64 bits
        if (function && address >= symbol->st_value && address - symbol->st_value < symbol->st_size)
            return text_at(file, std::uint64_t{names.sh_offset} + symbol->st_name);
    }
    return "";
}

template <class Elf>
std::string search(std::string_view file, std::uint64_t address) {
    const auto header = part_at<typename Elf::Header>(file, 0);
    if (!header) return "";
    for (unsigned number = 0; number < header->e_shnum; ++number) {
        const auto table = section<Elf>(file, *header, number);
        if (!table || (table->sh_type != SHT_SYMTAB && table->sh_type != SHT_DYNSYM)) continue;
        const auto names = section<Elf>(file, *header, table->sh_link);
        if (!names) continue;
        std::string name = search_table<Elf>(file, *table, *names, address);
        if (!name.empty()) return name;
    }
    return "";
}

std::string plain_name(const std::string& name) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> plain(
        abi::__cxa_demangle(name.c_str(), nullptr, nullptr, &status), std::free);
    return plain ? plain.get() : name;
}

} // namespace

std::string symbol_at(const std::string& path, std::uint64_t address) {
    std::ifstream stream(path, std::ios::binary);
    const std::string file{std::istreambuf_iterator<char>(stream), {}};
    if (file.size() < EI_NIDENT || !file.starts_with(ELFMAG)) return "";
    const std::string name =
        file[EI_CLASS] == ELFCLASS64 ? search<Elf64>(file, address) : search<Elf32>(file, address);
    return name.empty() ? name : plain_name(name);
}

} // namespace k4sim
