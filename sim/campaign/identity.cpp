#include "sim/campaign/identity.h"

#include "sim/story/sources.h"

#include <array>
#include <cinttypes>
#include <cstdint>
#include <cstdio>

namespace k4sim {

std::string fingerprint(const std::string& path) {
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const char byte : read_file(path))
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3;
    std::array<char, 17> digits{};
    std::snprintf(digits.data(), digits.size(), "%016" PRIx64, hash);
    return digits.data();
}

} // namespace k4sim
