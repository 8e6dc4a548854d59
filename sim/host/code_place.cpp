#include "sim/host/code_place.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

namespace k4sim {

namespace {

// The program itself has no name among what is loaded.
std::string_view program_path() {
    static std::array<char, 4096> path{};
    const ssize_t size = readlink("/proc/self/exe", path.data(), path.size());
    return {path.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
}

} // namespace

std::uintptr_t interrupted_address(const void* context) {
    return static_cast<std::uintptr_t>(
        static_cast<const ucontext_t*>(context)->uc_mcontext.gregs[instruction_register]);
}

CodePlace code_place(std::uintptr_t address) {
    dl_find_object found{};
    if (_dl_find_object(pointer_to(address), &found) != 0) return {};
    const link_map& loaded = *found.dlfo_link_map;
    const std::string_view name = loaded.l_name;
    return {name.empty() ? program_path() : name, address - loaded.l_addr};
}

std::string code_place_text(std::uintptr_t address) {
    Dl_info info{};
    if (dladdr(pointer_to(address), &info) == 0) return "unknown code";
    const bool named = info.dli_sname != nullptr;
    const void* const base = named ? info.dli_saddr : info.dli_fbase;
    std::array<char, 32> offset{};
    std::snprintf(offset.data(), offset.size(), "+0x%lx",
                  static_cast<unsigned long>(address - reinterpret_cast<std::uintptr_t>(base)));
    const std::string file = info.dli_fname;
    return named ? info.dli_sname + (offset.data() + (" in " + file)) : file + offset.data();
}

} // namespace k4sim
