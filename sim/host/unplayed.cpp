#include "sim/host/unplayed.h"

#include "sim/host/code_place.h"
#include "sim/host/run.h"
#include "sim/machine/report.h"
#include "sim/time/scheduler.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <string_view>
#include <unistd.h>

namespace k4sim {

namespace {

// Operand and address size, segments, repetition.
constexpr std::uint8_t prefixes[] = {0x66, 0x67, 0x26, 0x2E, 0x36, 0x3E, 0x64, 0x65, 0xF2, 0xF3};
constexpr int prefixes_max = 14; // an instruction has 15 bytes at most

// in al / out al: port in the code, port in dx.
constexpr std::uint8_t byte_wide[] = {0xE4, 0xE6, 0xEC, 0xEE};
constexpr std::uint8_t wider[] = {0xE5, 0xE7, 0xED, 0xEF};
constexpr std::uint8_t strings[] = {0x6C, 0x6D, 0x6E, 0x6F};

template <std::size_t Size>
bool is_one_of(const std::uint8_t (&set)[Size], std::uint8_t code) {
    return std::ranges::find(set, code) != std::end(set);
}

bool is_prefix(std::uint8_t code) {
#ifdef __x86_64__
    if ((code & 0xF0) == 0x40) return true; // REX
#endif
    return is_one_of(prefixes, code);
}

} // namespace

const char* unplayed_port_access(const std::uint8_t* code, bool privileged) {
    for (int i = 0; i < prefixes_max && is_prefix(*code); ++i)
        ++code;
    const bool is_string = is_one_of(strings, *code);
    const bool is_wide = is_one_of(wider, *code);
    if (!is_string && !is_wide && !is_one_of(byte_wide, *code)) return nullptr;
    if (!privileged) return "access to a port without I/O privilege (iopl)";
    if (is_string) return "a port instruction for strings";
    return is_wide ? "a port instruction of more than a byte" : "a port instruction with a prefix";
}

void end_unplayed(const char* what, const void* address) {
    const CodePlace place = code_place(reinterpret_cast<std::uintptr_t>(address));
    const std::string_view file = place.file.substr(place.file.rfind('/') + 1);
    std::array<char, 300> line{};
    std::snprintf(
        line.data(), line.size(),
        "k4sim: %s, which the virtual device does not play: thread %d at %p (%.*s+0x%lx)\n", what,
        Scheduler::current()->id, address, static_cast<int>(file.size()), file.data(),
        static_cast<unsigned long>(place.offset));
    write_fully(STDERR_FILENO, line.data());
    end_process(status_deadlock, "unplayed");
}

} // namespace k4sim
