// ELF files made by hand: what k4sim takes for a program it can run, and what not.
#include "sim/launcher/elf_check.h"

#include "sim/launcher/options.h"

#include "scratch_folder.h"

#include <array>
#include <elf.h>
#include <fstream>

namespace {

using namespace k4sim;
namespace fs = std::filesystem;

struct ElfShape {
    unsigned char elf_class = ELFCLASS32;
    unsigned machine = EM_386;
    unsigned type = ET_DYN;
    std::string loader = "/bin/sh"; // any file that is there; empty: statically linked
};

template <class Header, class Segment>
std::string elf_bytes(const ElfShape& shape) {
    Header header{};
    std::copy_n(ELFMAG, SELFMAG, header.e_ident);
    header.e_ident[EI_CLASS] = shape.elf_class;
    header.e_type = static_cast<Elf32_Half>(shape.type);
    header.e_machine = static_cast<Elf32_Half>(shape.machine);
    header.e_phoff = sizeof header;
    header.e_phentsize = sizeof(Segment);
    header.e_phnum = 2;
    std::array<Segment, 2> segments{};
    segments[0].p_type = PT_LOAD;
    segments[1].p_type = shape.loader.empty() ? PT_NULL : PT_INTERP;
    segments[1].p_offset = sizeof header + sizeof segments;
    std::string bytes(reinterpret_cast<const char*>(&header), sizeof header);
    bytes.append(reinterpret_cast<const char*>(segments.data()), sizeof segments);
    return bytes + shape.loader + '\0';
}

std::string bytes_of(const ElfShape& shape) {
    return shape.elf_class == ELFCLASS64 ? elf_bytes<Elf64_Ehdr, Elf64_Phdr>(shape)
                                         : elf_bytes<Elf32_Ehdr, Elf32_Phdr>(shape);
}

const ElfShape i386{};
const ElfShape x86_64{ELFCLASS64, EM_X86_64, ET_EXEC, "/bin/sh"};

class ElfCheck : public ScratchFolderTest {
protected:
    std::string write(const std::string& name, const std::string& bytes) {
        const fs::path path = folder / name;
        fs::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << bytes;
        fs::permissions(path, fs::perms::owner_all);
        return path;
    }

    // What is said against the program; empty: nothing.
    std::string objection(const std::string& bytes) {
        try {
            check_program("it", write("it", bytes));
        } catch (const UsageError& error) {
            return error.what();
        }
        return {};
    }
};

TEST_F(ElfCheck, RefusesWhatIsNoSuchProgram) {
    const std::string whole = bytes_of(i386);
    const std::pair<std::string, const char*> cases[] = {
        {"", "no i386 or x86-64"},
        {whole.substr(0, 51), "no i386 or x86-64"},
        {"\177ELV" + whole.substr(4), "no i386 or x86-64"},
        {bytes_of({ELFCLASS32, EM_ARM, ET_EXEC, "/bin/sh"}), "no i386 or x86-64"},
        {bytes_of({ELFCLASS32, EM_X86_64, ET_EXEC, "/bin/sh"}), "no i386 or x86-64"},
        {bytes_of({ELFCLASS64, EM_386, ET_EXEC, "/bin/sh"}), "no i386 or x86-64"},
        {bytes_of({ELFCLASS32, EM_386, ET_REL, "/bin/sh"}), "no i386 or x86-64"},
        {bytes_of({ELFCLASS32, EM_386, ET_EXEC, ""}), "statically linked"},
        {whole.substr(0, whole.size() - 1), "statically linked"}, // its loader's name is cut off
        {bytes_of({ELFCLASS32, EM_386, ET_EXEC, "/absent/loader"}), "/absent/loader"},
    };
    for (const auto& [bytes, says] : cases)
        EXPECT_NE(objection(bytes).find(says), std::string::npos) << says << objection(bytes);
}

TEST_F(ElfCheck, FindsThePlainNameInTheSearchPathThenBesideItself) {
    const std::string first = write("first/tool", "x");
    const std::string beside = write("beside/only-here", "x");
    write("second/tool", "x");
    fs::create_directories(folder / "zeroth" / "tool"); // a folder of that name is passed over
    const std::string old_path = std::getenv("PATH");
    const std::string new_path = (folder / "zeroth").string() + ":" + (folder / "first").string() +
                                 ":" + (folder / "second").string();
    setenv("PATH", new_path.c_str(), 1);
    const std::string found = find_program("tool", folder / "beside");
    const std::string fallback = find_program("only-here", folder / "beside");
    EXPECT_THROW(find_program("nowhere", folder / "beside"), UsageError);
    setenv("PATH", old_path.c_str(), 1);
    EXPECT_EQ(found, first);
    EXPECT_EQ(fallback, beside);
}

TEST_F(ElfCheck, ChoosesTheLibraryByItsWordSizeWhateverItsName) {
    write("libk4sim.so", bytes_of(x86_64));
    EXPECT_EQ(find_library(folder, WordSize::bits64), folder / "libk4sim.so");
    EXPECT_THROW(find_library(folder, WordSize::bits32), UsageError);
    write("libk4sim.so", bytes_of(i386));
    write("libk4sim64.so", bytes_of(x86_64));
    EXPECT_EQ(find_library(folder, WordSize::bits32), folder / "libk4sim.so");
    EXPECT_EQ(find_library(folder, WordSize::bits64), folder / "libk4sim64.so");
}

} // namespace
